#include "SystemClock.h"

#include "SettingsFileReader.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <cstdlib>
#include <time.h>

namespace SystemClock {
namespace {

const char kClockSettingsPath[] = "/etc/sysconfig/clock";
const char kLocalTimeLink[] = "/etc/sysconfig/localtime";
const char kZoneInfoDirectory[] = "/usr/share/zoneinfo";

} // namespace

void SetTime(time_t t)
{
    // stime() is gone from the C library; clock_settime on the realtime clock does the
    // same. Without the right to set the clock it fails, and that is ignored as before:
    // the hardware clock is still asked to follow the system time.
    const timespec now{t, 0};
    (void)clock_settime(CLOCK_REALTIME, &now);
    (void)std::system("hwclock --systohc --utc");
}

QString CurrentZone()
{
    QString zone;
    Settings::ForEachLineButLast(QString::fromLatin1(kClockSettingsPath), [&zone](const QString &line) {
        if (!line.contains(QLatin1String("ZONE=")))
            return false;
        zone = line.section(QLatin1Char('"'), 1, 1);
        return true;
    });
    return zone;
}

QStringList AvailableZones()
{
    const QDir zoneInfo(QString::fromLatin1(kZoneInfoDirectory));
    if (!zoneInfo.exists())
        return {};
    // The display's default name order ignores case: "Egypt" before "EST", and a zone file
    // with a lower-case name among the others, not pushed to the end.
    return zoneInfo.entryList(QDir::Files, QDir::Name | QDir::IgnoreCase);
}

void SetZone(const QString &zone)
{
    const QString settings = QStringLiteral("ZONE=\"%1\"\nUTC=true\nARC=false").arg(zone);
    QFile file(QString::fromLatin1(kClockSettingsPath));
    if (file.open(QIODevice::WriteOnly)) {
        file.write(settings.toLatin1());
        file.close();
    }

    QProcess::execute(QStringLiteral("ln"),
                      {QStringLiteral("-sf"), QStringLiteral("%1/%2").arg(QLatin1String(kZoneInfoDirectory), zone),
                       QString::fromLatin1(kLocalTimeLink)});

    // The process's own local-time functions follow the new zone at once.
    setenv("TZ", (QLatin1Char(':') + zone).toUtf8().constData(), 1);
    tzset();
}

} // namespace SystemClock
