#include "RestoreInterface.h"

#include "DataAreas.h"
#include "ExtractArchive.h"
#include "FileHelpers.h"
#include "MessageDialog.h"
#include "ProgressDialog.h"
#include "RestoreTexts.h"

#include <QFile>
#include <QLoggingCategory>

#include <exception>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// What the restore did, one line per step on standard error, for the service technician.
Q_LOGGING_CATEGORY(lcRestore, "qvb.restore")

namespace {

// Opens the backup for its header without ever waiting: an ordinary open of a FIFO
// blocks until a writer appears, before any dialog is on the screen. Anything but a
// regular file is a file that cannot be opened (see docs/behaviour.md).
bool OpenRegularFile(QFile &file, const QString &path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return false;
    struct stat status;
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(fd);
        return false;
    }
    return file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
}

} // namespace

RestoreInterface::RestoreInterface(QObject *parent) : QObject(parent) {}

RestoreInterface::~RestoreInterface() = default;

void RestoreInterface::StartRestore(const QString &path)
{
    clock.start();
    qCInfo(lcRestore, "restoring %s", qUtf8Printable(path));
    QFile file;
    if (!OpenRegularFile(file, path)) {
        qCWarning(lcRestore, "cannot open %s as a regular file", qUtf8Printable(path));
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
    file.close();
    qCInfo(lcRestore, "header version %u, body at offset %u, %lld bytes", unsigned(header.HeaderVersion()),
           unsigned(header.HeaderLength()), static_cast<long long>(fileSize - qint64(header.HeaderLength())));

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

    ClearDataAreas();
    // After the clearing, which would remove it again; on the storage before the job
    // starts, so that a power cut at any moment of the unpacking leaves it behind.
    if (!DataAreas::SetRestoreMarker())
        qCWarning(lcRestore, "the restore marker could not be set and flushed");
    qCInfo(lcRestore, "data areas wiped, restore marker set, unpacking");

    dialog->show();
    job->start();
}

void RestoreInterface::ClearDataAreas()
{
    DataAreas::ClearDataAreas();
}

void RestoreInterface::RestoreFinished()
{
    if (dialog) {
        dialog->accept();
        dialog->deleteLater();
        dialog = nullptr;
    }

    const bool restored = job && job->GetResult() == Archive::ArchiveProcess::Ok;
    qCInfo(lcRestore, "%s after %lld ms (job result %d)", restored ? "restored" : "restore failed",
           static_cast<long long>(clock.elapsed()), job ? int(job->GetResult()) : -1);
    if (!restored) {
        Generic::MessageDialog::ShowInformation(RestoreTexts::FailedTitle(), RestoreTexts::FailedText());
        // A failed restore leaves the data areas empty rather than half restored.
        ClearDataAreas();
    } else {
        Generic::MessageDialog::ShowInformation(RestoreTexts::RestoredTitle(), RestoreTexts::RestoredText());
    }

    DataAreas::RemoveRestoreMarker();
    deleteLater();
}
