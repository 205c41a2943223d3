#pragma once
// Private to the archive module.
//
// The one way the extraction's threads hand data to each other: a bounded ring of
// fixed-size blocks, filled in order by one producing thread and taken in the same order
// by a consuming side, one block out at a time (any thread may be the one that takes it).
// Memory stays bounded whatever the body's size. A producer finding every block in use
// may help instead of waiting (the digest's producer digests a block itself); a consumer
// finding none may do other work instead of waiting (the writing thread digests).
//
// Thread rules: Fill, Publish and End belong to the producing thread; Take, Release and
// Close to the consuming side; every call takes the ring's one lock, and none of them
// holds it while a block's data is being written or read, or while a helper runs.

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace Archive {
namespace Detail {

class BlockRing
{
public:
    struct Block
    {
        std::unique_ptr<unsigned char[]> data;
        std::size_t used = 0;
    };
    // Work a waiting side may do instead; true when it did some, so that it looks again
    // before it waits.
    using Helper = std::function<bool()>;

    BlockRing(std::size_t blockSize, std::size_t blockCount);
    BlockRing(const BlockRing &) = delete;
    BlockRing &operator=(const BlockRing &) = delete;

    std::size_t BlockSize() const { return blockSize; }

    // Producer: the next block to fill (emptied), once the consuming side has released
    // the block that had its place a ring ago; while none is free, `helper` runs if given,
    // else the producer waits. Null once the consuming side has closed the ring.
    Block *Fill(const Helper &helper = {});
    // Producer: hands the block from the last Fill over to the consuming side.
    void Publish();
    // Producer: nothing more will be published.
    void End();

    // Consumer: the oldest block handed over and not yet taken. With `wait`, waits for one
    // (running `helper` meanwhile if given); null at the end, once every block is taken.
    // Without `wait`, null also when none is there or another thread holds the block out.
    const Block *Take(bool wait, const Helper &helper = {});
    // Consumer: done with the block taken last; its place may be filled again.
    void Release();
    // Consumer: the consuming side has gone; a producer waiting for a block gets null.
    void Close();

    // True once End() was called and every block handed over has been taken.
    bool Drained() const;

private:
    bool FreeBlockLocked() const { return published - released < blocks.size(); }

    const std::size_t blockSize;
    std::vector<Block> blocks;
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::size_t published = 0; // blocks handed over so far
    std::size_t taken = 0;     // blocks taken by the consuming side so far
    std::size_t released = 0;  // blocks the consuming side is done with
    bool ended = false;
    bool closed = false;
};

} // namespace Detail
} // namespace Archive
