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

QByteArray SystemText(int error)
{
    return QByteArray(std::strerror(error));
}

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

QString ExtractArchive::GetFailureReason() const
{
    return failureReason;
}

int ExtractArchive::GetFailureError() const
{
    return failureError;
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

// What one step of a run gives back: the job's result value (Ok to go on), the system's
// error number where one was involved, and the reason in words.
struct ExtractArchive::Step
{
    Result result = Ok;
    int error = 0;
    QByteArray reason;

    bool Failed() const { return result != Ok; }
    static Step Failure(Result result, int error, QByteArray reason) { return {result, error, std::move(reason)}; }
    // The first failure wins: a later step's is a consequence of it.
    Step Then(const Step &next) const { return Failed() ? *this : next; }
};

// What a run met on its way, for the trail.
struct ExtractArchive::Tally
{
    qint64 entries = 0;
    qint64 unwritten = 0;
    bool stoppedOnRequest = false;
    Detail::WrittenFileSystems written;
};

// The threads of an extraction and what crosses between them:
// - the job's thread runs these steps, drives the parsing reader and writes every entry;
//   it owns the body file, the body source and the written file systems;
// - for a compressed body on a machine with a second core, the decompression stage's
//   thread reads the body through the body source (which then belongs to it until the
//   stage stops) and hands plain bytes to the job's thread over the stage's ring;
// - the digest of a version-2 body is fed by whichever thread reads the body, and
//   digested by a thread of its own, or by the job's thread while it waits for the
//   stage, over the digest's ring (DigestPipeline);
// - the owner's (main) thread configures the job before start(), may set the cancel
//   flag, and reads the result and the failure's reason after finished().
// Shared while running: the cancel flag and the result (atomics), the read position
// (an atomic of the body source, read by the job's thread for the percentages), and the
// two rings, each with its own lock.
void ExtractArchive::run()
{
    SetResult(Running);
    lastPercent = std::numeric_limits<int>::min();
    failureReason.clear();
    failureError = 0;
    QElapsedTimer clock;
    clock.start();
    const Detail::CurrentDirectoryKeeper currentDirectory;
    if (!skipData)
        QDir::setCurrent(destinationDirectory);

    Tally tally;
    int fd = -1;
    qint64 bodySize = 0;
    Step step = OpenBody(&fd, &bodySize);
    QtTools::FileDescriptor file(fd);
    if (!step.Failed()) {
        const bool checkDigest = !expectedDigest.isEmpty();
        // A compressed body is decompressed on a thread of its own where there is a core
        // to spare, ahead of the reader that writes the entries; the rest is read directly.
        const bool staged = !skipData && Detail::DecompressionStage::Worthwhile()
                            && Detail::DecompressionStage::IsCompressed(file.Get(), startOffset);
        qCInfo(lcExtract, "extracting %s from offset %lld, body %lld bytes, digest %s, %s",
               qUtf8Printable(archivePath), static_cast<long long>(startOffset),
               static_cast<long long>(bodySize), checkDigest ? "checked" : "not stored",
               staged ? "decompressed on a thread of its own" : "read directly");
        // Decompressing on a thread of its own, the body is digested by this thread while
        // it waits for data (see docs/behaviour.md).
        Detail::BodySource source(file.Get(), checkDigest,
                                  staged ? Detail::BodySource::kStreamingBlockSize
                                         : Detail::BodySource::kDirectBlockSize,
                                  staged);
        body = &source;
        step = UnpackEntries(source, staged, tally);
        if (checkDigest && !tally.stoppedOnRequest)
            step = step.Then(CheckDigest(source));
        body = nullptr;
        // Whatever was written goes to the storage before the outcome is told, a failed
        // restore's included (it is wiped next, and the wipe must not meet stale blocks).
        if (!skipData)
            step = step.Then(FlushWritten(tally.written));
    }
    fileDescriptor.store(-1);
    file.Close();
    Conclude(step, tally, clock.elapsed());
}

// The body, open and positioned at its start: the file exists, is a regular file and
// holds at least one byte after the header.
ExtractArchive::Step ExtractArchive::OpenBody(int *fd, qint64 *bodySize)
{
    if (!QFile::exists(archivePath))
        return Step::Failure(FileNotFound, ENOENT, archivePath.toUtf8() + " does not exist");
    int error = 0;
    QtTools::FileDescriptor file = QtTools::OpenRegularFile(QFile::encodeName(archivePath).constData(), &error);
    if (!file.IsOpen())
        return Step::Failure(OpenFailed, error, "cannot open " + archivePath.toUtf8() + ": "
                                                    + (error == EINVAL ? QByteArray("not a regular file") : SystemText(error)));
    fileDescriptor.store(file.Get());
    ::lseek(file.Get(), static_cast<off_t>(startOffset), SEEK_SET);
    struct stat status;
    *bodySize = ::fstat(file.Get(), &status) == 0 ? qint64(status.st_size) - startOffset : 0;
    *fd = file.Release();
    // A body with no byte in it restores nothing, whatever the reader would make of it:
    // a backup cut off after its header, or a header whose length points past the end
    // (see docs/behaviour.md).
    if (*bodySize <= 0)
        return Step::Failure(ReadFailed, 0, "the backup holds no archive body");
    return {};
}

// Every entry of the body, written (or skipped), until the archive's end, a cancel
// request, a damaged body or a storage that takes no more.
ExtractArchive::Step ExtractArchive::UnpackEntries(Detail::BodySource &source, bool staged, Tally &tally)
{
    // Before the readers exist: libarchive settles a handle's character set on first use.
    const Detail::Utf8CharacterTypeForThisThread utf8Names;
    Detail::BodyReading reading = Detail::OpenBodyReading(source, staged);
    struct archive *reader = reading.reader.get();
    archive_read_extract_set_progress_callback(reader, &ExtractArchive::ReportProgress, this);
    if (!skipData)
        tally.written.Note(".");

    Step step;
    int status = ARCHIVE_OK;
    struct archive_entry *entry = nullptr;
    while ((status = archive_read_next_header(reader, &entry)) == ARCHIVE_OK) {
        if (IsCancelRequested()) {
            tally.stoppedOnRequest = true;
            break;
        }
        ++tally.entries;
        if (skipData) {
            archive_read_data_skip(reader);
            continue;
        }
        // An entry the file system refuses (a name too long, a node the display may not
        // make) is passed over and does not change the outcome; one that cannot be
        // written because the storage is full, failing or read-only ends the restore as
        // a failure, and so does a damaged archive.
        const QByteArray name = archive_entry_pathname(entry);
        if (archive_read_extract(reader, entry, kExtractFlags) < ARCHIVE_OK) {
            const int error = archive_errno(reader);
            qCWarning(lcExtract, "could not write %s: %s (%s)", name.constData(),
                      ErrorText(reader).constData(), std::strerror(error));
            ++tally.unwritten;
            if (QtTools::IsStorageFailure(error)) {
                step = Step::Failure(ReadFailed, error, "the storage took no more: could not write " + name + ": "
                                                            + SystemText(error));
                break;
            }
        }
        tally.written.Note(name.constData());
    }
    // ARCHIVE_EOF (1) at the end, and ARCHIVE_OK (0) after a cancel request, end well;
    // the library's negative codes do not, a warning included.
    if (!step.Failed() && status < ARCHIVE_OK)
        step = Step::Failure(ReadFailed, 0, "reading stopped after " + QByteArray::number(tally.entries)
                                                + " entries: " + ErrorText(reader));
    // The decompressing thread lets go of the body before anything else reads it.
    if (reading.stage)
        reading.stage->Stop();
    // A read of the backup that failed fails the restore even where the reader would have
    // taken what it had for a whole archive; the storage's own words say why.
    if (const int error = source.ReadError())
        step = Step::Failure(ReadFailed, error, QByteArray("the backup could not be read: ") + SystemText(error));
    return step;
}

// The body's digest against the one its header stores.
ExtractArchive::Step ExtractArchive::CheckDigest(Detail::BodySource &source)
{
    unsigned char digest[16];
    switch (source.Finish(digest, cancelRequested)) {
    case Detail::BodySource::DigestOutcome::Complete:
        if (!StoredDigestMatches(reinterpret_cast<const unsigned char *>(expectedDigest.constData()),
                                 static_cast<std::size_t>(expectedDigest.size()), digest))
            return Step::Failure(ReadFailed, 0, "the body's digest differs from the stored one");
        qCInfo(lcExtract, "body digest matches the stored one");
        return {};
    case Detail::BodySource::DigestOutcome::ReadError: {
        const int error = source.ReadError() != 0 ? source.ReadError() : EIO;
        return Step::Failure(ReadFailed, error, QByteArray("the body could not be read to its end for the digest: ")
                                                    + SystemText(error));
    }
    case Detail::BodySource::DigestOutcome::Cancelled:
        break;
    }
    return {};
}

ExtractArchive::Step ExtractArchive::FlushWritten(const Detail::WrittenFileSystems &written)
{
    QByteArray directory;
    int error = 0;
    if (!written.Flush(&directory, &error))
        return Step::Failure(ReadFailed, error, "flushing the file system of " + directory + " failed: "
                                                    + SystemText(error));
    qCInfo(lcExtract, "flushed %zu file system(s)", written.Count());
    return {};
}

// The run's result, its reason for the owner and the trail's last line. A file that
// cannot be opened is not signalled, unlike the other failures (see docs/behaviour.md).
void ExtractArchive::Conclude(const Step &step, const Tally &tally, qint64 elapsedMs)
{
    if (step.Failed())
        qCWarning(lcExtract, "%s", step.reason.constData());
    qCInfo(lcExtract, "%s: %lld entries, %lld not written, %lld ms",
           step.Failed() ? "failed" : tally.stoppedOnRequest ? "stopped on request" : "done",
           static_cast<long long>(tally.entries), static_cast<long long>(tally.unwritten),
           static_cast<long long>(elapsedMs));
    failureReason = QString::fromUtf8(step.reason);
    failureError = step.error;
    SetResult(step.result);
    if (step.Failed() && step.result != OpenFailed)
        emit ErrorOccurred(step.result);
}

} // namespace Archive
