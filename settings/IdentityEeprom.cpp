#include "IdentityEeprom.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

const char kEepromPath[] = "/sys/bus/i2c/devices/0-0050/eeprom";

struct FileCloser
{
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, FileCloser>;

} // namespace

bool ReadEeprom(void *buffer, unsigned int count, std::int32_t offset)
{
    FilePointer device(std::fopen(kEepromPath, "r"));
    if (!device)
        return false;
    (void)std::fseek(device.get(), offset, SEEK_SET);
    return std::fread(buffer, 1, count, device.get()) == count;
}

bool WriteEeprom(const void *buffer, unsigned int count, std::int32_t offset)
{
    if (offset < kEepromFirstWritableOffset)
        return false;
    FilePointer device(std::fopen(kEepromPath, "r+"));
    if (!device)
        return false;
    (void)std::fseek(device.get(), offset, SEEK_SET);
    const bool written = std::fwrite(buffer, 1, count, device.get()) == count;
    // A buffered write only reaches the device when the stream is flushed.
    return std::fclose(device.release()) == 0 && written;
}

bool ReadBoardIdentifier(void *buffer)
{
    return ReadEeprom(buffer, 11, 6);
}

bool ReadBoardAddress(void *buffer)
{
    return ReadEeprom(buffer, 6, 67);
}

void ClearIdentityRecord(void *record)
{
    std::memset(record, 0, 12);
}
