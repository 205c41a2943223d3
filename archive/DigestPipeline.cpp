#include "DigestPipeline.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Archive {
namespace Detail {

DigestPipeline::DigestPipeline(bool ownThread)
{
    MD5Init(context);
    for (Chunk &chunk : chunks)
        chunk.data.reset(new unsigned char[kChunkSize]);
    filling = &chunks[0];
    if (std::thread::hardware_concurrency() <= 1)
        return;
    queued = !ownThread;
    if (ownThread) {
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
    {
        std::unique_lock<std::mutex> lock(mutex);
        CatchUp(lock, 0);
    }
    MD5Final(context, digest);
}

void DigestPipeline::HandOver()
{
    if (!worker.joinable() && !queued) {
        MD5Update(context, filling->data.get(), filling->used);
        filling->used = 0;
        return;
    }
    std::unique_lock<std::mutex> lock(mutex);
    ++handedOver;
    changed.notify_all();
    // The next chunk is free once the digest has finished the one a ring ago. Rather
    // than wait for the digest to catch up, take a turn at it.
    CatchUp(lock, kChunkCount - 1);
    filling = &chunks[handedOver % kChunkCount];
    filling->used = 0;
}

void DigestPipeline::CatchUp(std::unique_lock<std::mutex> &lock, std::size_t behind)
{
    while (handedOver - digested > behind) {
        if (busy)
            changed.wait(lock);
        else
            DigestNext(lock);
    }
}

bool DigestPipeline::HelpOnce()
{
    std::unique_lock<std::mutex> lock(mutex);
    if (busy || digested == handedOver)
        return false;
    DigestNext(lock);
    return true;
}

void DigestPipeline::DigestNext(std::unique_lock<std::mutex> &lock)
{
    busy = true;
    const Chunk &chunk = chunks[digested % kChunkCount];
    lock.unlock();
    MD5Update(context, chunk.data.get(), chunk.used);
    lock.lock();
    busy = false;
    ++digested;
    changed.notify_all();
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
        changed.wait(lock, [this] { return !busy && (digested < handedOver || stopping); });
        // Stopping: everything handed over is digested before the thread ends.
        if (digested == handedOver)
            return;
        DigestNext(lock);
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
