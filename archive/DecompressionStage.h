#pragma once
// Private to the archive module.
//
// Decompression on a thread of its own, ahead of the reader that parses the archive and
// writes its entries. A first libarchive reader takes the body through its compression
// filters only (raw format), and the plain bytes go over a small bounded ring to the
// second reader, which the job drives as usual. On a machine with more than one core the
// inflating and the writing then overlap instead of taking turns (see docs/behaviour.md).
// libarchive's filters are the only reader of the compression formats: the outcome of a
// body never depends on which path read it, nor on where its reads happened to end.
//
// Between the constructor and Stop() the stage's thread alone reads through the body
// source, so its reading needs no lock; the reading side touches only the source's
// thread-safe parts meanwhile: Position() (an atomic, for the percentages) and, as idle
// work, HelpDigest() (the digest's own ring). After Stop() the source is the caller's
// again. The plain bytes cross over a BlockRing.

#include "BlockRing.h"
#include "Handles.h"

#include <QByteArray>

#include <archive.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace Archive {
namespace Detail {

class DecompressionStage
{
public:
    // Gives a fresh reader its body: sets the callbacks and opens it.
    using BodyOpener = std::function<void(struct archive *reader)>;

    static constexpr std::size_t kDefaultBlockSize = 1024 * 1024;
    static constexpr std::size_t kDefaultBlockCount = 4;

    // Whether the body that starts `bodyStart` bytes into the file open on `fd` is
    // compressed with filters libarchive implements itself. Plain tar and the formats
    // that need to seek in the file are read directly. Reads with pread: the
    // descriptor's position stays where it is.
    static bool IsCompressed(int fd, qint64 bodyStart);
    // Whether a second core is there to run the stage on.
    static bool Worthwhile();

    // Starts the thread at once; false from Started() when no thread could be had.
    explicit DecompressionStage(BodyOpener openBody, std::size_t blockSize = kDefaultBlockSize,
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
    // damaged or cut-off body) reaches it as a fatal read error with the library's text,
    // or a text of the stage's own where the library gave none.
    void OpenReader(struct archive *reader);

    // Ends the stage: the thread stops at its next block and is joined. Idempotent.
    void Stop();

    // True once the decompression has ended in failure; ErrorText() then says why.
    bool Failed() const;
    QByteArray ErrorText() const;

private:
    void Run(const BodyOpener &openBody);
    void Decompress(struct archive *reader);
    // Ends the stream for the reading side; with `failed`, as a failure, whatever the
    // library said of it (libarchive's gzip filter reports a cut trailer with neither an
    // error number nor a text).
    void Finish(bool failed, int error, const char *text);
    // Consumer side.
    static la_ssize_t ReadCallback(struct archive *reader, void *self, const void **buffer);
    la_ssize_t Read(struct archive *reader, const void **buffer);

    BlockRing ring;
    bool holding = false; // the reading side still looks at the block it took last

    mutable std::mutex outcomeMutex; // the three below, set once before the ring ends
    bool failed = false;
    int errorNumber = 0;
    QByteArray errorText;

    std::function<bool()> idleWork;

    std::thread worker;
};

// The parsing reader over a body as the extraction reads it: behind a decompression stage
// when `staged` (and a thread could be had), the body's own digest then helped along by
// the reading side while it waits; otherwise straight from the body with libarchive's
// filters. Every format is accepted. The stage, if any, must outlive the reader's use.
class BodySource;
struct BodyReading
{
    std::unique_ptr<DecompressionStage> stage;
    Reader reader;
};
BodyReading OpenBodyReading(BodySource &source, bool staged,
                            std::size_t blockSize = DecompressionStage::kDefaultBlockSize,
                            std::size_t blockCount = DecompressionStage::kDefaultBlockCount);

} // namespace Detail
} // namespace Archive
