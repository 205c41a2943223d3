#include "ExtractArchive.h"

#include "BodySource.h"
#include "DecompressionStage.h"
#include "Handles.h"
#include "MD5.h"
#include "SystemFiles.h"
#include "ThreadLocale.h"
#include "WrittenFileSystems.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// The service technician's trail of an extraction, on standard error.
Q_LOGGING_CATEGORY(lcExtract, "qvb.archive")

namespace Archive {
namespace {

// Restore owner, permissions and modification times; nothing else (no ACLs, no flags).
constexpr int kExtractFlags = ARCHIVE_EXTRACT_OWNER | ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_TIME;
static_assert(kExtractFlags == 7, "the display's extraction flags are owner, permissions and times");

using Detail::Reader;

QByteArray ErrorText(struct archive *reader)
{
    const char *text = archive_error_string(reader);
    return text ? QByteArray(text) : QByteArray("no error text");
}

} // namespace

ExtractArchive::ExtractArchive(QObject *parent)
    : ArchiveProcess(parent)
{
}

ExtractArchive::ExtractArchive(const QString &destinationDirectory, const QString &archivePath,
                               qint64 startOffset, QObject *parent)
    : ArchiveProcess(parent)
    , startOffset(startOffset)
{
    this->destinationDirectory = destinationDirectory;
    SetArchivePath(archivePath);
}

ExtractArchive::~ExtractArchive() = default;

void ExtractArchive::SetArchivePath(const QString &path)
{
    archivePath = path;
    progressStep.store(std::max<qint64>(QFile(path).size() / 100, 1));
}

void ExtractArchive::SetStartOffset(qint64 offset)
{
    if (IsConfigurable())
        startOffset = offset;
}

void ExtractArchive::SetSkipData(bool skip)
{
    if (IsConfigurable())
        skipData = skip;
}

void ExtractArchive::SetExpectedDigest(const QByteArray &digest)
{
    if (IsConfigurable())
        expectedDigest = digest;
}

qint64 ExtractArchive::GetStartOffset() const
{
    return startOffset;
}

bool ExtractArchive::GetSkipData() const
{
    return skipData;
}

QByteArray ExtractArchive::GetExpectedDigest() const
{
    return expectedDigest;
}

qint64 ExtractArchive::GetProgressStep() const
{
    return progressStep.load();
}

void ExtractArchive::ReportProgress(void *job)
{
    if (job)
        static_cast<ExtractArchive *>(job)->EmitProgress();
}

void ExtractArchive::EmitProgress()
{
    // The position up to which the body has been read, header included: the percentage
    // starts at the header's share of the file and ends at about 100. The library calls
    // this for every block it writes; most calls find the percentage unchanged.
    if (!body)
        return;
    const int percent = static_cast<int>(body->Position() / progressStep.load());
    if (percent == lastPercent)
        return;
    lastPercent = percent;
    emit PercentProgress(percent);
}

void ExtractArchive::run()
{
    SetResult(Running);
    lastPercent = std::numeric_limits<int>::min();
    QElapsedTimer clock;
    clock.start();
    const Detail::CurrentDirectoryKeeper currentDirectory;
    if (!skipData)
        QDir::setCurrent(destinationDirectory);

    if (!QFile::exists(archivePath)) {
        qCWarning(lcExtract, "%s does not exist", qUtf8Printable(archivePath));
        SetResult(FileNotFound);
        emit ErrorOccurred(FileNotFound);
        return;
    }
    int openError = 0;
    QtTools::FileDescriptor file = QtTools::OpenRegularFile(QFile::encodeName(archivePath).constData(), &openError);
    if (!file.IsOpen()) {
        qCWarning(lcExtract, "cannot open %s: %s", qUtf8Printable(archivePath),
                  openError == EINVAL ? "not a regular file" : std::strerror(openError));
        SetResult(OpenFailed);
        return;
    }
    fileDescriptor.store(file.Get());
    ::lseek(file.Get(), static_cast<off_t>(startOffset), SEEK_SET);

    // A body with no byte in it restores nothing, whatever the reader would make of it:
    // a backup cut off after its header, or a header whose length points past the end
    // (see docs/behaviour.md).
    struct stat fileStatus;
    const qint64 bodySize = ::fstat(file.Get(), &fileStatus) == 0 ? qint64(fileStatus.st_size) - startOffset : 0;
    const bool checkDigest = !expectedDigest.isEmpty();
    // A compressed body is decompressed on a thread of its own where there is a core to
    // spare, ahead of the reader that writes the entries; the rest is read directly.
    using Detail::DecompressionStage;
    const bool staged = bodySize > 0 && !skipData && DecompressionStage::Worthwhile()
                        && DecompressionStage::IsCompressed(file.Get(), startOffset);
    qCInfo(lcExtract, "extracting %s from offset %lld, body %lld bytes, digest %s, %s",
           qUtf8Printable(archivePath), static_cast<long long>(startOffset),
           static_cast<long long>(bodySize), checkDigest ? "checked" : "not stored",
           staged ? "decompressed on a thread of its own" : "read directly");
    if (bodySize <= 0) {
        qCWarning(lcExtract, "the backup holds no archive body");
        fileDescriptor.store(-1);
        SetResult(ReadFailed);
        emit ErrorOccurred(ReadFailed);
        return;
    }

    // Before the readers exist: libarchive settles a handle's character set on first use.
    const Detail::Utf8CharacterTypeForThisThread utf8Names;
    // Decompressing on a thread of its own, the body is digested by this thread while it
    // waits for data (see docs/behaviour.md).
    Detail::BodySource source(file.Get(), checkDigest,
                              staged ? Detail::BodySource::kStreamingBlockSize
                                     : Detail::BodySource::kDirectBlockSize,
                              staged);
    body = &source;

    int status = ARCHIVE_OK;
    bool stoppedOnRequest = false;
    bool storageFailed = false;
    qint64 entries = 0;
    qint64 unwritten = 0;
    Detail::WrittenFileSystems written;
    if (!skipData)
        written.Note(".");
    {
        std::unique_ptr<Detail::DecompressionStage> stage;
        if (staged) {
            stage.reset(new DecompressionStage([&source](struct archive *reader) { source.Open(reader); }));
            if (!stage->Started())
                stage.reset();
            else if (checkDigest)
                stage->SetIdleWork([&source] { return source.HelpDigest(); });
        }
        Reader reader(archive_read_new());
        archive_read_support_format_all(reader.get());
        if (stage) {
            stage->OpenReader(reader.get());
        } else {
            archive_read_support_filter_all(reader.get());
            source.Open(reader.get());
        }
        archive_read_extract_set_progress_callback(reader.get(), &ExtractArchive::ReportProgress, this);

        for (;;) {
            struct archive_entry *entry = nullptr;
            status = archive_read_next_header(reader.get(), &entry);
            if (status != ARCHIVE_OK)
                break;
            if (IsCancelRequested()) {
                stoppedOnRequest = true;
                break;
            }
            ++entries;
            if (skipData) {
                archive_read_data_skip(reader.get());
                continue;
            }
            // An entry the file system refuses (a name too long, a node the display may
            // not make) is passed over and does not change the outcome; one that cannot
            // be written because the storage is full, failing or read-only ends the
            // restore as a failure, and so does a damaged archive.
            const QByteArray name = archive_entry_pathname(entry);
            if (archive_read_extract(reader.get(), entry, kExtractFlags) < ARCHIVE_OK) {
                const int error = archive_errno(reader.get());
                qCWarning(lcExtract, "could not write %s: %s (%s)", name.constData(),
                          ErrorText(reader.get()).constData(), std::strerror(error));
                ++unwritten;
                if (QtTools::IsStorageFailure(error)) {
                    storageFailed = true;
                    break;
                }
            }
            written.Note(name.constData());
        }
        if (status < ARCHIVE_OK)
            qCWarning(lcExtract, "reading stopped after %lld entries: %s", static_cast<long long>(entries),
                      ErrorText(reader.get()).constData());
        // The decompressing thread lets go of the body before anything else reads it.
        if (stage)
            stage->Stop();
    }
    // A read of the backup that failed fails the restore even where the reader would
    // have taken what it had for a whole archive.
    const bool readFailed = source.ReadError() != 0;
    if (readFailed)
        qCWarning(lcExtract, "the backup could not be read: %s", std::strerror(source.ReadError()));

    // ARCHIVE_EOF (1) and ARCHIVE_OK (0, after a cancel request) end well; the library's
    // negative codes do not, a warning included.
    bool failed = storageFailed || readFailed || static_cast<unsigned int>(status) > 1;
    if (!failed && checkDigest && !stoppedOnRequest) {
        unsigned char digest[16];
        switch (source.Finish(digest, cancelRequested)) {
        case Detail::BodySource::DigestOutcome::Complete:
            failed = !StoredDigestMatches(reinterpret_cast<const unsigned char *>(expectedDigest.constData()),
                                          static_cast<std::size_t>(expectedDigest.size()), digest);
            qCInfo(lcExtract, "body digest %s", failed ? "differs from the stored one" : "matches the stored one");
            break;
        case Detail::BodySource::DigestOutcome::ReadError:
            qCWarning(lcExtract, "body could not be read to its end for the digest: %s", std::strerror(errno));
            failed = true;
            break;
        case Detail::BodySource::DigestOutcome::Cancelled:
            break;
        }
    }
    body = nullptr;
    fileDescriptor.store(-1);
    file.Close();

    // Whatever was written goes to the storage before the outcome is told, a failed
    // restore's included (it is wiped next, and the wipe must not meet stale blocks).
    if (!skipData) {
        QByteArray directory;
        int error = 0;
        if (written.Flush(&directory, &error)) {
            qCInfo(lcExtract, "flushed %zu file system(s)", written.Count());
        } else {
            qCWarning(lcExtract, "flushing the file system of %s failed: %s", directory.constData(),
                      std::strerror(error));
            failed = true;
        }
    }

    qCInfo(lcExtract, "%s: %lld entries, %lld not written, %lld ms", failed ? "failed" : stoppedOnRequest ? "stopped on request" : "done",
           static_cast<long long>(entries), static_cast<long long>(unwritten),
           static_cast<long long>(clock.elapsed()));
    if (failed) {
        SetResult(ReadFailed);
        emit ErrorOccurred(ReadFailed);
    } else {
        SetResult(Ok);
    }
}

} // namespace Archive
