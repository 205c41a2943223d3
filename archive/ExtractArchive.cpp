#include "ExtractArchive.h"

#include "DecompressionStage.h"
#include "MD5.h"

#include <QDir>
#include <QFile>

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <limits>
#include <locale.h>
#include <memory>
#include <mutex>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Archive {
namespace {

// Restore owner, permissions and modification times; nothing else (no ACLs, no flags).
constexpr int kExtractFlags = ARCHIVE_EXTRACT_OWNER | ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_TIME;
static_assert(kExtractFlags == 7, "the display's extraction flags are owner, permissions and times");

// The reader is fed in blocks of this size, read straight from the descriptor.
constexpr std::size_t kBlockSize = 4096;
// Reads that only feed the digest (skipped data, the tail after the archive's end, the
// separate pass) use larger pieces; 32 KiB keeps the copy out of the page cache in L2.
constexpr std::size_t kDigestReadSize = 32 * 1024;

struct ReaderDeleter
{
    void operator()(struct archive *reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<struct archive, ReaderDeleter>;

class Descriptor
{
public:
    explicit Descriptor(int fd)
        : fd(fd)
    {
    }
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int Get() const { return fd; }
    bool IsOpen() const { return fd >= 0; }
    void Close()
    {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }

private:
    int fd;
};

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

// libarchive converts entry names between the archive's character set and the current
// locale's. A display starts the tool from its init scripts without LANG or LC_*, so the
// process runs in the C locale, and a pax, zip or 7-Zip name such as "Feld Süd – Mais.txt"
// cannot be converted: the header read ends in a warning and the restore fails. This
// gives the extracting thread alone a UTF-8 character type for the run; the process's
// locale and the thread's other categories stay as they are.
class Utf8CharacterTypeForThisThread
{
public:
    Utf8CharacterTypeForThisThread()
    {
        static const char *const candidates[] = {"C.UTF-8", "C.utf8", "en_US.UTF-8", "en_US.utf8",
                                                 "de_DE.UTF-8", "de_DE.utf8"};
        for (const char *name : candidates) {
            locale_t base = duplocale(LC_GLOBAL_LOCALE);
            if (base == locale_t(0))
                return;
            utf8 = newlocale(LC_CTYPE_MASK, name, base);
            if (utf8 != locale_t(0))
                break;
            freelocale(base);
        }
        if (utf8 != locale_t(0))
            previous = uselocale(utf8);
    }
    ~Utf8CharacterTypeForThisThread()
    {
        if (utf8 == locale_t(0))
            return;
        uselocale(previous);
        freelocale(utf8);
    }
    Utf8CharacterTypeForThisThread(const Utf8CharacterTypeForThisThread &) = delete;
    Utf8CharacterTypeForThisThread &operator=(const Utf8CharacterTypeForThisThread &) = delete;

private:
    locale_t utf8 = locale_t(0);
    locale_t previous = locale_t(0);
};

// Digests the body bytes in the order they are read, on a second thread, so the MD5 work
// overlaps decompression and writing. The reading side fills fixed chunks of a small
// ring and hands each full chunk over; it waits only when the digest falls a whole ring
// behind, so memory stays bounded whatever the body's size. On a single core the chunks
// are digested on the spot instead.
class DigestPipeline
{
public:
    static constexpr std::size_t kChunkSize = 256 * 1024;
    static constexpr std::size_t kChunkCount = 4;

    DigestPipeline()
    {
        MD5Init(context);
        for (Chunk &chunk : chunks)
            chunk.data.reset(new unsigned char[kChunkSize]);
        filling = &chunks[0];
        if (std::thread::hardware_concurrency() > 1) {
            try {
                worker = std::thread(&DigestPipeline::Work, this);
            } catch (...) {
                // No second thread to be had: digest on the reading thread.
            }
        }
    }
    ~DigestPipeline() { StopWorker(); }
    DigestPipeline(const DigestPipeline &) = delete;
    DigestPipeline &operator=(const DigestPipeline &) = delete;

    // Room for `size` (at most kChunkSize) more bytes; valid until the next Reserve.
    unsigned char *Reserve(std::size_t size)
    {
        if (filling->used + size > kChunkSize)
            HandOver();
        return filling->data.get() + filling->used;
    }
    // The first `size` bytes at the last Reserve's pointer now hold body data.
    void Commit(std::size_t size) { filling->used += size; }

    // The digest of everything committed.
    void Finish(unsigned char digest[16])
    {
        if (filling->used > 0)
            HandOver();
        StopWorker();
        MD5Final(context, digest);
    }

private:
    struct Chunk
    {
        std::unique_ptr<unsigned char[]> data;
        std::size_t used = 0;
    };

    void HandOver()
    {
        if (!worker.joinable()) {
            MD5Update(context, filling->data.get(), filling->used);
            filling->used = 0;
            return;
        }
        std::unique_lock<std::mutex> lock(mutex);
        ++handedOver;
        changed.notify_all();
        // The next chunk is free once the digest has finished the one a ring ago.
        changed.wait(lock, [this] { return handedOver - digested < kChunkCount; });
        filling = &chunks[handedOver % kChunkCount];
        filling->used = 0;
    }

    void Work()
    {
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return digested < handedOver || stopping; });
            if (digested == handedOver)
                return;
            const Chunk &chunk = chunks[digested % kChunkCount];
            lock.unlock();
            MD5Update(context, chunk.data.get(), chunk.used);
            lock.lock();
            ++digested;
            changed.notify_all();
        }
    }

    void StopWorker()
    {
        if (!worker.joinable())
            return;
        {
            std::lock_guard<std::mutex> lock(mutex);
            stopping = true;
        }
        changed.notify_all();
        worker.join();
    }

    MD5Context context;
    Chunk chunks[kChunkCount];
    Chunk *filling = nullptr;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t handedOver = 0;
    std::size_t digested = 0;
    bool stopping = false;
    std::thread worker;
};

// The reader's view of the archive body: read, skip and seek callbacks over the
// positioned descriptor, with offsets relative to the body's start (the backup header's
// length into the file), so formats that seek (zip, 7-Zip, ISO 9660) find their data.
// With a digest requested, every byte the reader consumes passes through the digest
// exactly once, in order, for as long as the reader reads straight through; once it has
// jumped elsewhere, the body is digested by a separate pass at the end.
class BodySource
{
public:
    enum class DigestOutcome { Complete, ReadError, Cancelled };

    // `mirror` follows the descriptor's position for the progress report.
    BodySource(int fd, bool digest, std::atomic<qint64> *mirror)
        : fd(fd)
        , mirror(mirror)
    {
        const off_t at = ::lseek(fd, 0, SEEK_CUR);
        bodyStart = streamed = at < 0 ? 0 : at;
        MovedTo(bodyStart);
        if (digest)
            pipeline.reset(new DigestPipeline);
    }

    // The open's result is not looked at: a reader that failed to open reports it at the
    // first header read.
    void Open(struct archive *reader)
    {
        archive_read_set_callback_data(reader, this);
        archive_read_set_read_callback(reader, &BodySource::ReadCallback);
        archive_read_set_skip_callback(reader, &BodySource::SkipCallback);
        archive_read_set_seek_callback(reader, &BodySource::SeekCallback);
        archive_read_open1(reader);
    }

    // The digest of the whole body, after the reader is done with it.
    DigestOutcome Finish(unsigned char digest[16], const std::atomic<bool> &cancel)
    {
        if (StreamIntact()) {
            // The reader stops at the archive's end marker; what follows it (tar's block
            // padding, the compressed stream's trailer) is body all the same.
            for (;;) {
                if (cancel.load(std::memory_order_relaxed))
                    return DigestOutcome::Cancelled;
                unsigned char *target = pipeline->Reserve(kDigestReadSize);
                const ssize_t count = ReadFully(target, kDigestReadSize);
                if (count < 0)
                    return DigestOutcome::ReadError;
                if (count == 0)
                    break;
                pipeline->Commit(static_cast<std::size_t>(count));
            }
            pipeline->Finish(digest);
            return DigestOutcome::Complete;
        }

        pipeline.reset();
        MD5Context context;
        MD5Init(context);
        std::unique_ptr<unsigned char[]> buffer(new unsigned char[kDigestReadSize]);
        for (off_t at = bodyStart;;) {
            if (cancel.load(std::memory_order_relaxed))
                return DigestOutcome::Cancelled;
            ssize_t count;
            do
                count = ::pread(fd, buffer.get(), kDigestReadSize, at);
            while (count < 0 && errno == EINTR);
            if (count < 0)
                return DigestOutcome::ReadError;
            if (count == 0)
                break;
            MD5Update(context, buffer.get(), static_cast<std::size_t>(count));
            at += count;
        }
        MD5Final(context, digest);
        return DigestOutcome::Complete;
    }

    // True while the reader has consumed the body strictly in order from its start.
    bool StreamIntact() const { return pipeline && !abandoned; }

private:
    static la_ssize_t ReadCallback(struct archive *reader, void *self, const void **buffer)
    {
        return static_cast<BodySource *>(self)->Read(reader, buffer);
    }
    static la_int64_t SkipCallback(struct archive *reader, void *self, la_int64_t request)
    {
        return static_cast<BodySource *>(self)->Skip(reader, request);
    }
    static la_int64_t SeekCallback(struct archive *reader, void *self, la_int64_t offset, int whence)
    {
        return static_cast<BodySource *>(self)->Seek(reader, offset, whence);
    }

    // Reads into target, retrying interrupted calls, and keeps the streaming state.
    ssize_t ReadFully(unsigned char *target, std::size_t size)
    {
        ssize_t count;
        do
            count = ::read(fd, target, size);
        while (count < 0 && errno == EINTR);
        if (count > 0) {
            MovedTo(position + count);
            if (StreamIntact())
                streamed += count;
        }
        return count;
    }

    void MovedTo(off_t at)
    {
        position = at;
        mirror->store(at, std::memory_order_relaxed);
    }

    void CheckStreamContinues()
    {
        // A seek away and back to the same place does no harm; reading from anywhere
        // else than where the streamed bytes end means the order is lost.
        if (StreamIntact() && position != streamed)
            abandoned = true;
    }

    la_ssize_t Read(struct archive *reader, const void **buffer)
    {
        CheckStreamContinues();
        unsigned char *target = StreamIntact() ? pipeline->Reserve(kBlockSize) : block;
        const ssize_t count = ReadFully(target, kBlockSize);
        if (count < 0) {
            archive_set_error(reader, errno, "Cannot read the archive");
            return ARCHIVE_FATAL;
        }
        if (StreamIntact())
            pipeline->Commit(static_cast<std::size_t>(count));
        *buffer = target;
        return count;
    }

    la_int64_t Skip(struct archive *reader, la_int64_t request)
    {
        if (request <= 0)
            return 0;
        CheckStreamContinues();
        if (!StreamIntact()) {
            // Nothing needs to see the skipped bytes: just move the descriptor on, but
            // never past the end of the file. A body cut off inside an entry must come
            // up short here, so that the reader finds out and reports the truncation
            // instead of taking the missing end for the end of the archive.
            struct stat status;
            if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))
                return 0; // libarchive then reads and discards instead
            request = std::min<la_int64_t>(request, std::max<la_int64_t>(status.st_size - position, 0));
            if (request == 0)
                return 0;
            const off_t after = ::lseek(fd, request, SEEK_CUR);
            if (after < 0)
                return 0; // libarchive then reads and discards instead
            const la_int64_t skipped = after - position;
            MovedTo(after);
            return skipped;
        }
        // The digest must see every byte, so skipping means reading.
        la_int64_t skipped = 0;
        while (skipped < request) {
            const std::size_t size = static_cast<std::size_t>(
                std::min<la_int64_t>(request - skipped, static_cast<la_int64_t>(kDigestReadSize)));
            unsigned char *target = pipeline->Reserve(size);
            const ssize_t count = ReadFully(target, size);
            if (count < 0) {
                if (skipped > 0)
                    break;
                archive_set_error(reader, errno, "Cannot read the archive");
                return ARCHIVE_FATAL;
            }
            if (count == 0)
                break;
            pipeline->Commit(static_cast<std::size_t>(count));
            skipped += count;
        }
        return skipped;
    }

    la_int64_t Seek(struct archive *reader, la_int64_t offset, int whence)
    {
        off_t target;
        switch (whence) {
        case SEEK_SET:
            target = bodyStart + offset;
            break;
        case SEEK_CUR:
            target = position + offset;
            break;
        case SEEK_END: {
            struct stat status;
            if (::fstat(fd, &status) != 0) {
                archive_set_error(reader, errno, "Cannot seek in the archive");
                return ARCHIVE_FATAL;
            }
            target = status.st_size + offset;
            break;
        }
        default:
            archive_set_error(reader, EINVAL, "Cannot seek in the archive");
            return ARCHIVE_FATAL;
        }
        if (target < bodyStart) {
            archive_set_error(reader, EINVAL, "Seek before the start of the archive");
            return ARCHIVE_FATAL;
        }
        const off_t reached = ::lseek(fd, target, SEEK_SET);
        if (reached < 0) {
            archive_set_error(reader, errno, "Cannot seek in the archive");
            return ARCHIVE_FATAL;
        }
        MovedTo(reached);
        return reached - bodyStart;
    }

    const int fd;
    std::atomic<qint64> *const mirror;
    off_t bodyStart = 0;
    off_t position = 0;  // the descriptor's position, kept without asking the system
    off_t streamed = 0;  // where the bytes that went through the digest end
    bool abandoned = false;
    std::unique_ptr<DigestPipeline> pipeline;
    unsigned char block[kBlockSize];
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
    // The position up to which the reader has read, header included: the percentage
    // starts at the header's share of the file and ends at about 100. The library calls
    // this for every block it writes; the reading side's own account of the position
    // tells when the percentage may have moved, and only then is the descriptor asked.
    const qint64 step = progressStep.load();
    if (static_cast<int>(readPosition.load(std::memory_order_relaxed) / step) == lastPercent)
        return;
    const qint64 position = ::lseek(fileDescriptor.load(), 0, SEEK_CUR);
    const int percent = static_cast<int>(position / step);
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
    Descriptor file(::open(archivePath.toUtf8().constData(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen()) {
        SetResult(OpenFailed);
        return;
    }
    fileDescriptor.store(file.Get());
    ::lseek(file.Get(), static_cast<off_t>(startOffset), SEEK_SET);

    // Before the reader exists: libarchive settles a handle's character set on first use.
    const Utf8CharacterTypeForThisThread utf8Names;
    const bool checkDigest = !expectedDigest.isEmpty();
    BodySource body(file.Get(), checkDigest, &readPosition);

    int status = ARCHIVE_OK;
    bool stoppedOnRequest = false;
    {
        std::unique_ptr<Detail::DecompressionStage> stage;
        if (Detail::DecompressionStage::Worthwhile() && Detail::DecompressionStage::IsCompressed(file.Get(), startOffset)) {
            stage.reset(new Detail::DecompressionStage([&body](struct archive *r) { body.Open(r); }));
            if (!stage->Started())
                stage.reset();
        }
        Reader reader(archive_read_new());
        archive_read_support_format_all(reader.get());
        if (stage) {
            stage->OpenReader(reader.get());
        } else {
            archive_read_support_filter_all(reader.get());
            body.Open(reader.get());
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
        if (stage)
            stage->Stop();
    }

    // ARCHIVE_EOF (1) and ARCHIVE_OK (0, after a cancel request) end well; the library's
    // negative codes do not, a warning included.
    bool failed = static_cast<unsigned int>(status) > 1;
    if (!failed && checkDigest && !stoppedOnRequest) {
        unsigned char digest[16];
        switch (body.Finish(digest, cancelRequested)) {
        case BodySource::DigestOutcome::Complete:
            // Compared over the stored length only: the header keeps the digest as a
            // fixed text, so it can come back shorter than 16 bytes.
            failed = QByteArray(reinterpret_cast<const char *>(digest), 16).left(expectedDigest.size())
                     != expectedDigest;
            break;
        case BodySource::DigestOutcome::ReadError:
            failed = true;
            break;
        case BodySource::DigestOutcome::Cancelled:
            break;
        }
    }
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
