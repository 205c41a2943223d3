#include "WrittenFileSystems.h"

#include "SystemFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Archive {
namespace Detail {

void WrittenFileSystems::Note(const char *path)
{
    std::string entry(path ? path : "");
    while (entry.size() > 1 && entry.back() == '/')
        entry.pop_back();
    const std::size_t slash = entry.rfind('/');
    const std::string parent = slash == std::string::npos ? std::string(".")
                               : slash == 0               ? std::string("/")
                                                          : entry.substr(0, slash);
    if (parent != lastParent) {
        NoteDirectory(parent);
        lastParent = parent;
    }
    struct stat status;
    if (!entry.empty() && ::lstat(entry.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
        NoteDirectory(entry);
}

void WrittenFileSystems::NoteDirectory(const std::string &directory)
{
    struct stat status;
    if (::stat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        return;
    for (const FileSystem &known : seen) {
        if (known.device == status.st_dev)
            return;
    }
    seen.push_back({status.st_dev, directory});
}

bool WrittenFileSystems::Flush(QByteArray *failedDirectory, int *error) const
{
    for (const FileSystem &fileSystem : seen) {
        const QtTools::FileDescriptor directory(
            ::open(fileSystem.directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK));
        if (!directory.IsOpen()) {
            // A later entry replaced the directory it was met through: flush everything,
            // which cannot say whether it worked, rather than nothing.
            ::sync();
            continue;
        }
        const int failure = QtTools::FlushFileSystemOf(directory.Get());
        if (failure != 0) {
            if (failedDirectory)
                *failedDirectory = QByteArray::fromStdString(fileSystem.directory);
            if (error)
                *error = failure;
            return false;
        }
    }
    return true;
}

} // namespace Detail
} // namespace Archive
