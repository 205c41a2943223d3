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

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <thread>

#include "MD5.h"

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
    struct Chunk
    {
        std::unique_ptr<unsigned char[]> data;
        std::size_t used = 0;
    };

    void HandOver();
    // With the lock held, no one else digesting and a chunk waiting: digests it, the lock
    // released meanwhile.
    void DigestNext(std::unique_lock<std::mutex> &lock);
    // With the lock held: digests (or waits for whoever is digesting) until at most
    // `behind` chunks handed over are left undigested.
    void CatchUp(std::unique_lock<std::mutex> &lock, std::size_t behind);
    void Work();
    void StopWorker();

    MD5Context context;
    Chunk chunks[kChunkCount];
    Chunk *filling = nullptr;
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t handedOver = 0;
    std::size_t digested = 0;
    bool busy = false; // a thread is digesting chunk `digested`
    bool queued = false; // chunks wait for helpers, there being no digest thread
    bool stopping = false;
    std::thread worker;
};

} // namespace Detail
} // namespace Archive
