#pragma once
// Typed binary input and output for the display's file records.
//
// Record code is written against Stream::In and Stream::Out only, so the same record can be
// read from a file, a buffer or anything else a concrete stream sits on. Numbers are
// little-endian unless a caller changes the order; texts have no encoding of their own here,
// records write them byte by byte in fixed-width fields.

#include <cstdint>

namespace Stream {

// The layer's own numbering, independent of Qt's enumeration.
enum ByteOrder {
    LittleEndian = 0,
    BigEndian = 1,
    UnknownOrder = 3,
};

// Sees every byte that passes through a stream's device, e.g. to checksum a record while it
// is read. For reads it is told the size that was asked for, which can be more than what
// the device delivered.
class ByteObserver
{
public:
    virtual ~ByteObserver() = default;
    virtual void Observe(const char *bytes, std::uint64_t length) = 0;
};

// Device-level operations shared by both directions.
class Base
{
public:
    virtual ~Base() = default;

    virtual ByteObserver *Observer() const = 0;
    virtual std::uint64_t Position() const = 0;
    virtual bool Seek(std::uint64_t position) = 0;
    // False once any read or write has failed; stays false for the stream's life.
    virtual bool IsOk() const = 0;
    virtual bool AtEnd() const = 0;
    virtual void Skip(std::uint64_t count) = 0;
    // Orders other than LittleEndian and BigEndian change nothing. Returns the order now set.
    virtual Stream::ByteOrder SetByteOrder(Stream::ByteOrder order) = 0;
    virtual Stream::ByteOrder ByteOrder() const = 0;
    // Null removes the observer. The stream does not own it.
    virtual void SetObserver(ByteObserver *observer) = 0;
};

// Typed reads. Each read stores into its argument; a read past the end stores zero and
// leaves the failure to IsOk, so a record is read whole and the state tested once.
class In : public virtual Base
{
public:
    // Raw blocks: the bytes as they are, no length prefix. Return the number of bytes
    // read, -1 on error.
    virtual int Read(void *buffer, std::uint32_t length) = 0;
    virtual int Read(char *buffer, std::uint32_t length) = 0;
    virtual int Read(unsigned char *buffer, std::uint32_t length) = 0;

    virtual void Read(char &value) = 0;
    virtual void Read(std::int8_t &value) = 0;
    virtual void Read(std::uint8_t &value) = 0;
    virtual void Read(std::int16_t &value) = 0;
    virtual void Read(std::uint16_t &value) = 0;
    virtual void Read(std::int32_t &value) = 0;
    virtual void Read(std::uint32_t &value) = 0;
    virtual void Read(std::int64_t &value) = 0;
    virtual void Read(std::uint64_t &value) = 0;
    virtual void Read(double &value) = 0;
    // The IEEE-754 single-precision bit pattern as a 32-bit integer.
    virtual void Read(float &value) = 0;
    virtual void Read(bool &value) = 0;
};

// Typed writes, the mirror of In.
class Out : public virtual Base
{
public:
    virtual int Write(const void *buffer, std::uint32_t length) = 0;
    virtual int Write(const char *buffer, std::uint32_t length) = 0;
    virtual int Write(const unsigned char *buffer, std::uint32_t length) = 0;

    virtual void Write(char value) = 0;
    virtual void Write(std::int8_t value) = 0;
    virtual void Write(std::uint8_t value) = 0;
    virtual void Write(std::int16_t value) = 0;
    virtual void Write(std::uint16_t value) = 0;
    virtual void Write(std::int32_t value) = 0;
    virtual void Write(std::uint32_t value) = 0;
    virtual void Write(std::int64_t value) = 0;
    virtual void Write(std::uint64_t value) = 0;
    virtual void Write(const double &value) = 0;
    // The IEEE-754 single-precision bit pattern as a 32-bit integer.
    virtual void Write(const float &value) = 0;
    virtual void Write(bool value) = 0;
};

// Both directions over one device: one byte order and one position serve reads and writes.
class InOut : public virtual In, public virtual Out
{
};

} // namespace Stream
