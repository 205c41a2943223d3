#pragma once
// The system-call habits every module of the display shares when it must know what the
// storage really did: a descriptor owned by one object, opens that never wait, reads
// retried after a signal, and flushes that say whether the data reached the storage.
// Each failure comes back as the error number (0 for success), so a caller can tell a
// full storage from a failing or a read-only one. Nothing here logs.

#include <cerrno>
#include <cstddef>

#include <sys/types.h>

namespace QtTools {

// A file descriptor owned by one object: closed exactly once, when the owner goes or
// asks for it, on every way out.
class FileDescriptor
{
public:
    explicit FileDescriptor(int fd = -1)
        : fd(fd)
    {
    }
    ~FileDescriptor() { Close(); }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    FileDescriptor(FileDescriptor &&other) noexcept
        : fd(other.fd)
    {
        other.fd = -1;
    }
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        if (this != &other) {
            Close();
            fd = other.fd;
            other.fd = -1;
        }
        return *this;
    }

    int Get() const { return fd; }
    bool IsOpen() const { return fd >= 0; }
    // Hands the descriptor to a new owner (a QFile, say); this object forgets it.
    int Release()
    {
        const int released = fd;
        fd = -1;
        return released;
    }
    // 0, or the error number of the close (a delayed write error shows here).
    int Close();

private:
    int fd;
};

// Opens `path` for reading without ever waiting: a FIFO or a device named as the file
// would block an ordinary open until some writer appears. Anything but a regular file is
// a file that cannot be opened, with *error ENOENT, EACCES... from the open, or EINVAL
// when the path names something else than a regular file.
FileDescriptor OpenRegularFile(const char *path, int *error);

// Calls `call` (a read, pread or write) again for as long as a signal interrupts it.
template<typename Call>
ssize_t RetryInterrupted(Call call)
{
    ssize_t count;
    do
        count = call();
    while (count < 0 && errno == EINTR);
    return count;
}

// Writes all `size` bytes to `file` (a short write is tried on), puts them on the storage
// (fsync) and closes it. 0, or the error number of the first step that failed (ENOSPC for
// a write that took nothing); the descriptor is closed either way.
int WriteAllAndClose(FileDescriptor &file, const char *data, std::size_t size);

// fsync of whatever `path` names, a file or a directory, without following a link or
// waiting on a special file. 0, or the error number.
int FlushPath(const char *path);

// Puts everything the kernel holds for the file system of `fd` on the storage (syncfs).
// A file system that has gone read-only counts as a failure (EROFS): syncfs succeeds on
// one, having nothing it may write, while the data meant for it never arrived (ext4 with
// errors=remount-ro and UBIFS switch to read-only after I/O errors). 0, or the error number.
int FlushFileSystemOf(int fd);
// The same for the file system holding `path` (opened without following a last link).
int FlushFileSystem(const char *path);

// EROFS when the file system holding `fd` is mounted read-only, else 0 (or the error of
// asking).
int ReadOnlyFileSystem(int fd);

// A write refused because the storage cannot take it: full (ENOSPC, EDQUOT), failing
// (EIO) or read-only (EROFS). Unlike a name too long or a node a display model may not
// make, such a refusal means nothing written afterwards can be trusted to arrive either.
inline bool IsStorageFailure(int error)
{
    return error == ENOSPC || error == EDQUOT || error == EIO || error == EROFS;
}

} // namespace QtTools
