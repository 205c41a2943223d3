#pragma once
// Streams over Qt devices. QtIn, QtOut and QtInOut sit on a QDataStream over any open
// QIODevice (a file, a buffer), little-endian from the start; they neither open nor close
// the device, which must outlive them.

#include "Stream.h"

#include <QDataStream>

#include <memory>

class QIODevice;

namespace Stream {

namespace Internal {
class IoDeviceIntrospector;

// The device-level half every concrete Qt stream shares: the pass-through device over the
// caller's device and the data stream on top of it.
class QtDeviceStream
{
public:
    explicit QtDeviceStream(QIODevice *device);
    ~QtDeviceStream();
    QtDeviceStream(const QtDeviceStream &) = delete;
    QtDeviceStream &operator=(const QtDeviceStream &) = delete;

    QDataStream *Data() { return &m_data; }

    ByteObserver *Observer() const;
    void SetObserver(ByteObserver *observer);
    std::uint64_t Position() const;
    bool Seek(std::uint64_t position);
    bool IsOk() const;
    bool AtEnd() const;
    Stream::ByteOrder SetByteOrder(Stream::ByteOrder order);
    Stream::ByteOrder ByteOrder() const;

private:
    std::unique_ptr<IoDeviceIntrospector> m_device;
    QDataStream m_data;
};
} // namespace Internal

// Every In read on a QDataStream that it refers to but does not own.
class QtBaseIn : public virtual In
{
public:
    int Read(void *buffer, std::uint32_t length) override;
    int Read(char *buffer, std::uint32_t length) override;
    int Read(unsigned char *buffer, std::uint32_t length) override;
    void Read(char &value) override;
    void Read(std::int8_t &value) override;
    void Read(std::uint8_t &value) override;
    void Read(std::int16_t &value) override;
    void Read(std::uint16_t &value) override;
    void Read(std::int32_t &value) override;
    void Read(std::uint32_t &value) override;
    void Read(std::int64_t &value) override;
    void Read(std::uint64_t &value) override;
    void Read(double &value) override;
    void Read(float &value) override;
    void Read(bool &value) override;

protected:
    void SetInputStream(QDataStream *stream) { m_in = stream; }
    // Skipping by reading works on sequential devices and lets the observer see the bytes.
    void SkipByReading(std::uint64_t count);

private:
    QDataStream *m_in = nullptr;
};

// Every Out write on a QDataStream that it refers to but does not own.
class QtBaseOut : public virtual Out
{
public:
    int Write(const void *buffer, std::uint32_t length) override;
    int Write(const char *buffer, std::uint32_t length) override;
    int Write(const unsigned char *buffer, std::uint32_t length) override;
    void Write(char value) override;
    void Write(std::int8_t value) override;
    void Write(std::uint8_t value) override;
    void Write(std::int16_t value) override;
    void Write(std::uint16_t value) override;
    void Write(std::int32_t value) override;
    void Write(std::uint32_t value) override;
    void Write(std::int64_t value) override;
    void Write(std::uint64_t value) override;
    void Write(const double &value) override;
    void Write(const float &value) override;
    void Write(bool value) override;

protected:
    void SetOutputStream(QDataStream *stream) { m_out = stream; }

private:
    QDataStream *m_out = nullptr;
};

// The operations every concrete stream answers from its device stream (QtStream.cpp
// forwards them the same way for each class).
#define QVB_DEVICE_STREAM_OPERATIONS                                                       \
    ByteObserver *Observer() const override;                                              \
    std::uint64_t Position() const override;                                             \
    bool Seek(std::uint64_t position) override;                                           \
    bool IsOk() const override;                                                           \
    bool AtEnd() const override;                                                          \
    Stream::ByteOrder SetByteOrder(Stream::ByteOrder order) override;                     \
    Stream::ByteOrder ByteOrder() const override;                                         \
    void SetObserver(ByteObserver *observer) override;

class QtIn : public QtBaseIn
{
public:
    explicit QtIn(QIODevice *device);
    ~QtIn() override;

    QVB_DEVICE_STREAM_OPERATIONS
    void Skip(std::uint64_t count) override;

private:
    Internal::QtDeviceStream m_stream;
};

class QtOut : public QtBaseOut
{
public:
    explicit QtOut(QIODevice *device);
    ~QtOut() override;

    QVB_DEVICE_STREAM_OPERATIONS
    // Skips by the data stream's skipRawData.
    void Skip(std::uint64_t count) override;

private:
    Internal::QtDeviceStream m_stream;
};

class QtInOut : public InOut, public QtBaseIn, public QtBaseOut
{
public:
    explicit QtInOut(QIODevice *device);
    ~QtInOut() override;

    QVB_DEVICE_STREAM_OPERATIONS
    // Skips by reading, as an input stream does.
    void Skip(std::uint64_t count) override;

private:
    Internal::QtDeviceStream m_stream;
};

#undef QVB_DEVICE_STREAM_OPERATIONS

} // namespace Stream
