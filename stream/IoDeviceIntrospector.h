#pragma once
// Pass-through device that sits between a QDataStream and the caller's device so that an
// observer can see every byte read or written. Position, size and seeking are the target's.

#include <QIODevice>

namespace Stream {

class ByteObserver;

namespace Internal {

class IoDeviceIntrospector : public QIODevice
{
    Q_OBJECT

public:
    // Opens itself (read-write, unbuffered) at once; the target must already be open.
    explicit IoDeviceIntrospector(QIODevice *target);
    ~IoDeviceIntrospector() override;

    void SetTarget(QIODevice *target);
    QIODevice *Target() const { return m_target; }

    void SetObserver(ByteObserver *observer) { m_observer = observer; }
    ByteObserver *Observer() const { return m_observer; }

    bool isSequential() const override;
    qint64 pos() const override;
    qint64 size() const override;
    bool seek(qint64 position) override;
    bool atEnd() const override;
    qint64 bytesAvailable() const override;

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *data, qint64 size) override;

private:
    void OpenOnTarget();

    QIODevice *m_target;
    ByteObserver *m_observer = nullptr;
};

} // namespace Internal
} // namespace Stream
