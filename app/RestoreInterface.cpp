#include "RestoreInterface.h"

#include "ExtractArchive.h"
#include "MessageDialog.h"
#include "ProgressDialog.h"
#include "RestoreTexts.h"
#include "RestoreTrail.h"

#include <QCoreApplication>
#include <QFile>
#include <QLoggingCategory>
#include <QTimer>

#include <cstring>
#include <exception>

// What the restore did, one line per step on standard error, for the service technician.
Q_LOGGING_CATEGORY(lcRestore, "qvb.restore")

RestoreInterface::RestoreInterface(QObject *parent) : QObject(parent) {}

RestoreInterface::~RestoreInterface() = default;

void RestoreInterface::StartRestore(const QString &path)
{
    clock.start();
    trail = std::make_unique<RestoreTrail>();
    qCInfo(lcRestore, "restoring %s", qUtf8Printable(path));
    if (!TakeRestoreLock())
        return;
    ReadHeader(path);
    MakeJobAndDialog(path);
    if (!SetMarker() || !WipeDataAreas("first")) {
        EndWithoutUnpacking();
        return;
    }
    // Kept before the unpacking too: a restore that never ends still leaves its beginning.
    SaveTrail();
    StartUnpacking();
}

// A second start (a second tap on the launcher) while a restore runs must leave that
// restore alone: it ends at once, having touched nothing (see docs/behaviour.md).
bool RestoreInterface::TakeRestoreLock()
{
    int error = 0;
    switch (lock.Acquire(&error)) {
    case DataAreas::RestoreLock::State::Held:
        return true;
    case DataAreas::RestoreLock::State::Busy:
        qCWarning(lcRestore, "another restore is running; this start ends and touches nothing");
        QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        deleteLater();
        return false;
    case DataAreas::RestoreLock::State::Unavailable:
        // Without the data directory the marker cannot be set either, which fails the
        // restore before anything is removed.
        qCWarning(lcRestore, "cannot lock %s: %s", DataAreas::kHomeDataDirectory, std::strerror(error));
        return true;
    }
    return true;
}

void RestoreInterface::ReadHeader(const QString &path)
{
    // Opened without ever waiting: an ordinary open of a FIFO blocks until a writer
    // appears, before any dialog is on the screen. Anything but a regular file is a file
    // that cannot be opened (see docs/behaviour.md).
    int error = 0;
    QtTools::FileDescriptor opened = QtTools::OpenRegularFile(QFile::encodeName(path).constData(), &error);
    QFile file;
    if (!opened.IsOpen() || !file.open(opened.Release(), QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        qCWarning(lcRestore, "cannot open %s: %s", qUtf8Printable(path),
                  error == EINVAL ? "not a regular file" : std::strerror(error));
        // Not fatal on purpose (see docs/behaviour.md): the restore goes on, the data areas are emptied and the
        // job reports the failure, so the display never keeps a half-trusted state.
        Generic::MessageDialog::ShowInformation(RestoreTexts::RestoreTitle(), RestoreTexts::OpenFailure(path));
    }

    // Only the header's length matters here (where the body starts) and, for header
    // version 2, the body's stored digest; the read status is not looked at. A file of
    // any content must not stop the restore, and the header reader lets one malformed
    // version-2 header escape as an exception: the fields read so far are kept then.
    try {
        Backup::ReadFileHeader(header, &file);
    } catch (const std::exception &) {
    }
    const qint64 fileSize = file.isOpen() ? file.size() : 0;
    qCInfo(lcRestore, "header version %u, body at offset %u, %lld bytes", unsigned(header.HeaderVersion()),
           unsigned(header.HeaderLength()), static_cast<long long>(fileSize - qint64(header.HeaderLength())));
}

void RestoreInterface::MakeJobAndDialog(const QString &path)
{
    auto extract = std::make_unique<Archive::ExtractArchive>(
        QStringLiteral("/"), path, qint64(header.HeaderLength()), nullptr);
    // A version-2 header records the body's MD5 digest when the backup was written: the
    // job checks the body against it while unpacking, so a body damaged since (flipped
    // bytes that the gzip layer does not notice) ends as a failure, not as "restored".
    if (header.HeaderVersion() == 2) {
        const std::vector<std::uint8_t> digest = header.Checksum();
        extract->SetExpectedDigest(QByteArray(reinterpret_cast<const char *>(digest.data()),
                                              int(digest.size())));
    }
    job = std::move(extract);

    dialog = new Generic::ProgressDialog(nullptr);
    dialog->SetTitle(RestoreTexts::RestoreTitle());
    dialog->SetText(RestoreTexts::PleaseWait());

    connect(job.get(), &Archive::ArchiveProcess::PercentProgress, dialog,
            &Generic::ProgressDialog::SetProgressCount);
    connect(job.get(), &QThread::finished, this, &RestoreInterface::RestoreFinished);
}

// The marker goes onto the storage before anything in the data areas is removed; a
// storage that cannot record it cannot record a restore, and nothing is removed then.
bool RestoreInterface::SetMarker()
{
    if (const int error = DataAreas::KeepMarkerReserve())
        qCInfo(lcRestore, "no room kept for the restore marker: %s", std::strerror(error));
    const DataAreas::MarkerOutcome marker = DataAreas::SetRestoreMarker();
    if (marker.reserveUsed)
        qCWarning(lcRestore, "the storage is full: the room kept for the restore marker was used");
    if (marker.error != 0) {
        qCWarning(lcRestore, "the restore marker could not be set and flushed: %s; nothing is removed",
                  std::strerror(marker.error));
        return false;
    }
    touched = true;
    qCInfo(lcRestore, "restore marker set");
    return true;
}

bool RestoreInterface::WipeDataAreas(const char *which)
{
    const QStringList left = DataAreas::ClearDataAreas();
    if (!left.isEmpty()) {
        qCWarning(lcRestore, "the %s clearing of the data areas left %d entries, %s among them", which,
                  int(left.size()), qUtf8Printable(left.first()));
        return false;
    }
    qCInfo(lcRestore, "data areas cleared (%s clearing)", which);
    return true;
}

void RestoreInterface::ClearDataAreas()
{
    DataAreas::ClearDataAreas();
}

void RestoreInterface::StartUnpacking()
{
    qCInfo(lcRestore, "unpacking");
    dialog->show();
    job->start();
}

void RestoreInterface::EndWithoutUnpacking()
{
    // The outcome is told from the event loop, as after a job.
    QTimer::singleShot(0, this, &RestoreInterface::RestoreFinished);
}

// The job has put every entry it wrote on the storage; what the clearing removed must be
// there too before "Backup Restored" is true, also on a data area nothing was written to.
bool RestoreInterface::PutRestoreOnStorage()
{
    if (const int error = DataAreas::FlushDataAreas()) {
        qCWarning(lcRestore, "the cleared data areas could not be flushed: %s", std::strerror(error));
        return false;
    }
    return true;
}

void RestoreInterface::RestoreFinished()
{
    if (dialog) {
        dialog->accept();
        dialog->deleteLater();
        dialog = nullptr;
    }

    const bool unpacked = job && job->GetResult() == Archive::ArchiveProcess::Ok;
    const bool restored = unpacked && PutRestoreOnStorage();
    qCInfo(lcRestore, "%s after %lld ms (job result %d)", restored ? "restored" : "restore failed",
           static_cast<long long>(clock.elapsed()), job ? int(job->GetResult()) : -1);
    if (const auto *extraction = qobject_cast<const Archive::ExtractArchive *>(job.get());
        extraction && !extraction->GetFailureReason().isEmpty())
        qCWarning(lcRestore, "the unpacking failed: %s", qUtf8Printable(extraction->GetFailureReason()));
    if (!restored) {
        Generic::MessageDialog::ShowInformation(RestoreTexts::FailedTitle(), RestoreTexts::FailedText());
    } else {
        Generic::MessageDialog::ShowInformation(RestoreTexts::RestoredTitle(), RestoreTexts::RestoredText());
    }
    EndRestore(restored);
}

// The marker goes last, and only from a state the display can tell without it: the
// backup whole, or (after a failure) the data areas empty, each on the storage.
void RestoreInterface::EndRestore(bool restored)
{
    bool settled = restored;
    if (!restored && touched) {
        // A failed restore leaves the data areas empty rather than half restored.
        settled = WipeDataAreas("second");
        if (settled) {
            if (const int error = DataAreas::FlushDataAreas()) {
                qCWarning(lcRestore, "the cleared data areas could not be flushed: %s", std::strerror(error));
                settled = false;
            }
        }
    }
    if (!touched) {
        qCInfo(lcRestore, "nothing was removed");
    } else if (!settled) {
        qCWarning(lcRestore, "the restore marker stays: the data areas are neither restored nor empty on the storage");
    } else if (const int error = DataAreas::RemoveRestoreMarker()) {
        qCWarning(lcRestore, "the restore marker could not be removed: %s", std::strerror(error));
    } else {
        qCInfo(lcRestore, "restore marker removed");
    }
    if (touched)
        DataAreas::KeepMarkerReserve();
    SaveTrail();
    deleteLater();
}

// The technician's copy of the trail; the restore's outcome never depends on it.
void RestoreInterface::SaveTrail()
{
    if (const int error = trail->Save())
        qCWarning(lcRestore, "the trail could not be kept in %s: %s", RestoreTrail::kPath, std::strerror(error));
}
