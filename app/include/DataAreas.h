#pragma once
// The display's data areas, which a restore empties before unpacking (and again after a
// failed restore), and the marker that tells a restore is in progress.

#include <QStringList>

namespace DataAreas {

// Directories whose contents a restore replaces; the directories themselves remain.
constexpr const char kHomeDataDirectory[] = "/home/data/";
constexpr const char kOemDataDirectory[] = "/opt/OEM/data/";
// The configuration database, removed with the data areas whether or not it exists.
constexpr const char kConfigurationDatabase[] = "/opt/OEM/Terramux/ESC/bin/database/config/dbmain.sqlite";
// Exists from just before the unpacking starts until the outcome has been shown; left
// behind, it tells the display's other software that a restore was interrupted.
constexpr const char kRestoreMarker[] = "/home/data/qvb-restore-in-progress";

// What ClearDataAreas removes, in removal order: the entries of kHomeDataDirectory, then
// those of kOemDataDirectory (each unsorted, hidden and other system entries not listed),
// then kConfigurationDatabase. Absolute paths.
QStringList DataAreaEntries();

// Removes every path of DataAreaEntries() with "rm -rf", one synchronous process per
// path, each path handed over as a single argument. Exit statuses are ignored.
void ClearDataAreas();

// Creates or touches the restore marker and puts it on the storage (the file and its
// directory), so a power cut during the restore cannot lose it. False when the marker
// could not be made or flushed; the restore goes on all the same.
bool SetRestoreMarker();
// Removes the restore marker and puts its removal on the storage.
void RemoveRestoreMarker();

} // namespace DataAreas
