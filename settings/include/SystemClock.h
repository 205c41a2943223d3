#pragma once
// System time and time zone of the display. The zone lives in "/etc/sysconfig/clock"
// (ZONE=) and in the link "/etc/sysconfig/localtime" to a zone file under
// "/usr/share/zoneinfo"; the hardware clock is always kept in UTC.

#include <QString>
#include <QStringList>

#include <ctime>

namespace SystemClock {

// Sets the system time to `t` (seconds since the epoch, UTC) and copies it to the
// hardware clock. Failures are silent.
void SetTime(time_t t);

// Zone name from "/etc/sysconfig/clock"; empty when there is none.
QString CurrentZone();

// Zone files lying directly in "/usr/share/zoneinfo", sorted by name; region
// sub-directories are not offered.
QStringList AvailableZones();

// Makes `zone` (a file name under "/usr/share/zoneinfo") the system's and this
// process's time zone. Every step is attempted whatever the one before did.
void SetZone(const QString &zone);

} // namespace SystemClock
