#include "DecompressionStage.h"

#include "Handles.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

#include <zlib.h>

namespace Archive {
namespace Detail {
namespace {

// The error number libarchive's filters give a damaged or cut-off stream (its private
// ARCHIVE_ERRNO_MISC): not a storage failure, and no errno of the system.
constexpr int kDamagedStream = -1;

// The compressions libarchive decodes in its own code. The probe registers these alone:
// a filter that falls back to an external program (lzop, lrzip, grzip) would start one
// just to look at the first bytes, and such bodies are rare enough to read directly.
void SupportBuiltInFilters(struct archive *reader)
{
    archive_read_support_filter_gzip(reader);
    archive_read_support_filter_bzip2(reader);
    archive_read_support_filter_xz(reader);
    archive_read_support_filter_lzma(reader);
    archive_read_support_filter_lzip(reader);
    archive_read_support_filter_zstd(reader);
    archive_read_support_filter_lz4(reader);
    archive_read_support_filter_compress(reader);
}

} // namespace

DecompressionStage::Compression DecompressionStage::Examine(int fd, qint64 bodyStart)
{
    // The filter reads ahead to its first block of output as it opens, so the probe needs
    // the body itself, not just its first bytes; it costs a few hundred KiB read twice.
    struct Probe
    {
        int fd;
        off_t at;
        unsigned char buffer[64 * 1024];

        static la_ssize_t Read(struct archive *, void *self, const void **buffer)
        {
            auto *probe = static_cast<Probe *>(self);
            const ssize_t count = RetryInterrupted(
                [probe] { return ::pread(probe->fd, probe->buffer, sizeof probe->buffer, probe->at); });
            if (count < 0)
                return ARCHIVE_FATAL;
            probe->at += count;
            *buffer = probe->buffer;
            return count;
        }
    };
    const std::unique_ptr<Probe> probe(new Probe {fd, static_cast<off_t>(bodyStart), {}});
    Reader reader(archive_read_new());
    if (!reader)
        return Compression::None;
    SupportBuiltInFilters(reader.get());
    archive_read_support_format_raw(reader.get());
    if (archive_read_open(reader.get(), probe.get(), nullptr, &Probe::Read, nullptr) != ARCHIVE_OK)
        return Compression::None;
    // "none" is always the last filter of an open reader.
    const int filters = archive_filter_count(reader.get());
    if (filters <= 1)
        return Compression::None;
    return filters == 2 && archive_filter_code(reader.get(), 0) == ARCHIVE_FILTER_GZIP ? Compression::Gzip
                                                                                      : Compression::Other;
}

bool DecompressionStage::Worthwhile()
{
    return std::thread::hardware_concurrency() > 1;
}

DecompressionStage::DecompressionStage(BodyOpener openBody, Decoder decoder, std::size_t blockSize,
                                       std::size_t blockCount)
    : blockSize(blockSize)
    , blocks(std::max<std::size_t>(blockCount, 2))
{
    for (Block &block : blocks)
        block.data.reset(new unsigned char[blockSize]);
    try {
        worker = std::thread(&DecompressionStage::Run, this, std::move(openBody), decoder);
    } catch (...) {
        // No thread to be had: Started() says so and the caller reads directly.
    }
}

DecompressionStage::~DecompressionStage()
{
    Stop();
}

bool DecompressionStage::Started() const
{
    return worker.joinable();
}

void DecompressionStage::Stop()
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        abandoned = true;
    }
    changed.notify_all();
    if (worker.joinable())
        worker.join();
}

QByteArray DecompressionStage::ErrorText() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return errorText;
}

void DecompressionStage::Run(const BodyOpener &openBody, Decoder decoder)
{
    Reader reader(archive_read_new());
    if (!reader) {
        Finish(ENOMEM, "Cannot allocate the decompressing reader");
        return;
    }
    // For zlib the reader only delivers the compressed bytes as they were read.
    if (decoder == Decoder::Filters)
        archive_read_support_filter_all(reader.get());
    archive_read_support_format_raw(reader.get());
    openBody(reader.get());

    struct archive_entry *entry = nullptr;
    if (archive_read_next_header(reader.get(), &entry) != ARCHIVE_OK) {
        Finish(archive_errno(reader.get()), archive_error_string(reader.get()));
        return;
    }
    if (decoder == Decoder::Filters)
        RunFilters(reader.get());
    else
        RunGzip(reader.get());
}

DecompressionStage::Piece DecompressionStage::NextPiece(struct archive *reader, const void **data,
                                                        std::size_t *size)
{
    la_int64_t offset = 0;
    const int status = archive_read_data_block(reader, data, size, &offset);
    if (status == ARCHIVE_EOF)
        return Piece::End;
    if (status != ARCHIVE_OK) {
        Finish(archive_errno(reader), archive_error_string(reader));
        return Piece::Failed;
    }
    return Piece::Got;
}

void DecompressionStage::RunFilters(struct archive *reader)
{
    Block *filling = NextFree();
    while (filling) {
        const void *data = nullptr;
        std::size_t size = 0;
        const Piece piece = NextPiece(reader, &data, &size);
        if (piece == Piece::End)
            break;
        if (piece == Piece::Failed)
            return;
        // Copy into fixed blocks: the library reuses its buffer at the next call, and
        // this thread is to be decompressing the next piece while the reader parses.
        const auto *from = static_cast<const unsigned char *>(data);
        while (size > 0 && filling) {
            const std::size_t part = std::min(size, blockSize - filling->used);
            std::memcpy(filling->data.get() + filling->used, from, part);
            filling->used += part;
            from += part;
            size -= part;
            if (filling->used == blockSize) {
                Publish();
                filling = NextFree();
            }
        }
    }
    if (filling && filling->used > 0)
        Publish();
    Finish(0, QByteArray());
}

void DecompressionStage::RunGzip(struct archive *reader)
{
    struct Inflater
    {
        z_stream stream {};
        bool ready = false;
        ~Inflater()
        {
            if (ready)
                inflateEnd(&stream);
        }
    } inflater;
    z_stream &stream = inflater.stream;
    // 16 added to the window bits: a gzip header and trailer around each member.
    inflater.ready = inflateInit2(&stream, MAX_WBITS + 16) == Z_OK;
    if (!inflater.ready) {
        Finish(ENOMEM, "Cannot allocate the gzip decompressor");
        return;
    }
    // The CRC-32 over the inflated bytes would be a fifth of the inflating's time.
    inflateValidate(&stream, 0);

    bool inMember = true; // a member has begun and not ended yet
    Block *filling = NextFree();
    while (filling) {
        if (stream.avail_in == 0) {
            const void *data = nullptr;
            std::size_t size = 0;
            const Piece piece = NextPiece(reader, &data, &size);
            if (piece == Piece::End)
                break;
            if (piece == Piece::Failed)
                return;
            // The body source reads at most a few hundred KiB at a time: no overflow.
            stream.next_in = static_cast<Bytef *>(const_cast<void *>(data));
            stream.avail_in = static_cast<uInt>(size);
            continue;
        }
        if (!inMember) {
            // Another member may follow; whatever else comes after one is not part of the
            // stream, as with libarchive's gzip filter (zeros a writer padded with).
            if (stream.next_in[0] != 0x1f || (stream.avail_in > 1 && stream.next_in[1] != 0x8b))
                break;
            inflateReset(&stream);
            inMember = true;
        }
        stream.next_out = filling->data.get() + filling->used;
        stream.avail_out = static_cast<uInt>(blockSize - filling->used);
        const uInt inputBefore = stream.avail_in;
        const int result = inflate(&stream, Z_NO_FLUSH);
        const bool progressed = stream.avail_in != inputBefore || stream.avail_out != blockSize - filling->used;
        filling->used = blockSize - stream.avail_out;
        if (result == Z_STREAM_END) {
            inMember = false;
        } else if (!(result == Z_OK || (result == Z_BUF_ERROR && progressed))) {
            Finish(kDamagedStream, QByteArray("gzip decompression failed: ")
                                           + (stream.msg ? stream.msg : "no progress"));
            return;
        }
        if (filling->used == blockSize) {
            Publish();
            filling = NextFree();
        }
    }
    if (!filling)
        return; // the reader has gone
    if (inMember) {
        Finish(kDamagedStream, "truncated gzip input");
        return;
    }
    if (filling->used > 0)
        Publish();
    Finish(0, QByteArray());
}

DecompressionStage::Block *DecompressionStage::NextFree()
{
    std::unique_lock<std::mutex> lock(mutex);
    // The block after the last published one is free once the reader has let go of the
    // one that sat there a ring ago.
    changed.wait(lock, [this] {
        const std::size_t inUse = produced - consumed + (holding ? 1 : 0);
        return abandoned || inUse < blocks.size();
    });
    if (abandoned)
        return nullptr;
    Block *block = &blocks[produced % blocks.size()];
    block->used = 0;
    return block;
}

void DecompressionStage::Publish()
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        ++produced;
    }
    changed.notify_all();
}

void DecompressionStage::Finish(int error, const QByteArray &text)
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        ended = true;
        if (error != 0 || !text.isEmpty()) {
            errorNumber = error != 0 ? error : EIO;
            errorText = text.isEmpty() ? QByteArray("Cannot decompress the archive") : text;
        }
    }
    changed.notify_all();
}

void DecompressionStage::OpenReader(struct archive *reader)
{
    archive_read_set_callback_data(reader, this);
    archive_read_set_read_callback(reader, &DecompressionStage::ReadCallback);
    // The open's result is not looked at: a reader that failed to open reports it at the
    // first header read.
    archive_read_open1(reader);
}

la_ssize_t DecompressionStage::ReadCallback(struct archive *reader, void *self, const void **buffer)
{
    return static_cast<DecompressionStage *>(self)->Read(reader, buffer);
}

la_ssize_t DecompressionStage::Read(struct archive *reader, const void **buffer)
{
    std::unique_lock<std::mutex> lock(mutex);
    // The library is done with the block it had at its last call.
    if (holding) {
        holding = false;
        changed.notify_all();
    }
    while (consumed == produced && !ended) {
        if (idleWork) {
            lock.unlock();
            const bool worked = idleWork();
            lock.lock();
            // A block may have come, or the end, while the lock was free.
            if (worked || consumed != produced || ended)
                continue;
        }
        changed.wait(lock);
    }
    if (consumed < produced) {
        const Block &block = blocks[consumed % blocks.size()];
        ++consumed;
        holding = true;
        *buffer = block.data.get();
        return static_cast<la_ssize_t>(block.used);
    }
    if (errorNumber != 0) {
        archive_set_error(reader, errorNumber, "%s", errorText.constData());
        return ARCHIVE_FATAL;
    }
    *buffer = nullptr;
    return 0;
}

} // namespace Detail
} // namespace Archive
