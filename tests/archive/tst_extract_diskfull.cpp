// Extraction onto a full disk ("/full", a 1 MiB tmpfs in the throwaway root): entries that do
// not fit are lost, but the run goes on, ends Ok (the archive is intact) and does not hang.

#include "ArchiveTestSupport.h"

using namespace ArchiveTest;

class TestExtractDiskFull : public QObject
{
    Q_OBJECT

private slots:
    void fullDiskDoesNotStopTheRun_data()
    {
        QTest::addColumn<QStringList>("options"); // the body's digest is checked too
        QTest::newRow("tar.gz") << QStringList {"-z"};
        QTest::newRow("zip") << QStringList {"--format", "zip"};
    }

    void fullDiskDoesNotStopTheRun()
    {
        QVB_REQUIRE_THROWAWAY_ROOT();
        QFETCH(QStringList, options);
        const QByteArray big = RandomBytes(3 << 20, 1);
        const QByteArray body = ArchiveOf({{"a/big.bin", big}, {"b/small.txt", "small\n"}},
                                          options);
        QTemporaryDir scratch;
        QTemporaryDir target(QStringLiteral("/full/restore-XXXXXX"));
        QVERIFY(target.isValid());
        Archive::ExtractArchive job(target.path(), WriteBackup(scratch.filePath("b"), body), 204);
        job.SetExpectedDigest(Md5(body));
        const Outcome outcome = Run(job);
        QCOMPARE(outcome.result, Archive::ArchiveProcess::Ok);
        QVERIFY(outcome.clean);
        // The big file did not fit (only its data shows it); the entries after it were visited.
        QVERIFY(TestSupport::ReadFile(target.filePath("a/big.bin")) != big);
        QVERIFY(QFileInfo(target.filePath("b")).isDir());
    }
};

QTEST_GUILESS_MAIN(TestExtractDiskFull)
#include "tst_extract_diskfull.moc"
