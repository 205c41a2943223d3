// Archive::ExtractArchive onto a full disk: inside a throwaway root whose "/full" is a
// 1 MiB tmpfs. Entries that do not fit are lost, but the job goes on through the archive,
// ends with the library's verdict on the archive itself (intact, so Ok) and does not hang.

#include "ArchiveTestSupport.h"
#include "ExtractArchive.h"
#include "TestSupport.h"

#include <QTemporaryDir>

#include <sys/statvfs.h>

using Archive::ArchiveProcess;
using Archive::ExtractArchive;
using namespace ArchiveTest;

class TestExtractDiskFull : public QObject
{
    Q_OBJECT

private slots:
    void fullDiskDoesNotStopTheRun_data();
    void fullDiskDoesNotStopTheRun();
};

void TestExtractDiskFull::fullDiskDoesNotStopTheRun_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<bool>("withDigest");
    QTest::newRow("tar.gz") << QStringList {"-z"} << false;
    QTest::newRow("tar.gz, digest checked") << QStringList {"-z"} << true;
    QTest::newRow("zip") << QStringList {"--format", "zip"} << true;
}

void TestExtractDiskFull::fullDiskDoesNotStopTheRun()
{
    QVB_REQUIRE_THROWAWAY_ROOT();
    QFETCH(QStringList, options);
    QFETCH(bool, withDigest);

    struct statvfs disk;
    QCOMPARE(::statvfs("/full", &disk), 0);
    QVERIFY2(quint64(disk.f_blocks) * disk.f_frsize <= 2 * 1024 * 1024, "/full must be the small tmpfs of the test root");

    QTemporaryDir scratch;
    const QString source = scratch.filePath(QStringLiteral("src"));
    QDir().mkpath(source + "/a");
    QDir().mkpath(source + "/b");
    const QByteArray big = RandomBytes(3 * 1024 * 1024, 1);
    QVERIFY(TestSupport::WriteFile(source + "/a/big.bin", big));
    QVERIFY(TestSupport::WriteFile(source + "/b/small.txt", "small\n"));
    const QString archive = scratch.filePath(QStringLiteral("body"));
    QVERIFY(MakeArchive(archive, source, options, {"a", "b"}));
    const QByteArray body = TestSupport::ReadFile(archive);
    const QString backup = scratch.filePath(QStringLiteral("backup"));
    QVERIFY(TestSupport::WriteFile(backup, QByteArray(204, 'H') + body));

    QTemporaryDir target(QStringLiteral("/full/restore-XXXXXX"));
    QVERIFY(target.isValid());
    const QString destination = target.path();
    const QString directoryBefore = QDir::currentPath();
    const int descriptorsBefore = OpenDescriptorCount();

    ExtractArchive job(destination, backup, 204);
    if (withDigest)
        job.SetExpectedDigest(Md5(body));
    QList<ArchiveProcess::Result> errors;
    connect(&job, &ExtractArchive::ErrorOccurred, this, [&](ArchiveProcess::Result error) { errors << error; });
    job.start();
    QVERIFY2(job.wait(60000), "the run hangs on a full disk");
    QCoreApplication::sendPostedEvents(this);

    QCOMPARE(job.GetResult(), ArchiveProcess::Ok);
    QVERIFY(errors.isEmpty());
    QCOMPARE(QDir::currentPath(), directoryBefore);
    QCOMPARE(OpenDescriptorCount(), descriptorsBefore);
    // The big file did not fit (the library still sets its length, so only its data
    // shows the loss); the entries after it were still visited.
    QVERIFY(TestSupport::ReadFile(destination + "/a/big.bin") != big);
    QVERIFY(QFileInfo(destination + "/b").isDir());
}

QTEST_GUILESS_MAIN(TestExtractDiskFull)
#include "tst_extract_diskfull.moc"
