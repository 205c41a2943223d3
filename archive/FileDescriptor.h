#pragma once
// Private to the archive module.
//
// A file descriptor owned by one object: closed exactly once, when the owner goes or asks
// for it, on every way out of a job's run.

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
