#include "BodySource.h"

#include "DigestPipeline.h"
#include "SystemFiles.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace Archive {
namespace Detail {
namespace {

// Reads that only feed the digest (skipped data, the tail after the archive's end, the
// separate pass) use larger pieces; 32 KiB keeps the copy out of the page cache in L2.
constexpr std::size_t kDigestReadSize = 32 * 1024;

} // namespace

BodySource::BodySource(int fd, bool digest, std::size_t blockSize, bool digestHelped)
    : fd(fd)
    , blockSize(std::max<std::size_t>(blockSize, 1))
    , block(new unsigned char[std::max<std::size_t>(blockSize, 1)])
{
    const off_t here = ::lseek(fd, 0, SEEK_CUR);
    bodyStart = streamed = here < 0 ? 0 : here;
    struct stat status;
    sizeAtStart = ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : 0;
    MovedTo(bodyStart);
    if (digest)
        pipeline.reset(new DigestPipeline(!digestHelped));
}

BodySource::~BodySource() = default;

void BodySource::Open(struct archive *reader)
{
    archive_read_set_callback_data(reader, this);
    archive_read_set_read_callback(reader, &BodySource::ReadCallback);
    archive_read_set_skip_callback(reader, &BodySource::SkipCallback);
    archive_read_set_seek_callback(reader, &BodySource::SeekCallback);
    archive_read_open1(reader);
}

bool BodySource::HelpDigest()
{
    return pipeline && pipeline->HelpOnce();
}

bool BodySource::StreamIntact() const
{
    return pipeline && !abandoned;
}

BodySource::DigestOutcome BodySource::Finish(unsigned char digest[16], const std::atomic<bool> &cancel)
{
    // A reader that sought elsewhere and read no more has broken the order all the same:
    // going on from where the seek left the descriptor would leave bytes out.
    CheckStreamContinues();
    if (!StreamIntact())
        return DigestSeparately(digest, cancel);
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

BodySource::DigestOutcome BodySource::DigestSeparately(unsigned char digest[16],
                                                       const std::atomic<bool> &cancel)
{
    pipeline.reset();
    MD5Context context;
    MD5Init(context);
    off_t from = bodyStart;
    const MD5Outcome outcome = MD5UpdateToEnd(
        context, {[&](unsigned char *buffer, std::size_t size) -> std::int64_t {
                      const ssize_t count = QtTools::RetryInterrupted([&] { return ::pread(fd, buffer, size, from); });
                      from += std::max<ssize_t>(count, 0);
                      return count;
                  },
                  kDigestReadSize, kDigestReadSize,
                  [&](std::uint64_t) { return !cancel.load(std::memory_order_relaxed); }});
    MD5Final(context, digest);
    switch (outcome) {
    case MD5Outcome::Complete:
        return DigestOutcome::Complete;
    case MD5Outcome::ReadFailed:
        return DigestOutcome::ReadError;
    case MD5Outcome::Stopped:
        break;
    }
    return DigestOutcome::Cancelled;
}

la_ssize_t BodySource::ReadCallback(struct archive *reader, void *self, const void **buffer)
{
    return static_cast<BodySource *>(self)->Read(reader, buffer);
}

la_int64_t BodySource::SkipCallback(struct archive *reader, void *self, la_int64_t request)
{
    return static_cast<BodySource *>(self)->Skip(reader, request);
}

la_int64_t BodySource::SeekCallback(struct archive *reader, void *self, la_int64_t offset, int whence)
{
    return static_cast<BodySource *>(self)->Seek(reader, offset, whence);
}

ssize_t BodySource::ReadFully(unsigned char *target, std::size_t size)
{
    // A medium that failed once is not read again: whatever it delivers afterwards (a
    // stick put back, a file grown again) is not the body that was being read.
    if (readError != 0) {
        errno = readError;
        return -1;
    }
    ssize_t count = QtTools::RetryInterrupted([&] { return ::read(fd, target, size); });
    // A file that ends before the size it had when the run began has not ended: the
    // storage holding it has stopped delivering (a stick pulled out, a failing medium).
    // Taken for the end, a plain tar would pass for complete at the next entry boundary.
    if (count == 0 && size > 0 && at < sizeAtStart) {
        errno = EIO;
        count = -1;
    }
    if (count < 0 && readError == 0)
        readError = errno;
    if (count > 0) {
        MovedTo(at + count);
        if (StreamIntact())
            streamed += count;
    }
    return count;
}

void BodySource::MovedTo(off_t where)
{
    at = where;
    position.store(where, std::memory_order_relaxed);
}

void BodySource::CheckStreamContinues()
{
    // A seek away and back to the same place does no harm; reading from anywhere else
    // than where the streamed bytes end means the order is lost.
    if (StreamIntact() && at != streamed)
        abandoned = true;
}

la_ssize_t BodySource::Read(struct archive *reader, const void **buffer)
{
    CheckStreamContinues();
    const std::size_t size = StreamIntact() ? std::min(blockSize, DigestPipeline::kChunkSize) : blockSize;
    unsigned char *target = StreamIntact() ? pipeline->Reserve(size) : block.get();
    const ssize_t count = ReadFully(target, size);
    if (count < 0) {
        archive_set_error(reader, errno, "Cannot read the archive: %s", std::strerror(errno));
        return ARCHIVE_FATAL;
    }
    if (StreamIntact())
        pipeline->Commit(static_cast<std::size_t>(count));
    *buffer = target;
    return count;
}

la_int64_t BodySource::Skip(struct archive *, la_int64_t request)
{
    if (request <= 0)
        return 0;
    CheckStreamContinues();
    if (!StreamIntact()) {
        // Nothing needs to see the skipped bytes: just move the descriptor on, but never
        // past the end of the file. A body cut off inside an entry must come up short
        // here, so that the reader finds out and reports the truncation instead of
        // taking the missing end for the end of the archive.
        struct stat status;
        if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))
            return 0; // libarchive then reads and discards instead
        request = std::min<la_int64_t>(request, std::max<la_int64_t>(status.st_size - at, 0));
        if (request == 0)
            return 0;
        const off_t after = ::lseek(fd, static_cast<off_t>(request), SEEK_CUR);
        if (after < 0)
            return 0; // libarchive then reads and discards instead
        const la_int64_t skipped = after - at;
        MovedTo(after);
        return skipped;
    }
    // The digest must see every byte, so skipping means reading. A skip callback gives
    // back the bytes skipped, never an error code: libarchive adds what it returns to its
    // count and asks again for the rest, so a negative answer would have it ask for ever.
    // A read that fails here ends the skip short; the read libarchive then makes on its
    // own fails at once with the same error (ReadFully), and the restore ends.
    la_int64_t skipped = 0;
    while (skipped < request) {
        const std::size_t size = static_cast<std::size_t>(
            std::min<la_int64_t>(request - skipped, static_cast<la_int64_t>(kDigestReadSize)));
        unsigned char *target = pipeline->Reserve(size);
        const ssize_t count = ReadFully(target, size);
        if (count <= 0)
            break;
        pipeline->Commit(static_cast<std::size_t>(count));
        skipped += count;
    }
    return skipped;
}

la_int64_t BodySource::Seek(struct archive *reader, la_int64_t offset, int whence)
{
    off_t target;
    switch (whence) {
    case SEEK_SET:
        target = bodyStart + static_cast<off_t>(offset);
        break;
    case SEEK_CUR:
        target = at + static_cast<off_t>(offset);
        break;
    case SEEK_END: {
        struct stat status;
        if (::fstat(fd, &status) != 0) {
            archive_set_error(reader, errno, "Cannot seek in the archive");
            return ARCHIVE_FATAL;
        }
        target = status.st_size + static_cast<off_t>(offset);
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

} // namespace Detail
} // namespace Archive
