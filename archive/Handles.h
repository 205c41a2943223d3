#pragma once
// Private to the archive module.
//
// Owning handles shared by the extraction's parts.

#include <QDir>
#include <QString>

#include <archive.h>

#include <memory>

namespace Archive {
namespace Detail {

// A libarchive reader, freed with the handle.
struct ReaderDeleter
{
    void operator()(struct archive *reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<struct archive, ReaderDeleter>;

// The extraction changes the process's current directory; every way out of its run puts
// it back.
class CurrentDirectoryKeeper
{
public:
    CurrentDirectoryKeeper()
        : saved(QDir::currentPath())
    {
    }
    ~CurrentDirectoryKeeper() { QDir::setCurrent(saved); }
    CurrentDirectoryKeeper(const CurrentDirectoryKeeper &) = delete;
    CurrentDirectoryKeeper &operator=(const CurrentDirectoryKeeper &) = delete;

private:
    const QString saved;
};

} // namespace Detail
} // namespace Archive
