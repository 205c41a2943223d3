#pragma once
// Private to the archive module.
//
// The file systems an extraction has written to, flushed together once the last entry is
// written. Until then the kernel may hold the restored data in memory for half a minute,
// and an operator switches the display off as soon as the outcome is on the screen; a
// flush that fails (the storage failing, or full once delayed allocation comes due) makes
// the restore a failed one (see docs/behaviour.md).

#include <QByteArray>

#include <string>
#include <vector>

#include <sys/types.h>

namespace Archive {
namespace Detail {

class WrittenFileSystems
{
public:
    // Notes the file system that holds the entry at `path` (relative to the current
    // directory): the one of its parent directory, and for a directory its own too.
    void Note(const char *path);

    // syncfs on every noted file system. False at the first that fails or has gone
    // read-only meanwhile, with the directory it was asked through and the error number.
    bool Flush(QByteArray *failedDirectory, int *error) const;

    std::size_t Count() const { return seen.size(); }

private:
    void NoteDirectory(const std::string &directory);

    struct FileSystem
    {
        dev_t device;
        std::string directory; // a directory on it, as it was met
    };
    std::vector<FileSystem> seen;
    std::string lastParent; // most entries share the directory of the one before
};

} // namespace Detail
} // namespace Archive
