#pragma once
// The display's data areas, which a restore empties before unpacking (and again after a
// failed restore), the marker that tells a restore is in progress, and the lock that lets
// one restore run at a time.
//
// Whatever happens, a power cut or a crash leaves the storage in a state the display can
// tell: the data areas as they were and no marker; the marker present; the backup whole
// and no marker (after "Backup Restored"); or the data areas empty and no marker (after
// "QVB Restore Failed"). So the marker is on the storage before the first removal, the
// clearings spare it, and it goes only once every removal and every written entry is on
// the storage (see docs/behaviour.md). Failures come back as error numbers (0 for success)
// or as what was left; the restore driver tells the trail.

#include "SystemFiles.h"

#include <QStringList>

namespace DataAreas {

// Directories whose contents a restore replaces; the directories themselves remain.
constexpr const char kHomeDataDirectory[] = "/home/data/";
constexpr const char kOemDataDirectory[] = "/opt/OEM/data/";
// The configuration database, removed with the data areas whether or not it exists.
constexpr const char kConfigurationDatabase[] = "/opt/OEM/Terramux/ESC/bin/database/config/dbmain.sqlite";
// Exists from before the first removal until the outcome has been shown and every change
// is on the storage; left behind, it tells the display's other software that a restore
// was interrupted.
constexpr const char kRestoreMarker[] = "/home/data/qvb-restore-in-progress";
// Room kept for the marker: a hidden file (so no clearing removes it and it is no data of
// the display's) that a restore gives up when the storage is too full to take the marker.
constexpr const char kMarkerReserve[] = "/home/data/.qvb-restore-reserve";
constexpr int kMarkerReserveSize = 64 * 1024;

// What ClearDataAreas removes, in removal order: the entries of kHomeDataDirectory but
// the marker, then those of kOemDataDirectory (each unsorted, hidden and other system
// entries not listed), then kConfigurationDatabase. Absolute paths.
QStringList DataAreaEntries();

// Removes every path of DataAreaEntries() with "rm -rf", one synchronous process per
// path, each path handed over as a single argument; a removal process does not outlive
// the program. Exit statuses are ignored; what is left afterwards is returned (the
// database only when it still exists), empty when the areas are clear.
QStringList ClearDataAreas();

// Puts the data areas' removals on the storage: syncfs on the file system of each data
// area and of the database's directory. 0, or the error number of the first that failed
// (EROFS for one that is read-only).
int FlushDataAreas();

struct MarkerOutcome
{
    int error = 0;            // 0 when the marker is set and on the storage
    bool reserveUsed = false; // the reserve was given up to make room for it
};
// Creates or touches the marker and puts it on the storage (the file and its directory).
// When the storage is too full to create it, the reserve is given up and the marker tried
// once more. A read-only file system cannot record a restore: EROFS.
MarkerOutcome SetRestoreMarker();
// Removes the marker and puts its removal on the storage. 0, or the error number.
int RemoveRestoreMarker();

// Makes the reserve when it is missing and the storage has room; on any failure the
// partial file goes again. 0 when the reserve is there afterwards, else the error number.
int KeepMarkerReserve();

// One restore at a time: an exclusive kernel lock (flock) on the data directory, which no
// clearing removes. The kernel drops it when the process ends, however it ends, so a
// crashed restore never blocks the next one.
class RestoreLock
{
public:
    enum class State { Held, Busy, Unavailable };
    // Never waits. Unavailable (with the error number) when the directory cannot be opened.
    State Acquire(int *error);

private:
    QtTools::FileDescriptor directory;
};

} // namespace DataAreas
