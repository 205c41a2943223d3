#include "QtStream.h"

#include "IoDeviceIntrospector.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace Stream {

namespace {

// QDataStream counts raw blocks in int.
int BlockLength(std::uint32_t length)
{
    return static_cast<int>(std::min<std::uint32_t>(length, INT_MAX));
}

} // namespace

namespace Internal {

QtDeviceStream::QtDeviceStream(QIODevice *device)
    : m_device(std::make_unique<IoDeviceIntrospector>(device))
    , m_data(m_device.get())
{
    // Records have one layout whatever the processor.
    m_data.setByteOrder(QDataStream::LittleEndian);
}

QtDeviceStream::~QtDeviceStream() = default;

ByteObserver *QtDeviceStream::Observer() const
{
    return m_device->Observer();
}

void QtDeviceStream::SetObserver(ByteObserver *observer)
{
    m_device->SetObserver(observer);
}

std::uint64_t QtDeviceStream::Position() const
{
    return static_cast<std::uint64_t>(m_device->pos());
}

bool QtDeviceStream::Seek(std::uint64_t position)
{
    return m_device->seek(static_cast<qint64>(position));
}

bool QtDeviceStream::IsOk() const
{
    return m_data.status() == QDataStream::Ok;
}

bool QtDeviceStream::AtEnd() const
{
    return m_data.atEnd();
}

Stream::ByteOrder QtDeviceStream::SetByteOrder(Stream::ByteOrder order)
{
    if (order == LittleEndian)
        m_data.setByteOrder(QDataStream::LittleEndian);
    else if (order == BigEndian)
        m_data.setByteOrder(QDataStream::BigEndian);
    return ByteOrder();
}

Stream::ByteOrder QtDeviceStream::ByteOrder() const
{
    switch (m_data.byteOrder()) {
    case QDataStream::LittleEndian:
        return LittleEndian;
    case QDataStream::BigEndian:
        return BigEndian;
    }
    return UnknownOrder;
}

} // namespace Internal

// ---- QtBaseIn ----
//
// A failed stream reads nothing more, even where the device would still deliver bytes, so
// that a record read whole never mixes values from before and after the failure.

namespace {

template <typename Wire, typename T>
void ReadValue(QDataStream &in, T &value)
{
    Wire wire = 0;
    if (in.status() == QDataStream::Ok)
        in >> wire;
    value = static_cast<T>(wire);
}

} // namespace

int QtBaseIn::Read(void *buffer, std::uint32_t length)
{
    return Read(static_cast<char *>(buffer), length);
}

int QtBaseIn::Read(char *buffer, std::uint32_t length)
{
    if (m_in->status() != QDataStream::Ok)
        return -1;
    return m_in->readRawData(buffer, BlockLength(length));
}

int QtBaseIn::Read(unsigned char *buffer, std::uint32_t length)
{
    return Read(reinterpret_cast<char *>(buffer), length);
}

void QtBaseIn::Read(char &value) { ReadValue<qint8>(*m_in, value); }
void QtBaseIn::Read(std::int8_t &value) { ReadValue<qint8>(*m_in, value); }
void QtBaseIn::Read(std::uint8_t &value) { ReadValue<quint8>(*m_in, value); }
void QtBaseIn::Read(std::int16_t &value) { ReadValue<qint16>(*m_in, value); }
void QtBaseIn::Read(std::uint16_t &value) { ReadValue<quint16>(*m_in, value); }
void QtBaseIn::Read(std::int32_t &value) { ReadValue<qint32>(*m_in, value); }
void QtBaseIn::Read(std::uint32_t &value) { ReadValue<quint32>(*m_in, value); }
void QtBaseIn::Read(std::int64_t &value) { ReadValue<qint64>(*m_in, value); }
void QtBaseIn::Read(std::uint64_t &value) { ReadValue<quint64>(*m_in, value); }
void QtBaseIn::Read(double &value) { ReadValue<double>(*m_in, value); }
void QtBaseIn::Read(bool &value) { ReadValue<bool>(*m_in, value); }

void QtBaseIn::Read(float &value)
{
    // Read as an integer so the data stream's floating-point precision never applies.
    quint32 bits;
    ReadValue<quint32>(*m_in, bits);
    static_assert(sizeof bits == sizeof value, "float must be IEEE-754 single precision");
    std::memcpy(&value, &bits, sizeof value);
}

void QtBaseIn::SkipByReading(std::uint64_t count)
{
    char scratch[32];
    while (count > 0) {
        const auto chunk = static_cast<std::uint32_t>(std::min<std::uint64_t>(count, sizeof scratch));
        const int got = Read(static_cast<void *>(scratch), chunk);
        if (got < 0 || static_cast<std::uint32_t>(got) < chunk)
            return;
        count -= chunk;
    }
}

// ---- QtBaseOut ----

int QtBaseOut::Write(const void *buffer, std::uint32_t length)
{
    return Write(static_cast<const char *>(buffer), length);
}

int QtBaseOut::Write(const char *buffer, std::uint32_t length)
{
    return m_out->writeRawData(buffer, BlockLength(length));
}

int QtBaseOut::Write(const unsigned char *buffer, std::uint32_t length)
{
    return m_out->writeRawData(reinterpret_cast<const char *>(buffer), BlockLength(length));
}

void QtBaseOut::Write(char value)
{
    *m_out << static_cast<qint8>(value);
}

void QtBaseOut::Write(std::int8_t value)
{
    *m_out << static_cast<qint8>(value);
}

void QtBaseOut::Write(std::uint8_t value)
{
    *m_out << static_cast<quint8>(value);
}

void QtBaseOut::Write(std::int16_t value)
{
    *m_out << static_cast<qint16>(value);
}

void QtBaseOut::Write(std::uint16_t value)
{
    *m_out << static_cast<quint16>(value);
}

void QtBaseOut::Write(std::int32_t value)
{
    *m_out << static_cast<qint32>(value);
}

void QtBaseOut::Write(std::uint32_t value)
{
    *m_out << static_cast<quint32>(value);
}

void QtBaseOut::Write(std::int64_t value)
{
    *m_out << static_cast<qint64>(value);
}

void QtBaseOut::Write(std::uint64_t value)
{
    *m_out << static_cast<quint64>(value);
}

void QtBaseOut::Write(const double &value)
{
    *m_out << value;
}

void QtBaseOut::Write(const float &value)
{
    quint32 bits;
    static_assert(sizeof bits == sizeof value, "float must be IEEE-754 single precision");
    std::memcpy(&bits, &value, sizeof bits);
    *m_out << bits;
}

void QtBaseOut::Write(bool value)
{
    *m_out << value;
}

// ---- concrete streams ----

#define QVB_FORWARD_BASE_OPERATIONS(Class)                                                   \
    ByteObserver *Class::Observer() const { return m_stream.Observer(); }                     \
    std::uint64_t Class::Position() const { return m_stream.Position(); }                     \
    bool Class::Seek(std::uint64_t position) { return m_stream.Seek(position); }              \
    bool Class::IsOk() const { return m_stream.IsOk(); }                                      \
    bool Class::AtEnd() const { return m_stream.AtEnd(); }                                    \
    Stream::ByteOrder Class::SetByteOrder(Stream::ByteOrder order)                            \
    {                                                                                         \
        return m_stream.SetByteOrder(order);                                                  \
    }                                                                                         \
    Stream::ByteOrder Class::ByteOrder() const { return m_stream.ByteOrder(); }               \
    void Class::SetObserver(ByteObserver *observer) { m_stream.SetObserver(observer); }

QtIn::QtIn(QIODevice *device)
    : m_stream(device)
{
    SetInputStream(m_stream.Data());
}

QtIn::~QtIn() = default;

void QtIn::Skip(std::uint64_t count)
{
    SkipByReading(count);
}

QVB_FORWARD_BASE_OPERATIONS(QtIn)

QtOut::QtOut(QIODevice *device)
    : m_stream(device)
{
    SetOutputStream(m_stream.Data());
}

QtOut::~QtOut() = default;

void QtOut::Skip(std::uint64_t count)
{
    QDataStream *data = m_stream.Data();
    while (count > 0) {
        const int chunk = static_cast<int>(std::min<std::uint64_t>(count, INT_MAX));
        if (data->skipRawData(chunk) != chunk)
            return;
        count -= static_cast<std::uint64_t>(chunk);
    }
}

QVB_FORWARD_BASE_OPERATIONS(QtOut)

QtInOut::QtInOut(QIODevice *device)
    : m_stream(device)
{
    SetInputStream(m_stream.Data());
    SetOutputStream(m_stream.Data());
}

QtInOut::~QtInOut() = default;

void QtInOut::Skip(std::uint64_t count)
{
    SkipByReading(count);
}

QVB_FORWARD_BASE_OPERATIONS(QtInOut)

#undef QVB_FORWARD_BASE_OPERATIONS

} // namespace Stream
