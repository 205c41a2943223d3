// The RFC 1321 functions and Archive::MD5SumProcess: the RFC's test suite, any split of
// the input, large data against Qt's own MD5, and the job's offsets, progress values,
// failures and cancelling.

#include "ArchiveTestSupport.h"
#include "MD5.h"
#include "MD5SumProcess.h"
#include "TestSupport.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>

using Archive::MD5SumProcess;
using namespace ArchiveTest;

namespace {

QByteArray Digest(const QByteArray &data)
{
    Archive::MD5Context context;
    Archive::MD5Init(context);
    Archive::MD5Update(context, data.constData(), size_t(data.size()));
    unsigned char digest[16];
    Archive::MD5Final(context, digest);
    return QByteArray(reinterpret_cast<const char *>(digest), 16);
}

// Progress values delivered to this thread as the owner would receive them.
class ProgressRecorder : public QObject
{
public:
    explicit ProgressRecorder(MD5SumProcess &job)
    {
        connect(&job, &MD5SumProcess::PercentProgress, this, [this](int percent) { values << percent; });
    }
    QList<int> values;
};

QList<int> RunToEnd(MD5SumProcess &job)
{
    ProgressRecorder recorder(job);
    job.start();
    if (!job.wait(120000))
        return {-999};
    QCoreApplication::sendPostedEvents(&recorder);
    return recorder.values;
}

// A sparse file of `size` bytes: holes read as zeros and cost no disk.
bool MakeSparse(const QString &path, qint64 size)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.resize(size);
}

} // namespace

class TestMd5 : public QObject
{
    Q_OBJECT

private slots:
    void rfc1321Suite_data();
    void rfc1321Suite();
    void anySplitGivesSameDigest();
    void largeRandomDataMatchesQt();
    void paddingBoundaries();

    void jobDigestsFromOffset_data();
    void jobDigestsFromOffset();
    void jobProgressValues_data();
    void jobProgressValues();
    void jobProgressBeyondTwoGiB();
    void jobFailures();
    void jobCancel();
};

void TestMd5::rfc1321Suite_data()
{
    // The test suite of RFC 1321, appendix A.5.
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArray>("digest");
    QTest::newRow("empty") << QByteArray("") << QByteArray("d41d8cd98f00b204e9800998ecf8427e");
    QTest::newRow("a") << QByteArray("a") << QByteArray("0cc175b9c0f1b6a831c399e269772661");
    QTest::newRow("abc") << QByteArray("abc") << QByteArray("900150983cd24fb0d6963f7d28e17f72");
    QTest::newRow("message digest") << QByteArray("message digest") << QByteArray("f96b697d7cb7938d525a2f31aaf161d0");
    QTest::newRow("alphabet") << QByteArray("abcdefghijklmnopqrstuvwxyz") << QByteArray("c3fcd3d76192e4007dfb496cca67e13b");
    QTest::newRow("alphanumeric")
        << QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789")
        << QByteArray("d174ab98d277d9f5a5611c2c9f419d9f");
    QTest::newRow("digits") << QByteArray("1234567890").repeated(8) << QByteArray("57edf4a22be3c955ac49da2e2107b67a");
}

void TestMd5::rfc1321Suite()
{
    QFETCH(QByteArray, message);
    QFETCH(QByteArray, digest);
    QCOMPARE(Digest(message).toHex(), digest);
}

void TestMd5::anySplitGivesSameDigest()
{
    // Pieces of every awkward length, including empty ones and ones straddling blocks.
    const QByteArray data = RandomBytes(100000, 1);
    const QByteArray expected = QCryptographicHash::hash(data, QCryptographicHash::Md5);
    QRandomGenerator random(2);
    for (int round = 0; round < 50; ++round) {
        Archive::MD5Context context;
        Archive::MD5Init(context);
        int at = 0;
        while (at < data.size()) {
            static const int sizes[] = {0, 1, 3, 55, 56, 63, 64, 65, 127, 128, 4096, 5000};
            int size = round % 2 ? sizes[random.bounded(12)] : int(random.bounded(3000));
            size = std::min(size, data.size() - at);
            Archive::MD5Update(context, data.constData() + at, size_t(size));
            at += size;
        }
        unsigned char digest[16];
        Archive::MD5Final(context, digest);
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(digest), 16), expected);
    }
}

void TestMd5::largeRandomDataMatchesQt()
{
    const QByteArray data = RandomBytes(48 * 1024 * 1024 + 17, 3);
    QCOMPARE(Digest(data), QCryptographicHash::hash(data, QCryptographicHash::Md5));
    // From an odd address, as a caller's buffer may be.
    const QByteArray shifted = data.mid(1);
    QCOMPARE(Digest(shifted), QCryptographicHash::hash(shifted, QCryptographicHash::Md5));
}

void TestMd5::paddingBoundaries()
{
    // Every length around the 56- and 64-byte points of the padding rule.
    const QByteArray data = RandomBytes(300, 4);
    for (int length = 0; length <= data.size(); ++length) {
        const QByteArray piece = data.left(length);
        QVERIFY2(Digest(piece) == QCryptographicHash::hash(piece, QCryptographicHash::Md5),
                 qPrintable(QString::number(length)));
    }
}

void TestMd5::jobDigestsFromOffset_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<qint64>("offset");
    QTest::newRow("whole file") << 1000000 << qint64(0);
    QTest::newRow("after a version-2 header") << 1000000 << qint64(204);
    QTest::newRow("odd sizes") << 123457 << qint64(4097);
    QTest::newRow("offset at the end: empty data") << 5000 << qint64(5000);
}

void TestMd5::jobDigestsFromOffset()
{
    QFETCH(int, size);
    QFETCH(qint64, offset);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("backup"));
    const QByteArray data = RandomBytes(size, 5);
    QVERIFY(TestSupport::WriteFile(path, data));

    MD5SumProcess job(path, offset);
    QCOMPARE(job.GetResult(), MD5SumProcess::NotRun);
    QCOMPARE(job.GetDigest(), QByteArray(16, '\xFF'));
    const QList<int> progress = RunToEnd(job);
    QCOMPARE(job.GetResult(), MD5SumProcess::Done);
    QCOMPARE(job.GetDigest(), QCryptographicHash::hash(data.mid(int(offset)), QCryptographicHash::Md5));
    if (offset == size)
        QVERIFY(progress.isEmpty());
}

void TestMd5::jobProgressValues_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<qint64>("offset");
    QTest::addColumn<QList<int>>("expected");
    // Under 10000 bytes the "percentage" is the raw count of bytes digested.
    QTest::newRow("5000 bytes") << 5000 << qint64(0) << QList<int> {4096, 5000};
    QTest::newRow("9999 bytes from 1000") << 9999 << qint64(1000) << QList<int> {4096, 8192, 8999};
    // A million bytes: divisor 10000, one value per 4096-byte chunk where it changes.
    QList<int> million;
    for (qint64 total = 4096;; total += 4096) {
        const int percent = int(std::min<qint64>(total, 1000000) / 10000);
        if (million.isEmpty() || million.last() != percent)
            million << percent;
        if (total >= 1000000)
            break;
    }
    QTest::newRow("1000000 bytes") << 1000000 << qint64(0) << million;
    // The count starts after the offset, the divisor covers the whole file: ends below 100.
    QList<int> afterHeader;
    for (qint64 total = 4096;; total += 4096) {
        const int percent = int(std::min<qint64>(total, 1000000 - 300000) / 10000);
        if (afterHeader.isEmpty() || afterHeader.last() != percent)
            afterHeader << percent;
        if (total >= 700000)
            break;
    }
    QTest::newRow("1000000 bytes from 300000") << 1000000 << qint64(300000) << afterHeader;
}

void TestMd5::jobProgressValues()
{
    QFETCH(int, size);
    QFETCH(qint64, offset);
    QFETCH(QList<int>, expected);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("data"));
    QVERIFY(TestSupport::WriteFile(path, RandomBytes(size, 6)));
    MD5SumProcess job(path, offset);
    QCOMPARE(RunToEnd(job), expected);
}

void TestMd5::jobProgressBeyondTwoGiB()
{
    // Past 2 GiB digested the byte total no longer fits 32 bits; the percentage must
    // still run up to 100.
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("big"));
    const qint64 size = Q_INT64_C(2) * 1024 * 1024 * 1024 + Q_INT64_C(300) * 1024 * 1024;
    QVERIFY(MakeSparse(path, size));
    MD5SumProcess job(path, 0);
    const QList<int> progress = RunToEnd(job);
    QCOMPARE(job.GetResult(), MD5SumProcess::Done);
    QCOMPARE(progress.size(), 101);
    for (int i = 0; i < progress.size(); ++i)
        QCOMPARE(progress[i], i);
}

void TestMd5::jobFailures()
{
    QTemporaryDir dir;
    MD5SumProcess missing(dir.filePath(QStringLiteral("missing")), 0);
    QVERIFY(RunToEnd(missing).isEmpty());
    QCOMPARE(missing.GetResult(), MD5SumProcess::OpenFailed);
    QCOMPARE(missing.GetDigest(), QByteArray(16, '\xFF'));

    const QString path = dir.filePath(QStringLiteral("file"));
    QVERIFY(TestSupport::WriteFile(path, "data"));
    MD5SumProcess badOffset(path, -1);
    QVERIFY(RunToEnd(badOffset).isEmpty());
    QCOMPARE(badOffset.GetResult(), MD5SumProcess::SeekFailed);
    QCOMPARE(badOffset.GetDigest(), QByteArray(16, '\xFF'));

    // Cancelling a finished job still marks it cancelled.
    MD5SumProcess done(path, 0);
    RunToEnd(done);
    QCOMPARE(done.GetResult(), MD5SumProcess::Done);
    done.Cancel();
    QCOMPARE(done.GetResult(), MD5SumProcess::Cancelled);
}

void TestMd5::jobCancel()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("huge"));
    QVERIFY(MakeSparse(path, Q_INT64_C(64) * 1024 * 1024 * 1024));
    MD5SumProcess job(path, 0);
    ProgressRecorder recorder(job);
    job.start();
    QTRY_VERIFY_WITH_TIMEOUT(!recorder.values.isEmpty(), 30000);
    QElapsedTimer timer;
    timer.start();
    job.Cancel();
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(job.isFinished());
    QCOMPARE(job.GetResult(), MD5SumProcess::Cancelled);
    // The digest of what was read before the stop is kept; it is not the whole file's.
    QVERIFY(job.GetDigest() != QByteArray(16, '\xFF'));
}

QTEST_GUILESS_MAIN(TestMd5)
#include "tst_md5.moc"
