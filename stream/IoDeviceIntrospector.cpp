#include "IoDeviceIntrospector.h"

#include "Stream.h"

namespace Stream {
namespace Internal {

namespace {
// Unbuffered, so the target's position is the only position there is and every byte
// reaches the observer exactly when the data stream asks for it.
constexpr QIODevice::OpenMode kMode = QIODevice::ReadWrite | QIODevice::Unbuffered;
} // namespace

IoDeviceIntrospector::IoDeviceIntrospector(QIODevice *target)
    : m_target(target)
{
    OpenOnTarget();
}

IoDeviceIntrospector::~IoDeviceIntrospector() = default;

void IoDeviceIntrospector::SetTarget(QIODevice *target)
{
    close();
    m_target = target;
    OpenOnTarget();
}

void IoDeviceIntrospector::OpenOnTarget()
{
    open(kMode);
    // QIODevice counts its own position from 0 and uses it when skipping; start it where
    // the target already is, since records are read from the device's current position.
    if (m_target && !isSequential())
        QIODevice::seek(m_target->pos());
}

bool IoDeviceIntrospector::isSequential() const
{
    return m_target ? m_target->isSequential() : true;
}

qint64 IoDeviceIntrospector::pos() const
{
    return m_target ? m_target->pos() : 0;
}

qint64 IoDeviceIntrospector::size() const
{
    return m_target ? m_target->size() : 0;
}

bool IoDeviceIntrospector::seek(qint64 position)
{
    if (!m_target || !m_target->seek(position))
        return false;
    // Keep QIODevice's own bookkeeping in step; it would otherwise try to move the
    // target back to where it last saw it.
    if (!isSequential())
        QIODevice::seek(position);
    return true;
}

bool IoDeviceIntrospector::atEnd() const
{
    return m_target ? m_target->atEnd() : true;
}

qint64 IoDeviceIntrospector::bytesAvailable() const
{
    return m_target ? m_target->bytesAvailable() : 0;
}

qint64 IoDeviceIntrospector::readData(char *data, qint64 maxSize)
{
    const qint64 count = m_target ? m_target->read(data, maxSize) : -1;
    // The observer is told the size asked for, not the size delivered.
    if (m_observer)
        m_observer->Observe(data, static_cast<std::uint64_t>(maxSize));
    return count;
}

qint64 IoDeviceIntrospector::writeData(const char *data, qint64 size)
{
    if (m_observer)
        m_observer->Observe(data, static_cast<std::uint64_t>(size));
    return m_target ? m_target->write(data, size) : -1;
}

} // namespace Internal
} // namespace Stream
