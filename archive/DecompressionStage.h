#pragma once
// Private to the archive module.
//
// Decompression on a thread of its own, ahead of the reader that parses the archive and
// writes its entries. A first libarchive reader takes the body through its compression
// filters only (raw format), or hands a gzip body's compressed bytes to zlib, and the
// plain bytes go over a small bounded ring to the second reader, which the job drives as
// usual. On a machine with more than one core the
// inflating and the writing then overlap instead of taking turns (see docs/behaviour.md).
//
// The stage's thread alone touches the body source between the constructor and Stop(),
// so the body source needs no locking of its own; after Stop() it is the caller's again.

#include <QByteArray>

#include <archive.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Archive {
namespace Detail {

class DecompressionStage
{
public:
    // Gives a fresh reader its body: sets the callbacks and opens it.
    using BodyOpener = std::function<void(struct archive *reader)>;

    static constexpr std::size_t kDefaultBlockSize = 1024 * 1024;
    static constexpr std::size_t kDefaultBlockCount = 4;

    // How the stage takes the compression off.
    enum class Decoder {
        // libarchive's own filters, any number and kind of them.
        Filters,
        // A single gzip layer (members one after the other), inflated with zlib straight
        // into the ring, without a copy out of the filter's buffer. Like libarchive's
        // gzip filter it leaves the members' CRC-32 and length unchecked: a version-2
        // body's digest covers every compressed byte, trailers included (see
        // docs/behaviour.md).
        Gzip,
    };

    // What the body that starts `bodyStart` bytes into the file open on `fd` is
    // compressed with: nothing (plain tar, and the formats that need to seek in the
    // file, which are read directly), one gzip layer, or other filters that libarchive
    // implements itself. Reads with pread: the descriptor's position stays where it is.
    enum class Compression { None, Gzip, Other };
    static Compression Examine(int fd, qint64 bodyStart);
    static bool IsCompressed(int fd, qint64 bodyStart) { return Examine(fd, bodyStart) != Compression::None; }
    // Whether a second core is there to run the stage on.
    static bool Worthwhile();

    // Starts the thread at once; false from Started() when no thread could be had.
    explicit DecompressionStage(BodyOpener openBody, Decoder decoder = Decoder::Filters,
                                std::size_t blockSize = kDefaultBlockSize,
                                std::size_t blockCount = kDefaultBlockCount);
    ~DecompressionStage();
    DecompressionStage(const DecompressionStage &) = delete;
    DecompressionStage &operator=(const DecompressionStage &) = delete;

    bool Started() const;

    // Work the reading side may do while it waits for the next block, such as digesting
    // the body (true when it did some, so that it looks for data again before waiting).
    // Set before OpenReader; called on the reading side's thread only.
    void SetIdleWork(std::function<bool()> work) { idleWork = std::move(work); }

    // Opens `reader` over the decompressed stream; a failure of the decompression (a
    // damaged or cut-off body) reaches it as a fatal read error with the library's text.
    void OpenReader(struct archive *reader);

    // Ends the stage: the thread stops at its next block and is joined. Idempotent.
    void Stop();

    // The decompression's own error text once the stream has ended in failure, else empty.
    QByteArray ErrorText() const;

private:
    struct Block
    {
        std::unique_ptr<unsigned char[]> data;
        std::size_t used = 0;
    };

    void Run(const BodyOpener &openBody, Decoder decoder);
    // The raw reader's next piece of the body; a failure is passed on to the reading
    // side before Failed is returned.
    enum class Piece { Got, End, Failed };
    Piece NextPiece(struct archive *reader, const void **data, std::size_t *size);
    void RunFilters(struct archive *reader);
    void RunGzip(struct archive *reader);
    // Producer side: a block to fill, or null when the consumer has gone.
    Block *NextFree();
    void Publish();
    void Finish(int error, const QByteArray &text);
    // Consumer side.
    static la_ssize_t ReadCallback(struct archive *reader, void *self, const void **buffer);
    la_ssize_t Read(struct archive *reader, const void **buffer);

    const std::size_t blockSize;
    std::vector<Block> blocks;

    mutable std::mutex mutex;
    std::condition_variable changed;
    std::size_t produced = 0;  // blocks published so far
    std::size_t consumed = 0;  // blocks handed to the reader so far
    bool holding = false;      // the reader still looks at block consumed - 1
    bool ended = false;        // no more blocks will be published
    bool abandoned = false;    // the reader side has stopped
    int errorNumber = 0;
    QByteArray errorText;

    std::function<bool()> idleWork;

    std::thread worker;
};

} // namespace Detail
} // namespace Archive
