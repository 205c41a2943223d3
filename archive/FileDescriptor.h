#pragma once
// Private to the archive module.
//
// A file descriptor owned by one object: closed exactly once, when the owner goes or asks
// for it, on every way out of a job's run.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Archive {
namespace Detail {

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

    // Opens `path` for reading without ever waiting: a FIFO or a device named as the file
    // would block an ordinary open until some writer appears. Anything but a regular file
    // counts as a file that cannot be opened, with *regular set to false (see
    // docs/behaviour.md).
    static FileDescriptor OpenRegularFile(const char *path, bool *regular)
    {
        FileDescriptor opened(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        struct stat status;
        *regular = !opened.IsOpen() || (::fstat(opened.fd, &status) == 0 && S_ISREG(status.st_mode));
        if (!*regular)
            opened.Close();
        return opened;
    }

    int Get() const { return fd; }
    bool IsOpen() const { return fd >= 0; }
    void Close()
    {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }

private:
    int fd;
};

} // namespace Detail
} // namespace Archive
