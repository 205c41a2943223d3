#include "SystemFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace QtTools {

int FileDescriptor::Close()
{
    if (fd < 0)
        return 0;
    // Linux releases the descriptor even when close reports an error: never retry it.
    const int result = ::close(fd);
    fd = -1;
    return result == 0 ? 0 : errno;
}

FileDescriptor OpenRegularFile(const char *path, int *error)
{
    FileDescriptor opened(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!opened.IsOpen()) {
        *error = errno;
        return opened;
    }
    struct stat status;
    if (::fstat(opened.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        *error = EINVAL;
        opened.Close();
        return opened;
    }
    *error = 0;
    return opened;
}

int WriteAllAndClose(FileDescriptor &file, const char *data, std::size_t size)
{
    int error = 0;
    for (std::size_t done = 0; error == 0 && done < size;) {
        const ssize_t count = RetryInterrupted([&] { return ::write(file.Get(), data + done, size - done); });
        if (count <= 0)
            error = count < 0 ? errno : ENOSPC;
        else
            done += static_cast<std::size_t>(count);
    }
    if (error == 0 && ::fsync(file.Get()) != 0)
        error = errno;
    const int closed = file.Close();
    return error != 0 ? error : closed;
}

int FlushPath(const char *path)
{
    FileDescriptor file(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    if (!file.IsOpen())
        return errno;
    if (::fsync(file.Get()) != 0)
        return errno;
    return file.Close();
}

int ReadOnlyFileSystem(int fd)
{
    struct statvfs status;
    if (::fstatvfs(fd, &status) != 0)
        return errno;
    return (status.f_flag & ST_RDONLY) ? EROFS : 0;
}

int FlushFileSystemOf(int fd)
{
    if (::syncfs(fd) != 0)
        return errno;
    return ReadOnlyFileSystem(fd);
}

int FlushFileSystem(const char *path)
{
    FileDescriptor file(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    if (!file.IsOpen())
        return errno;
    return FlushFileSystemOf(file.Get());
}

} // namespace QtTools
