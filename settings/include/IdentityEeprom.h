#pragma once
// The board's identity EEPROM (I2C bus 0, address 0x50), seen through the kernel's sysfs
// file "/sys/bus/i2c/devices/0-0050/eeprom" as a flat byte array. Fields are handed over
// as raw bytes: no decoding, checksum or terminator.

#include <cstdint>

// First offset that may be written: bytes 0 to 127 hold the identity fields and are
// never written by this code.
constexpr std::int32_t kEepromFirstWritableOffset = 128;

// Reads `count` bytes at `offset` into `buffer`; true when all of them were read. On a
// short read the buffer is partly filled.
bool ReadEeprom(void *buffer, unsigned int count, std::int32_t offset);

// Writes `count` bytes from `buffer` at `offset`; true when all of them were written.
// Refuses (false, device untouched) any write starting below kEepromFirstWritableOffset.
bool WriteEeprom(const void *buffer, unsigned int count, std::int32_t offset);

// The 11-byte identifier field at offset 6; `buffer` holds at least 11 bytes.
bool ReadBoardIdentifier(void *buffer);

// The 6-byte address field at offset 67; `buffer` holds at least 6 bytes.
bool ReadBoardAddress(void *buffer);

// Sets all 12 bytes of an identity record to zero.
void ClearIdentityRecord(void *record);
