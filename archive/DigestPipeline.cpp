#include "DigestPipeline.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Archive {
namespace Detail {

DigestPipeline::DigestPipeline(bool ownThread)
    : ring(kChunkSize, kChunkCount)
{
    MD5Init(context);
    filling = ring.Fill();
    onTheSpot = std::thread::hardware_concurrency() <= 1;
    if (ownThread && !onTheSpot) {
        try {
            worker = std::thread(&DigestPipeline::Work, this);
        } catch (...) {
            // No second thread to be had: digest on the producing thread.
            onTheSpot = true;
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

void DigestPipeline::HandOver()
{
    if (onTheSpot) {
        MD5Update(context, filling->data.get(), filling->used);
        filling->used = 0;
        return;
    }
    ring.Publish();
    // The next chunk is free once the digest has finished the one a ring ago. Rather
    // than wait for the digest to catch up, take a turn at it.
    filling = ring.Fill([this] { return HelpOnce(); });
}

void DigestPipeline::Finish(unsigned char digest[16])
{
    if (onTheSpot) {
        MD5Update(context, filling->data.get(), filling->used);
        filling->used = 0;
    } else {
        if (filling->used > 0)
            ring.Publish();
        StopWorker();
        // Whatever the thread or the helpers left is digested here, in order.
        while (const BlockRing::Block *chunk = ring.Take(true)) {
            MD5Update(context, chunk->data.get(), chunk->used);
            ring.Release();
        }
    }
    MD5Final(context, digest);
}

bool DigestPipeline::HelpOnce()
{
    const BlockRing::Block *chunk = ring.Take(false);
    if (!chunk)
        return false;
    MD5Update(context, chunk->data.get(), chunk->used);
    ring.Release();
    return true;
}

void DigestPipeline::Work()
{
    // The digest only has to be done by the end, while decompressing and writing hold up
    // the restore as they go: on a machine with fewer cores than busy threads the
    // scheduler gives them precedence, and the digest takes up what they leave.
    // Lowering one's own thread's priority needs no privilege; failing to is harmless
    // (see docs/behaviour.md).
    setpriority(PRIO_PROCESS, static_cast<id_t>(::syscall(SYS_gettid)), 10);
    // Stopping: everything handed over is digested before the thread ends.
    while (const BlockRing::Block *chunk = ring.Take(true)) {
        MD5Update(context, chunk->data.get(), chunk->used);
        ring.Release();
    }
}

void DigestPipeline::StopWorker()
{
    ring.End();
    if (worker.joinable())
        worker.join();
}

} // namespace Detail
} // namespace Archive
