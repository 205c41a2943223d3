#include "ExtractArchive.h"

#include "BodySource.h"
#include "DecompressionStage.h"
#include "FileDescriptor.h"
#include "ThreadLocale.h"

#include <QDir>
#include <QFile>

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <limits>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

namespace Archive {
namespace {

// Restore owner, permissions and modification times; nothing else (no ACLs, no flags).
constexpr int kExtractFlags = ARCHIVE_EXTRACT_OWNER | ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_TIME;
static_assert(kExtractFlags == 7, "the display's extraction flags are owner, permissions and times");

struct ReaderDeleter
{
    void operator()(struct archive *reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<struct archive, ReaderDeleter>;

// The run changes the process's current directory; every way out of it puts it back.
class CurrentDirectoryKeeper
{
public:
    CurrentDirectoryKeeper()
        : saved(QDir::currentPath())
    {
    }
    ~CurrentDirectoryKeeper() { QDir::setCurrent(saved); }
    CurrentDirectoryKeeper(const CurrentDirectoryKeeper &) = delete;
    CurrentDirectoryKeeper &operator=(const CurrentDirectoryKeeper &) = delete;

private:
    const QString saved;
};

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
    const CurrentDirectoryKeeper currentDirectory;
    if (!skipData)
        QDir::setCurrent(destinationDirectory);

    if (!QFile::exists(archivePath)) {
        SetResult(FileNotFound);
        emit ErrorOccurred(FileNotFound);
        return;
    }
    Detail::FileDescriptor file(::open(archivePath.toUtf8().constData(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen()) {
        SetResult(OpenFailed);
        return;
    }
    fileDescriptor.store(file.Get());
    ::lseek(file.Get(), static_cast<off_t>(startOffset), SEEK_SET);

    // Before the readers exist: libarchive settles a handle's character set on first use.
    const Detail::Utf8CharacterTypeForThisThread utf8Names;
    const bool checkDigest = !expectedDigest.isEmpty();
    // A compressed body is decompressed on a thread of its own where there is a core to
    // spare, ahead of the reader that writes the entries; the rest is read directly.
    const bool staged = !skipData && Detail::DecompressionStage::Worthwhile()
                        && Detail::DecompressionStage::IsCompressed(file.Get(), startOffset);
    Detail::BodySource source(file.Get(), checkDigest,
                              staged ? Detail::BodySource::kStreamingBlockSize
                                     : Detail::BodySource::kDirectBlockSize);
    body = &source;

    int status = ARCHIVE_OK;
    bool stoppedOnRequest = false;
    {
        std::unique_ptr<Detail::DecompressionStage> stage;
        if (staged) {
            stage.reset(new Detail::DecompressionStage(
                [&source](struct archive *reader) { source.Open(reader); }));
            if (!stage->Started())
                stage.reset();
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
            // An entry that cannot be written (disk full, a name the file system refuses)
            // neither stops the restore nor changes its outcome; only a damaged archive does.
            if (!skipData)
                archive_read_extract(reader.get(), entry, kExtractFlags);
            else
                archive_read_data_skip(reader.get());
        }
        // The decompressing thread lets go of the body before anything else reads it.
        if (stage)
            stage->Stop();
    }

    // ARCHIVE_EOF (1) and ARCHIVE_OK (0, after a cancel request) end well; the library's
    // negative codes do not, a warning included.
    bool failed = static_cast<unsigned int>(status) > 1;
    if (!failed && checkDigest && !stoppedOnRequest) {
        unsigned char digest[16];
        switch (source.Finish(digest, cancelRequested)) {
        case Detail::BodySource::DigestOutcome::Complete:
            // Compared over the stored length only: the header keeps the digest as a
            // fixed text, so it can come back shorter than 16 bytes.
            failed = QByteArray(reinterpret_cast<const char *>(digest), 16).left(expectedDigest.size())
                     != expectedDigest;
            break;
        case Detail::BodySource::DigestOutcome::ReadError:
            failed = true;
            break;
        case Detail::BodySource::DigestOutcome::Cancelled:
            break;
        }
    }
    body = nullptr;
    fileDescriptor.store(-1);
    file.Close();

    if (failed) {
        SetResult(ReadFailed);
        emit ErrorOccurred(ReadFailed);
    } else {
        SetResult(Ok);
    }
}

} // namespace Archive
