// The throwaway root is what keeps every other test away from the machine's real data
// areas, so its promises are tested in their own right.
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QtTest>

#include <cerrno>
#include <ctime>
#include <unistd.h>

class SandboxTest : public QObject
{
    Q_OBJECT
private slots:
    void fixedPathsAreWritable_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("data area") << "/home/data/objects/probe.bin";
        QTest::newRow("OEM data") << "/opt/OEM/data/probe.bin";
        QTest::newRow("system settings") << "/etc/sysconfig/probe";
        QTest::newRow("resources") << "/home/resources/language/probe";
    }
    void fixedPathsAreWritable()
    {
        QVB_REQUIRE_THROWAWAY_ROOT();
        QFETCH(QString, path);
        QVERIFY(TestSupport::WriteFile(path, "inside"));
        QCOMPARE(TestSupport::ReadFile(path), QByteArray("inside"));
        QVERIFY(QFile::remove(path));
    }

    void hostSystemFilesAreReadOnly()
    {
        QVB_REQUIRE_THROWAWAY_ROOT();
        QFile file(QStringLiteral("/usr/qvb-sandbox-probe"));
        QVERIFY(!file.open(QIODevice::WriteOnly));
        QVERIFY(QFile::exists(QStringLiteral("/bin/rm")));
        QVERIFY(QFile::exists(QStringLiteral("/bin/gzip")));
    }

    void clockCannotBeChanged()
    {
        QVB_REQUIRE_THROWAWAY_ROOT();
        timespec now{};
        QCOMPARE(clock_gettime(CLOCK_REALTIME, &now), 0);
        errno = 0;
        QCOMPARE(clock_settime(CLOCK_REALTIME, &now), -1);
        QCOMPARE(errno, EPERM);
    }

    void externalProgramsRunInside()
    {
        QVB_REQUIRE_THROWAWAY_ROOT();
        QVERIFY(TestSupport::WriteFile(QStringLiteral("/home/data/a b/c"), "x"));
        QCOMPARE(TestSupport::Run(QStringLiteral("rm"), {QStringLiteral("-rf"), QStringLiteral("/home/data/a b")}), 0);
        QVERIFY(!QDir(QStringLiteral("/home/data/a b")).exists());
    }
};

QTEST_GUILESS_MAIN(SandboxTest)
#include "tst_sandbox.moc"
