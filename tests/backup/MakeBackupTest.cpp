// qvb-make-backup: wraps a real archive made by bsdtar; the result reads back through the
// header reader with the body's digest, and the body follows the header unchanged.

#include "BackupTests.h"

#include "FileHeader.h"
#include "TestSupport.h"

#include <QCryptographicHash>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kTool = QStringLiteral(QVB_MAKE_BACKUP);

// The digest as a header stores it: up to the first 0x00 byte, trailing 0xFF bytes dropped.
QByteArray AsStored(QByteArray digest)
{
    const int nul = digest.indexOf('\0');
    if (nul >= 0)
        digest.truncate(nul);
    while (digest.endsWith('\xFF'))
        digest.chop(1);
    return digest;
}

} // namespace

class TestMakeBackup : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void version2WithDigest();
    void options_data();
    void options();
    void refusals_data();
    void refusals();

private:
    QString Path(const QString &name) const { return m_dir->filePath(name); }
    std::unique_ptr<QTemporaryDir> m_dir;
    QByteArray m_archive;
};

void TestMakeBackup::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    QVERIFY(TestSupport::WriteFile(Path("data/home/data/fields/north.txt"), "wheat, 2013\n"));
    QVERIFY(TestSupport::WriteFile(Path("data/home/data/.hidden"), QByteArray(5000, 'z')));
    QCOMPARE(TestSupport::Run("bsdtar", {"-czf", Path("body.tar.gz"), "-C", Path("data"), "home"}), 0);
    m_archive = TestSupport::ReadFile(Path("body.tar.gz"));
    QVERIFY(m_archive.startsWith("\x1f\x8b"));
}

void TestMakeBackup::version2WithDigest()
{
    QByteArray output;
    QCOMPARE(TestSupport::Run(kTool, {Path("body.tar.gz"), Path("out.qvb")}, &output), 0);
    QVERIFY(output.isEmpty());

    QFile file(Path("out.qvb"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    Backup::FileHeader header;
    QCOMPARE(Backup::ReadFileHeader(header, &file), Backup::FileHeader::Ok);
    QCOMPARE(header.HeaderLength(), 204u);
    QCOMPARE(header.HeaderVersion(), 2);
    const QByteArray md5 = QCryptographicHash::hash(m_archive, QCryptographicHash::Md5);
    const std::vector<std::uint8_t> stored = header.Checksum();
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(stored.data()), int(stored.size())).toHex(),
             AsStored(md5).toHex());

    QVERIFY(file.seek(header.HeaderLength()));
    QCOMPARE(file.readAll(), m_archive);
}

void TestMakeBackup::options_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("headerLength");
    QTest::addColumn<int>("version");

    QTest::newRow("version 1") << QStringList{"--header-version", "1"} << 188 << 1;
    QTest::newRow("version 2, no digest") << QStringList{"--no-digest"} << 204 << 2;
    QTest::newRow("explicit version 2, no digest")
        << QStringList{"--no-digest", "--header-version", "2"} << 204 << 2;
}

void TestMakeBackup::options()
{
    QFETCH(QStringList, options);
    QFETCH(int, headerLength);
    QFETCH(int, version);

    QCOMPARE(TestSupport::Run(kTool, options + QStringList{Path("body.tar.gz"), Path("out.qvb")}), 0);
    const QByteArray written = TestSupport::ReadFile(Path("out.qvb"));
    QCOMPARE(written.size(), headerLength + m_archive.size());
    QCOMPARE(written.mid(headerLength), m_archive);
    if (version == 2)
        QCOMPARE(written.mid(148, 16), QByteArray(16, '\xFF')); // the fresh header's checksum

    QFile file(Path("out.qvb"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    Backup::FileHeader header;
    QCOMPARE(Backup::ReadFileHeader(header, &file), Backup::FileHeader::Ok);
    QCOMPARE(int(header.HeaderLength()), headerLength);
    QCOMPARE(header.HeaderVersion(), version);
    QVERIFY(header.Checksum().empty());
}

void TestMakeBackup::refusals_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("missing body") << QStringList{"missing.tar", "out.qvb"};
    QTest::newRow("directory as body") << QStringList{"data", "out.qvb"};
    QTest::newRow("no output") << QStringList{"body.tar.gz"};
    QTest::newRow("header version 3") << QStringList{"--header-version", "3", "body.tar.gz", "out.qvb"};
    QTest::newRow("unknown option") << QStringList{"--fast", "body.tar.gz", "out.qvb"};
    QTest::newRow("output in missing directory") << QStringList{"body.tar.gz", "no/such/out.qvb"};
}

void TestMakeBackup::refusals()
{
    QFETCH(QStringList, arguments);
    for (QString &argument : arguments) {
        if (!argument.startsWith("--") && argument != "3")
            argument = Path(argument);
    }
    QByteArray output;
    QCOMPARE(TestSupport::Run(kTool, arguments, &output), 1);
    QVERIFY(output.isEmpty());
    QVERIFY(!QFile::exists(Path("out.qvb")));
}

int RunMakeBackupTests(int argc, char **argv)
{
    TestMakeBackup test;
    return QTest::qExec(&test, argc, argv);
}

#include "MakeBackupTest.moc"
