// Backup::FileHeader::VerifyData on real backup files: the gzip test for header version 1,
// the digest against the stored checksum (over its stored length) for version 2.

#include "ArchiveTestSupport.h"
#include "FileHeader.h"
#include "TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

using namespace ArchiveTest;

namespace {

QByteArray GzipBody(const QByteArray &data)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("data"));
    TestSupport::WriteFile(path, data);
    QByteArray compressed;
    TestSupport::Run(QStringLiteral("gzip"), {QStringLiteral("-c"), QStringLiteral("-n"), path}, &compressed);
    return compressed;
}

std::vector<std::uint8_t> Bytes(const QByteArray &data)
{
    return std::vector<std::uint8_t>(data.begin(), data.end());
}

// Writes a backup file: a header of the given version carrying `checksum`, then `body`.
bool WriteBackup(const QString &path, int version, const QByteArray &checksum, const QByteArray &body)
{
    Backup::FileHeader header;
    header.SetProduct("Talon 10");
    header.SetProductCode(4711);
    header.SetVariant("cab");
    header.SetMinimumSoftwareVersion(0x05020000);
    DataFileHeader record = Backup::FileHeader::NewBackupRecord(version);
    if (!checksum.isEmpty())
        record.SetChecksum(Bytes(checksum));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    if (header.WriteFileHeader(&file, record) != Backup::FileHeader::Ok)
        return false;
    return file.write(body) == body.size();
}

// The header as read back from the file, the way a caller of the check gets it.
Backup::FileHeader ReadBack(const QString &path)
{
    Backup::FileHeader header;
    QFile file(path);
    if (file.open(QIODevice::ReadOnly))
        Backup::ReadFileHeader(header, &file);
    return header;
}

// A body whose digest has the wanted property, found by trying numbered bodies.
QByteArray BodyWhoseDigest(bool (*wanted)(const QByteArray &))
{
    for (int i = 0;; ++i) {
        const QByteArray body = "body number " + QByteArray::number(i);
        if (wanted(Md5(body)))
            return body;
    }
}

} // namespace

class TestBackupDataCheck : public QObject
{
    Q_OBJECT

private slots:
    void versionOneTestsGzipStream();
    void versionTwoComparesDigest();
    void storedDigestComparedOverItsLength_data();
    void storedDigestComparedOverItsLength();
    void unsetChecksumMatchesAnyDigest();

private:
    QTemporaryDir work;
};

void TestBackupDataCheck::versionOneTestsGzipStream()
{
    const QString path = work.filePath(QStringLiteral("v1"));
    QVERIFY(WriteBackup(path, 1, QByteArray(), GzipBody(RandomBytes(100000, 1).toHex())));
    const Backup::FileHeader header = ReadBack(path);
    QCOMPARE(header.HeaderVersion(), 1);
    QCOMPARE(header.HeaderLength(), 188u);
    QVERIFY(header.VerifyData(path));

    // The gzip test does not judge the exit code: damage after a sound start passes. Kept.
    QByteArray damaged = TestSupport::ReadFile(path);
    damaged.replace(damaged.size() / 2, 500, RandomBytes(500, 2));
    const QString damagedPath = work.filePath(QStringLiteral("v1-damaged"));
    QVERIFY(TestSupport::WriteFile(damagedPath, damaged));
    QVERIFY(header.VerifyData(damagedPath));

    QVERIFY(!header.VerifyData(work.filePath(QStringLiteral("v1-missing"))));
}

void TestBackupDataCheck::versionTwoComparesDigest()
{
    const QByteArray body = RandomBytes(300000, 3);
    const QString path = work.filePath(QStringLiteral("v2"));
    QVERIFY(WriteBackup(path, 2, Md5(body), body));
    const Backup::FileHeader header = ReadBack(path);
    QCOMPARE(header.HeaderLength(), 204u);
    QVERIFY(header.Checksum().size() > 0);
    QVERIFY(header.VerifyData(path));

    QByteArray changed = TestSupport::ReadFile(path);
    changed[changed.size() - 1000] = char(changed.at(changed.size() - 1000) ^ 1);
    const QString changedPath = work.filePath(QStringLiteral("v2-changed"));
    QVERIFY(TestSupport::WriteFile(changedPath, changed));
    QVERIFY(!header.VerifyData(changedPath));

    QVERIFY(!header.VerifyData(work.filePath(QStringLiteral("v2-missing"))));
}

void TestBackupDataCheck::storedDigestComparedOverItsLength_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("storedLength");
    // A 0x00 byte ends the stored text; trailing 0xFF bytes are trimmed on reading.
    QTest::newRow("fifth byte 0x00") << BodyWhoseDigest([](const QByteArray &d) { return d.at(4) == '\0' && !d.left(4).contains('\0'); }) << 4;
    QTest::newRow("ends in 0xFF 0xFF") << BodyWhoseDigest([](const QByteArray &d) {
        return d.endsWith("\xFF\xFF") && d.at(13) != '\xFF' && !d.contains('\0');
    }) << 14;
}

void TestBackupDataCheck::storedDigestComparedOverItsLength()
{
    QFETCH(QByteArray, body);
    QFETCH(int, storedLength);
    const QString path = work.filePath(QStringLiteral("short-digest"));
    QVERIFY(WriteBackup(path, 2, Md5(body), body));
    const Backup::FileHeader header = ReadBack(path);
    QCOMPARE(int(header.Checksum().size()), storedLength);
    QVERIFY(header.VerifyData(path));

    // Still a real comparison: another body fails.
    QVERIFY(WriteBackup(path, 2, Md5(body), body + "more"));
    QVERIFY(!header.VerifyData(path));
}

void TestBackupDataCheck::unsetChecksumMatchesAnyDigest()
{
    // WriteFileHeader by path stores sixteen 0xFF bytes: read back, the checksum is empty.
    Backup::FileHeader written;
    written.SetProduct("Talon 10");
    written.SetProductCode(4711);
    written.SetVariant("cab");
    written.SetMinimumSoftwareVersion(0x05020000);
    const QString path = work.filePath(QStringLiteral("unset"));
    written.WriteFileHeader(path);
    QFile file(path);
    QVERIFY(file.open(QIODevice::Append));
    file.write(RandomBytes(5000, 4));
    file.close();

    const Backup::FileHeader header = ReadBack(path);
    QVERIFY(header.Checksum().empty());
    QVERIFY(header.VerifyData(path));
    // A completed digest is still needed.
    QVERIFY(!header.VerifyData(work.filePath(QStringLiteral("unset-missing"))));
}

QTEST_GUILESS_MAIN(TestBackupDataCheck)
#include "tst_backupdatacheck.moc"
