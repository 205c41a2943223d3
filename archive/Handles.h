#pragma once
// Private to the archive module.
//
// Owning handles and system-call habits shared by the extraction's parts.

#include <archive.h>

#include <cerrno>
#include <memory>

#include <sys/types.h>

namespace Archive {
namespace Detail {

// A libarchive reader, freed with the handle.
struct ReaderDeleter
{
    void operator()(struct archive *reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<struct archive, ReaderDeleter>;

// Calls `call` (a read or pread) again for as long as a signal interrupts it.
template<typename Call>
ssize_t RetryInterrupted(Call call)
{
    ssize_t count;
    do
        count = call();
    while (count < 0 && errno == EINTR);
    return count;
}

} // namespace Detail
} // namespace Archive
