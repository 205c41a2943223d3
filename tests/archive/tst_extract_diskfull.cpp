// Storage that refuses entries. Full storage ("/full", a 1 MiB tmpfs in the throwaway root)
// and read-only storage ("/readonly", where a failing flash ends) make the restore fail
// promptly: the data cannot be whole. An entry refused for the file system's own reasons (a
// name too long) is passed over: backups with paths a display cannot write still restore.

#include "ArchiveTestSupport.h"

#include <cstring>

using namespace ArchiveTest;

class TestExtractDiskFull : public QObject
{
    Q_OBJECT

private slots:
    void storageRefusals_data()
    {
        QTest::addColumn<QStringList>("options"); // the body's digest is checked too
        QTest::addColumn<QString>("targetDirectory");
        QTest::addColumn<bool>("restored");
        QTest::addColumn<int>("error");
        const QString longName = QString(300, QLatin1Char('n'));
        QTest::newRow("full, tar.gz") << QStringList {"-z"} << "/full" << false << ENOSPC;
        QTest::newRow("full, zip") << QStringList {"--format", "zip"} << "/full" << false << ENOSPC;
        QTest::newRow("read-only, tar") << QStringList {} << "/readonly" << false << EROFS;
        QTest::newRow("name too long, tar.gz")
            << QStringList {"-z", "-s", "|a/big.bin|a/" + longName + "|"} << "/tmp" << true << 0;
    }

    void storageRefusals()
    {
        QVB_REQUIRE_THROWAWAY_ROOT();
        QFETCH(QStringList, options);
        QFETCH(QString, targetDirectory);
        QFETCH(bool, restored);
        QFETCH(int, error);
        const QByteArray big = RandomBytes(3 << 20, 1);
        const QByteArray body = ArchiveOf({{"a/big.bin", big}, {"b/small.txt", "small\n"}}, options);
        QVERIFY(!body.isEmpty());
        QTemporaryDir scratch;
        // The read-only file system is the destination itself: nothing can be made in it.
        QTemporaryDir writable(targetDirectory + QStringLiteral("/restore-XXXXXX"));
        const QString destination = error == EROFS ? targetDirectory : writable.path();
        QVERIFY(error == EROFS || writable.isValid());
        QDir target(destination);
        Archive::ExtractArchive job(destination, WriteBackup(scratch.filePath("b"), body), 204);
        job.SetExpectedDigest(Md5(body));
        const Outcome outcome = Run(job);
        QVERIFY(outcome.clean);
        QVERIFY(TestSupport::ReadFile(target.filePath("a/big.bin")) != big);
        if (restored) {
            QCOMPARE(outcome.result, Archive::ArchiveProcess::Ok);
            QCOMPARE(TestSupport::ReadFile(target.filePath("b/small.txt")), QByteArray("small\n"));
            QCOMPARE(job.GetFailureReason(), QString());
        } else {
            // The owner learns why: the storage's own error, at the first entry it refused (the
            // run stops there).
            QCOMPARE(outcome.result, Archive::ArchiveProcess::ReadFailed);
            QCOMPARE(job.GetFailureError(), error);
            const QString reason = job.GetFailureReason();
            QVERIFY2(reason.contains("could not write") && reason.contains(std::strerror(error)), qPrintable(reason));
        }
    }
};

QTEST_GUILESS_MAIN(TestExtractDiskFull)
#include "tst_extract_diskfull.moc"
