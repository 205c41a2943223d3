#pragma once
// Private to the archive module.
//
// Digests bytes in the order they are handed over, on a second thread, so the MD5 work
// overlaps decompression and writing. The producing side fills fixed chunks of a small
// ring and hands each full chunk over; memory stays bounded whatever the body's size.
// Any thread with nothing else to do may digest the next waiting chunk (HelpOnce). Where
// a thread that waits often is there to help (the one writing the entries while a
// separate thread decompresses), the pipeline has no thread of its own: the helper
// digests while it would wait, the producer when the digest has fallen a whole ring
// behind, and Finish the rest. A digest thread of lower priority would be woken on the
// producer's core, hold its chunk while the producer ran, and make everyone wait for it.
// On a single core the chunks are digested on the spot.

#include "BlockRing.h"
#include "MD5.h"

#include <cstddef>
#include <thread>

namespace Archive {
namespace Detail {

class DigestPipeline
{
public:
    static constexpr std::size_t kChunkSize = 256 * 1024;
    static constexpr std::size_t kChunkCount = 8;

    // With `ownThread` false the pipeline counts on HelpOnce callers instead of a thread.
    explicit DigestPipeline(bool ownThread = true);
    ~DigestPipeline();
    DigestPipeline(const DigestPipeline &) = delete;
    DigestPipeline &operator=(const DigestPipeline &) = delete;

    // Room for `size` (at most kChunkSize) more bytes; valid until the next Reserve.
    unsigned char *Reserve(std::size_t size);
    // The first `size` bytes at the last Reserve's pointer now hold data.
    void Commit(std::size_t size);
    // The digest of everything committed. The pipeline takes no more data afterwards.
    void Finish(unsigned char digest[16]);

    // Digests the oldest chunk handed over, unless none waits or another thread is at
    // one; true when it did. Safe from any thread while the pipeline takes data.
    bool HelpOnce();

    // Whether the digest runs on a thread of its own.
    bool Threaded() const { return worker.joinable(); }

private:
    void HandOver();
    void Work();
    void StopWorker();

    MD5Context context;
    BlockRing ring;
    BlockRing::Block *filling = nullptr;
    bool onTheSpot = false; // one core: each chunk is digested as it fills, no hand-over
    std::thread worker;
};

} // namespace Detail
} // namespace Archive
