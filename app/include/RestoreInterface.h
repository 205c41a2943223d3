#pragma once
// Runs one restore of a display data backup from start to end: reads the backup's header,
// sets the restore marker, empties the data areas, unpacks the archive body onto "/" on a
// worker thread behind a "Restore Memory" progress box, tells the user the outcome and
// then deletes itself. From before the first removal until every change is on the
// storage the restore marker exists, so that a restore cut short (power loss, crash) can
// be told afterwards. One restore runs at a time: a start while another runs touches
// nothing and ends at once (see docs/behaviour.md).
//
// Lives in the main thread. Created without a parent by the entry point, which calls
// StartRestore once and then runs the event loop; when the outcome message has been
// dismissed no window is left and the application ends.

#include "DataAreas.h"
#include "FileHeader.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <memory>

class RestoreTrail;
namespace Archive {
class ArchiveProcess;
}
namespace Generic {
class ProgressDialog;
}

class RestoreInterface : public QObject
{
    Q_OBJECT

public:
    explicit RestoreInterface(QObject *parent = nullptr);
    ~RestoreInterface() override;

    // Starts restoring the backup file at `path` and returns once the unpacking job runs.
    // A file that cannot be opened is reported ("Cannot open file ...") and the restore
    // goes on all the same: the data areas are emptied and the job then fails.
    void StartRestore(const QString &path);

    // Empties "/home/data/" and "/opt/OEM/data/" (hidden entries stay) and removes the
    // configuration database.
    void ClearDataAreas();

public slots:
    // Connected to the job thread's finished(): closes the progress box, shows the
    // outcome (emptying the data areas again after a failure), removes the marker and
    // schedules the driver's deletion.
    void RestoreFinished();

private:
    // The steps of a restore, in their order.
    bool TakeRestoreLock();
    void ReadHeader(const QString &path);
    void MakeJobAndDialog(const QString &path);
    bool SetMarker();
    bool WipeDataAreas(const char *which);
    void StartUnpacking();
    void EndWithoutUnpacking();
    bool PutRestoreOnStorage();
    void EndRestore(bool restored);
    void SaveTrail();

    // Declared in this order so that destruction releases the header before the job.
    std::unique_ptr<Archive::ArchiveProcess> job;
    Backup::FileHeader header;
    Generic::ProgressDialog *dialog = nullptr;
    DataAreas::RestoreLock lock; // held until the process ends
    std::unique_ptr<RestoreTrail> trail;
    bool touched = false;        // something in the data areas may have been removed or written
    QElapsedTimer clock;         // for the trail: how long the restore took
};
