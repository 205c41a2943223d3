#include "DecompressionStage.h"

#include "BodySource.h"

#include "Handles.h"
#include "SystemFiles.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

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

bool DecompressionStage::IsCompressed(int fd, qint64 bodyStart)
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
            const ssize_t count = QtTools::RetryInterrupted(
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
        return false;
    SupportBuiltInFilters(reader.get());
    archive_read_support_format_raw(reader.get());
    if (archive_read_open(reader.get(), probe.get(), nullptr, &Probe::Read, nullptr) != ARCHIVE_OK)
        return false;
    // "none" is always the last filter of an open reader.
    return archive_filter_count(reader.get()) > 1;
}

bool DecompressionStage::Worthwhile()
{
    return std::thread::hardware_concurrency() > 1;
}

DecompressionStage::DecompressionStage(BodyOpener openBody, std::size_t blockSize, std::size_t blockCount)
    : ring(blockSize, blockCount)
{
    try {
        worker = std::thread(&DecompressionStage::Run, this, std::move(openBody));
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
    ring.Close();
    if (worker.joinable())
        worker.join();
}

bool DecompressionStage::Failed() const
{
    std::lock_guard<std::mutex> lock(outcomeMutex);
    return failed;
}

QByteArray DecompressionStage::ErrorText() const
{
    std::lock_guard<std::mutex> lock(outcomeMutex);
    return errorText;
}

void DecompressionStage::Run(const BodyOpener &openBody)
{
    Reader reader(archive_read_new());
    if (!reader) {
        Finish(true, ENOMEM, "Cannot allocate the decompressing reader");
        return;
    }
    archive_read_support_filter_all(reader.get());
    archive_read_support_format_raw(reader.get());
    openBody(reader.get());

    struct archive_entry *entry = nullptr;
    if (archive_read_next_header(reader.get(), &entry) != ARCHIVE_OK) {
        Finish(true, archive_errno(reader.get()), archive_error_string(reader.get()));
        return;
    }
    Decompress(reader.get());
}

void DecompressionStage::Decompress(struct archive *reader)
{
    const std::size_t blockSize = ring.BlockSize();
    BlockRing::Block *filling = ring.Fill();
    while (filling) {
        const void *data = nullptr;
        std::size_t size = 0;
        la_int64_t offset = 0;
        const int status = archive_read_data_block(reader, &data, &size, &offset);
        if (status == ARCHIVE_EOF)
            break;
        // A warning is no better than a failure here: the bytes behind it are not known good.
        // Those before it are, and go to the reader first: read directly, the reader would
        // have had them, and an archive that ends in them (a stream damaged only after the
        // archive's end marker, an lz4 frame's checksum) is whole either way.
        if (status != ARCHIVE_OK) {
            if (filling->used > 0)
                ring.Publish();
            Finish(true, archive_errno(reader), archive_error_string(reader));
            return;
        }
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
                ring.Publish();
                filling = ring.Fill();
            }
        }
    }
    if (!filling)
        return; // the reader has gone
    if (filling->used > 0)
        ring.Publish();
    Finish(false, 0, nullptr);
}

void DecompressionStage::Finish(bool failure, int error, const char *text)
{
    {
        std::lock_guard<std::mutex> lock(outcomeMutex);
        failed = failure;
        if (failure) {
            errorNumber = error != 0 ? error : kDamagedStream;
            errorText = text && *text ? QByteArray(text)
                                      : QByteArray("Cannot decompress the archive: the stream is damaged or cut short");
        }
    }
    ring.End();
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
    // The library is done with the block it had at its last call.
    if (holding) {
        ring.Release();
        holding = false;
    }
    if (const BlockRing::Block *block = ring.Take(true, idleWork)) {
        holding = true;
        *buffer = block->data.get();
        return static_cast<la_ssize_t>(block->used);
    }
    std::lock_guard<std::mutex> lock(outcomeMutex);
    if (failed) {
        archive_set_error(reader, errorNumber, "%s", errorText.constData());
        return ARCHIVE_FATAL;
    }
    *buffer = nullptr;
    return 0;
}

BodyReading OpenBodyReading(BodySource &source, bool staged, std::size_t blockSize, std::size_t blockCount)
{
    BodyReading reading;
    if (staged) {
        reading.stage = std::make_unique<DecompressionStage>(
            [&source](struct archive *reader) { source.Open(reader); }, blockSize, blockCount);
        if (!reading.stage->Started())
            reading.stage.reset();
        else if (source.StreamIntact())
            reading.stage->SetIdleWork([&source] { return source.HelpDigest(); });
    }
    reading.reader.reset(archive_read_new());
    archive_read_support_format_all(reading.reader.get());
    if (reading.stage) {
        reading.stage->OpenReader(reading.reader.get());
    } else {
        archive_read_support_filter_all(reading.reader.get());
        source.Open(reading.reader.get());
    }
    return reading;
}

} // namespace Detail
} // namespace Archive
