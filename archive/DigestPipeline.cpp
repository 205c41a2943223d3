#include "DigestPipeline.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Archive {
namespace Detail {

DigestPipeline::DigestPipeline()
{
    MD5Init(context);
    for (Chunk &chunk : chunks)
        chunk.data.reset(new unsigned char[kChunkSize]);
    filling = &chunks[0];
    if (std::thread::hardware_concurrency() > 1) {
        try {
            worker = std::thread(&DigestPipeline::Work, this);
        } catch (...) {
            // No second thread to be had: digest on the producing thread.
        }
    }
}

DigestPipeline::~DigestPipeline()
{
    StopWorker();
}

unsigned char *DigestPipeline::Reserve(std::size_t size)
{
    if (filling->used + size > kChunkSize)
        HandOver();
    return filling->data.get() + filling->used;
}

void DigestPipeline::Commit(std::size_t size)
{
    filling->used += size;
}

void DigestPipeline::Finish(unsigned char digest[16])
{
    if (filling->used > 0)
        HandOver();
    StopWorker();
    MD5Final(context, digest);
}

void DigestPipeline::HandOver()
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

void DigestPipeline::Work()
{
    // The digest only has to be done by the end, while decompressing and writing hold up
    // the restore as they go: on a machine with fewer cores than busy threads the
    // scheduler gives them precedence, and the digest takes up what they leave.
    // Lowering one's own thread's priority needs no privilege; failing to is harmless
    // (see docs/behaviour.md).
    setpriority(PRIO_PROCESS, static_cast<id_t>(::syscall(SYS_gettid)), 10);
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

void DigestPipeline::StopWorker()
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

} // namespace Detail
} // namespace Archive
