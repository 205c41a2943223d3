// Time zone and clock. Runs inside a throwaway root without the right to set the clock,
// over an empty stand-in "/usr/share/zoneinfo" (the host's zone files are visible
// read-only at "/host-zoneinfo" to copy real ones from). The machine's clock and hardware
// clock are never touched: the clock request is caught below before it reaches the
// kernel, and "hwclock" is a stand-in that records its arguments.
#include "SystemClock.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QVector>
#include <QtTest>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <sys/stat.h>

namespace {

struct ClockRequest
{
    clockid_t clock;
    timespec time;
};
QVector<ClockRequest> clockRequests;

} // namespace

// Defined in the test executable, this takes the place of the C library's function for
// the settings code linked into it: the request is recorded and refused the way the
// kernel refuses it without CAP_SYS_TIME, and the real clock is never asked.
extern "C" int clock_settime(clockid_t clock, const struct timespec *time) noexcept
{
    clockRequests.append({clock, *time});
    errno = EPERM;
    return -1;
}

namespace {

const QString ClockPath = QStringLiteral("/etc/sysconfig/clock");
const QString LinkPath = QStringLiteral("/etc/sysconfig/localtime");
const QString ZoneInfo = QStringLiteral("/usr/share/zoneinfo");

void ClearZoneInfo()
{
    const QFileInfoList entries =
        QDir(ZoneInfo).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo &entry : entries) {
        if (entry.isDir() && !entry.isSymLink())
            QDir(entry.absoluteFilePath()).removeRecursively();
        else
            QFile::remove(entry.absoluteFilePath());
    }
}

} // namespace

class SystemClockTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void currentZone_data();
    void currentZone();
    void currentZoneOfUnusableFile_data();
    void currentZoneOfUnusableFile();

    void availableZonesOnlyDirectFiles();

    void setZoneWritesFileLinkAndEnvironment();
    void setZoneReplacesExistingLink();
    void setZoneGoesOnWhenFileCannotBeWritten();
    void setZoneUnknownNameDangles();

    void setTimeAsksClockAndHardwareClock();
};

void SystemClockTest::initTestCase()
{
    QVB_REQUIRE_THROWAWAY_ROOT();
    // The stand-in must be the writable, empty tmpfs, never the host's zone files.
    QVERIFY(QFileInfo(QStringLiteral("/host-zoneinfo")).isDir());
    QVERIFY(QFile::exists(QStringLiteral("/host-zoneinfo/Europe/Berlin")));
    QVERIFY(TestSupport::WriteFile(ZoneInfo + QStringLiteral("/probe"), "x"));
    QVERIFY(!QFile::exists(QStringLiteral("/host-zoneinfo/probe")));
}

void SystemClockTest::init()
{
    ClearZoneInfo();
    QDir(QStringLiteral("/etc/sysconfig")).removeRecursively();
    QVERIFY(QDir().mkpath(QStringLiteral("/etc/sysconfig")));
}

void SystemClockTest::cleanup()
{
    QFile::setPermissions(QStringLiteral("/etc/sysconfig"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    unsetenv("TZ");
    tzset();
}

void SystemClockTest::currentZone_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::addColumn<QString>("zone");
    QTest::newRow("form SetZone writes") << QByteArray("ZONE=\"Europe/Berlin\"\nUTC=true\nARC=false")
                                         << "Europe/Berlin";
    QTest::newRow("ZONE on the second line") << QByteArray("UTC=true\nZONE=\"UTC\"\nARC=false") << "UTC";
    QTest::newRow("only line") << QByteArray("ZONE=\"Europe/Berlin\"") << "";
    QTest::newRow("only line with line end") << QByteArray("ZONE=\"Europe/Berlin\"\n") << "";
    QTest::newRow("ZONE last of two") << QByteArray("UTC=true\nZONE=\"UTC\"") << "";
    QTest::newRow("first ZONE wins") << QByteArray("ZONE=\"A\"\nZONE=\"B\"\nX") << "A";
    QTest::newRow("TIMEZONE counts") << QByteArray("TIMEZONE=\"America/Chicago\"\nX") << "America/Chicago";
    QTest::newRow("comment counts") << QByteArray("#ZONE=\"Asia/Tokyo\"\nX") << "Asia/Tokyo";
    QTest::newRow("no quotes") << QByteArray("ZONE=UTC\nX") << "";
    QTest::newRow("empty quotes") << QByteArray("ZONE=\"\"\nZONE=\"UTC\"\nX") << "";
    QTest::newRow("lower case") << QByteArray("zone=\"UTC\"\nX") << "";
    QTest::newRow("no ZONE") << QByteArray("UTC=true\nARC=false\n\n") << "";
    QTest::newRow("empty") << QByteArray() << "";
}

void SystemClockTest::currentZone()
{
    QFETCH(QByteArray, contents);
    QFETCH(QString, zone);
    QVERIFY(TestSupport::WriteFile(ClockPath, contents));
    QCOMPARE(SystemClock::CurrentZone(), zone);
}

void SystemClockTest::currentZoneOfUnusableFile_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("missing") << "missing";
    QTest::newRow("directory") << "directory";
    QTest::newRow("unreadable") << "unreadable";
    QTest::newRow("named pipe") << "fifo";
    QTest::newRow("oversized") << "oversized";
}

void SystemClockTest::currentZoneOfUnusableFile()
{
    QFETCH(QString, kind);
    const QByteArray good("ZONE=\"UTC\"\nUTC=true\nARC=false");
    if (kind == QLatin1String("directory")) {
        QVERIFY(QDir().mkpath(ClockPath));
    } else if (kind == QLatin1String("unreadable")) {
        QVERIFY(TestSupport::WriteFile(ClockPath, good));
        QVERIFY(QFile::setPermissions(ClockPath, QFile::WriteOwner));
        QFile probe(ClockPath);
        QVERIFY2(!probe.open(QIODevice::ReadOnly), "permission bits are not enforced in this root");
    } else if (kind == QLatin1String("fifo")) {
        QCOMPARE(mkfifo(QFile::encodeName(ClockPath).constData(), 0644), 0);
    } else if (kind == QLatin1String("oversized")) {
        QVERIFY(TestSupport::WriteFile(ClockPath, good + '\n' + QByteArray(1 << 20, '#') + '\n'));
    }
    QCOMPARE(SystemClock::CurrentZone(), QString());
}

void SystemClockTest::availableZonesOnlyDirectFiles()
{
    QCOMPARE(SystemClock::AvailableZones(), QStringList());
    QVERIFY(QDir().mkpath(ZoneInfo + QStringLiteral("/Europe")));
    QVERIFY(QFile::copy(QStringLiteral("/host-zoneinfo/Europe/Berlin"), ZoneInfo + QStringLiteral("/Europe/Berlin")));
    QVERIFY(TestSupport::WriteFile(ZoneInfo + QStringLiteral("/UTC"), "TZif"));
    QVERIFY(TestSupport::WriteFile(ZoneInfo + QStringLiteral("/GMT"), "TZif"));
    QVERIFY(TestSupport::WriteFile(ZoneInfo + QStringLiteral("/Etc/UTC"), "TZif"));
    QCOMPARE(SystemClock::AvailableZones(), QStringList({QStringLiteral("GMT"), QStringLiteral("UTC")}));
}

void SystemClockTest::setZoneWritesFileLinkAndEnvironment()
{
    QVERIFY(QDir().mkpath(ZoneInfo + QStringLiteral("/Europe")));
    QVERIFY(QFile::copy(QStringLiteral("/host-zoneinfo/Europe/Berlin"), ZoneInfo + QStringLiteral("/Europe/Berlin")));

    SystemClock::SetZone(QStringLiteral("Europe/Berlin"));

    QCOMPARE(TestSupport::ReadFile(ClockPath), QByteArray("ZONE=\"Europe/Berlin\"\nUTC=true\nARC=false"));
    QCOMPARE(SystemClock::CurrentZone(), QStringLiteral("Europe/Berlin"));
    const QFileInfo link(LinkPath);
    QVERIFY(link.isSymLink());
    QCOMPARE(link.symLinkTarget(), QStringLiteral("/usr/share/zoneinfo/Europe/Berlin"));
    QCOMPARE(TestSupport::ReadFile(LinkPath), TestSupport::ReadFile(QStringLiteral("/host-zoneinfo/Europe/Berlin")));

    // The process follows the new zone at once: 2023-11-14 22:13:20 UTC is 23:13 in Berlin.
    QCOMPARE(qgetenv("TZ"), QByteArray(":Europe/Berlin"));
    const time_t instant = 1700000000;
    tm local{};
    QVERIFY(localtime_r(&instant, &local));
    QCOMPARE(local.tm_hour, 23);
    QCOMPARE(local.tm_min, 13);

    SystemClock::SetZone(QStringLiteral("UTC"));
    QCOMPARE(TestSupport::ReadFile(ClockPath), QByteArray("ZONE=\"UTC\"\nUTC=true\nARC=false"));
    QCOMPARE(SystemClock::CurrentZone(), QStringLiteral("UTC"));
    QCOMPARE(QFileInfo(LinkPath).symLinkTarget(), QStringLiteral("/usr/share/zoneinfo/UTC"));
}

void SystemClockTest::setZoneReplacesExistingLink()
{
    // Whatever was there before, a file or a link to another zone, is replaced.
    QVERIFY(TestSupport::WriteFile(ZoneInfo + QStringLiteral("/UTC"), "utc zone"));
    QVERIFY(TestSupport::WriteFile(ZoneInfo + QStringLiteral("/GMT"), "gmt zone"));
    QVERIFY(TestSupport::WriteFile(LinkPath, "old local time"));
    QVERIFY(TestSupport::WriteFile(ClockPath, "ZONE=\"Old/Zone\"\nUTC=false\nARC=true\nEXTRA=1\n"));
    SystemClock::SetZone(QStringLiteral("UTC"));
    QCOMPARE(TestSupport::ReadFile(LinkPath), QByteArray("utc zone"));
    QCOMPARE(TestSupport::ReadFile(ClockPath), QByteArray("ZONE=\"UTC\"\nUTC=true\nARC=false"));
    SystemClock::SetZone(QStringLiteral("GMT"));
    QCOMPARE(QFileInfo(LinkPath).symLinkTarget(), QStringLiteral("/usr/share/zoneinfo/GMT"));
    QCOMPARE(TestSupport::ReadFile(LinkPath), QByteArray("gmt zone"));
}

void SystemClockTest::setZoneGoesOnWhenFileCannotBeWritten()
{
    QVERIFY(TestSupport::WriteFile(ZoneInfo + QStringLiteral("/UTC"), "utc zone"));
    QVERIFY(QDir().mkpath(ClockPath)); // a directory where the file belongs
    SystemClock::SetZone(QStringLiteral("UTC"));
    QVERIFY(QFileInfo(ClockPath).isDir());
    QCOMPARE(QFileInfo(LinkPath).symLinkTarget(), QStringLiteral("/usr/share/zoneinfo/UTC"));
    QCOMPARE(qgetenv("TZ"), QByteArray(":UTC"));

    // No settings directory at all: neither file nor link, but the process still follows.
    QDir(QStringLiteral("/etc/sysconfig")).removeRecursively();
    SystemClock::SetZone(QStringLiteral("GMT"));
    QVERIFY(!QFileInfo::exists(QStringLiteral("/etc/sysconfig")));
    QCOMPARE(qgetenv("TZ"), QByteArray(":GMT"));
    QCOMPARE(SystemClock::CurrentZone(), QString());
}

void SystemClockTest::setZoneUnknownNameDangles()
{
    SystemClock::SetZone(QStringLiteral("Mars/Olympus_Mons"));
    const QFileInfo link(LinkPath);
    QVERIFY(link.isSymLink());
    QVERIFY(!link.exists());
    QCOMPARE(link.symLinkTarget(), QStringLiteral("/usr/share/zoneinfo/Mars/Olympus_Mons"));
    QCOMPARE(SystemClock::CurrentZone(), QStringLiteral("Mars/Olympus_Mons"));
}

void SystemClockTest::setTimeAsksClockAndHardwareClock()
{
    // A stand-in "hwclock" first on the search path records how it was called.
    QTemporaryDir bin;
    const QString record = bin.filePath(QStringLiteral("calls"));
    const QString standIn = bin.filePath(QStringLiteral("hwclock"));
    QVERIFY(TestSupport::WriteFile(standIn, "#!/bin/sh\necho \"$*\" >> '" + record.toUtf8() + "'\n"));
    QVERIFY(QFile::setPermissions(standIn, QFile::ReadOwner | QFile::ExeOwner));
    const QByteArray oldPath = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(bin.path()) + ':' + oldPath);

    const time_t before = time(nullptr);
    clockRequests.clear();
    SystemClock::SetTime(1234567890);
    SystemClock::SetTime(0);
    qputenv("PATH", oldPath);

    QCOMPARE(clockRequests.size(), 2);
    QCOMPARE(clockRequests[0].clock, clockid_t(CLOCK_REALTIME));
    QCOMPARE(clockRequests[0].time.tv_sec, time_t(1234567890));
    QCOMPARE(clockRequests[0].time.tv_nsec, 0L);
    QCOMPARE(clockRequests[1].clock, clockid_t(CLOCK_REALTIME));
    QCOMPARE(clockRequests[1].time.tv_sec, time_t(0));
    // The refused clock request does not stop the hardware clock update.
    QCOMPARE(TestSupport::ReadFile(record), QByteArray("--systohc --utc\n--systohc --utc\n"));
    QVERIFY(time(nullptr) >= before);
}

QTEST_GUILESS_MAIN(SystemClockTest)
#include "tst_systemclock.moc"
