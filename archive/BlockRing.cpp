#include "BlockRing.h"

#include <algorithm>

namespace Archive {
namespace Detail {

BlockRing::BlockRing(std::size_t blockSize, std::size_t blockCount)
    : blockSize(std::max<std::size_t>(blockSize, 1))
    , blocks(std::max<std::size_t>(blockCount, 2))
{
    for (Block &block : blocks)
        block.data.reset(new unsigned char[this->blockSize]);
}

BlockRing::Block *BlockRing::Fill(const Helper &helper)
{
    std::unique_lock<std::mutex> lock(mutex);
    while (!closed && !FreeBlockLocked()) {
        if (helper) {
            lock.unlock();
            const bool helped = helper();
            lock.lock();
            if (helped)
                continue;
            // The helper found nothing it could take: the block out is someone else's,
            // whose release wakes this wait. Look once more first, as it may have come
            // while the lock was free.
            if (closed || FreeBlockLocked())
                break;
        }
        changed.wait(lock);
    }
    if (closed)
        return nullptr;
    Block *block = &blocks[published % blocks.size()];
    block->used = 0;
    return block;
}

void BlockRing::Publish()
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        ++published;
    }
    changed.notify_all();
}

void BlockRing::End()
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        ended = true;
    }
    changed.notify_all();
}

const BlockRing::Block *BlockRing::Take(bool wait, const Helper &helper)
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        const bool out = taken != released;
        if (!out && taken < published) {
            const Block *block = &blocks[taken % blocks.size()];
            ++taken;
            return block;
        }
        if (!wait || (!out && ended))
            return nullptr;
        if (helper && !out) {
            lock.unlock();
            const bool helped = helper();
            lock.lock();
            // A block may have come, or the end, while the lock was free.
            if (helped || taken < published || ended)
                continue;
        }
        changed.wait(lock);
    }
}

void BlockRing::Release()
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (released < taken)
            ++released;
    }
    changed.notify_all();
}

void BlockRing::Close()
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        closed = true;
    }
    changed.notify_all();
}

bool BlockRing::Drained() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return ended && taken == published;
}

} // namespace Detail
} // namespace Archive
