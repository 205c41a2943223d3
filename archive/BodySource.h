#pragma once
// Private to the archive module.
//
// The reader's view of an archive body inside a larger file: read, skip and seek
// callbacks over the positioned descriptor, with offsets relative to the body's start
// (the backup header's length into the file), so formats that seek (zip, 7-Zip, ISO 9660)
// find their data. With a digest requested, every byte the reader consumes passes
// through the digest exactly once, in order, for as long as the reader reads straight
// through; once it has jumped elsewhere, the body is digested by a separate pass at the
// end. Position() tells, from any thread, how far into the file reading has come.

#include <QtGlobal>

#include <archive.h>

#include <atomic>
#include <cstddef>
#include <memory>

#include <sys/types.h>

namespace Archive {
namespace Detail {

class DigestPipeline;

class BodySource
{
public:
    enum class DigestOutcome { Complete, ReadError, Cancelled };

    // Reads of 64 KiB: with 4096-byte reads a plain tar took half as long again as the
    // reference tool, in system calls and copies (see docs/behaviour.md). A thread of its
    // own that does nothing but read and decompress takes larger ones still.
    static constexpr std::size_t kDirectBlockSize = 64 * 1024;
    static constexpr std::size_t kStreamingBlockSize = 128 * 1024;

    // `fd` stands at the body's start. With `digestHelped`, the digest has no thread of
    // its own: another thread calls HelpDigest while it waits.
    BodySource(int fd, bool digest, std::size_t blockSize = kDirectBlockSize, bool digestHelped = false);
    ~BodySource();
    BodySource(const BodySource &) = delete;
    BodySource &operator=(const BodySource &) = delete;

    // Gives `reader` this body. The open's result is not looked at: a reader that failed
    // to open reports it at the first header read.
    void Open(struct archive *reader);

    // The digest of the whole body, once the reader is done with it.
    DigestOutcome Finish(unsigned char digest[16], const std::atomic<bool> &cancel);

    // How far into the file the descriptor stands, header included; safe from any thread.
    qint64 Position() const { return position.load(std::memory_order_relaxed); }

    // Digests a piece of the body read so far, if one waits and no other thread is at
    // it; true when it did. Safe from any thread while the body is being read.
    bool HelpDigest();

    // True while the reader has consumed the body strictly in order from its start.
    bool StreamIntact() const;

    // The error number of the first read of the file that failed, 0 if none did. A
    // compression filter reading through this source reports a failed read in words of
    // its own ("truncated input"); this keeps what the storage said.
    int ReadError() const { return readError; }

private:
    static la_ssize_t ReadCallback(struct archive *reader, void *self, const void **buffer);
    static la_int64_t SkipCallback(struct archive *reader, void *self, la_int64_t request);
    static la_int64_t SeekCallback(struct archive *reader, void *self, la_int64_t offset, int whence);

    ssize_t ReadFully(unsigned char *target, std::size_t size);
    void MovedTo(off_t at);
    void CheckStreamContinues();
    la_ssize_t Read(struct archive *reader, const void **buffer);
    la_int64_t Skip(struct archive *reader, la_int64_t request);
    la_int64_t Seek(struct archive *reader, la_int64_t offset, int whence);
    DigestOutcome DigestSeparately(unsigned char digest[16], const std::atomic<bool> &cancel);

    const int fd;
    const std::size_t blockSize;
    off_t bodyStart = 0;
    off_t sizeAtStart = 0;  // the file's size when the run began
    off_t at = 0;        // the descriptor's position, kept without asking the system
    off_t streamed = 0;  // where the bytes that went through the digest end
    bool abandoned = false;
    int readError = 0;
    std::atomic<qint64> position {0};
    std::unique_ptr<DigestPipeline> pipeline;
    std::unique_ptr<unsigned char[]> block;
};

} // namespace Detail
} // namespace Archive
