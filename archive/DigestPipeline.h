#pragma once
// Private to the archive module.
//
// Digests bytes in the order they are handed over, on a second thread, so the MD5 work
// overlaps decompression and writing. The producing side fills fixed chunks of a small
// ring and hands each full chunk over; it waits only when the digest falls a whole ring
// behind, so memory stays bounded whatever the body's size. On a single core the chunks
// are digested on the spot instead.

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
    static constexpr std::size_t kChunkCount = 4;

    DigestPipeline();
    ~DigestPipeline();
    DigestPipeline(const DigestPipeline &) = delete;
    DigestPipeline &operator=(const DigestPipeline &) = delete;

    // Room for `size` (at most kChunkSize) more bytes; valid until the next Reserve.
    unsigned char *Reserve(std::size_t size);
    // The first `size` bytes at the last Reserve's pointer now hold data.
    void Commit(std::size_t size);
    // The digest of everything committed. The pipeline takes no more data afterwards.
    void Finish(unsigned char digest[16]);

    // Whether the digest runs on a thread of its own.
    bool Threaded() const { return worker.joinable(); }

private:
    struct Chunk
    {
        std::unique_ptr<unsigned char[]> data;
        std::size_t used = 0;
    };

    void HandOver();
    void Work();
    void StopWorker();

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

} // namespace Detail
} // namespace Archive
