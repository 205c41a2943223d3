// The binary stream layer over Qt devices.

#include "QtStream.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>
#include <QtTest>

#include <cstring>
#include <vector>

namespace {

struct RecordingObserver : Stream::ByteObserver
{
    void Observe(const char *bytes, std::uint64_t length) override
    {
        lengths.push_back(length);
        seen.append(bytes, int(length));
    }
    std::vector<std::uint64_t> lengths;
    QByteArray seen;
};

// The bytes written for the value, in hex, if they read back bit for bit.
template <typename T>
QByteArray RoundTrip(T value, Stream::ByteOrder order = Stream::LittleEndian)
{
    QBuffer buffer;
    buffer.open(QIODevice::ReadWrite);
    Stream::QtInOut io(&buffer);
    io.SetByteOrder(order);
    io.Write(value);
    T back{};
    io.Seek(0);
    io.Read(back);
    const bool same = io.IsOk() && io.AtEnd() && std::memcmp(&back, &value, sizeof value) == 0;
    return same ? buffer.data().toHex() : "differs when read back";
}

} // namespace

class TestStream : public QObject
{
    Q_OBJECT

private slots:
    // One line per encoding; little-endian on any host unless big-endian is asked for.
    void encodings()
    {
        const float nan = qFromLittleEndian<float>("\x01\x00\xa0\x7f"); // signalling
        QCOMPARE(RoundTrip(std::int8_t(-1)), QByteArray("ff"));
        QCOMPARE(RoundTrip(std::uint16_t(0x1234)), QByteArray("3412"));
        QCOMPARE(RoundTrip(std::int32_t(INT32_MIN)), QByteArray("00000080"));
        QCOMPARE(RoundTrip(std::uint64_t(0x0102030405060708ull)), QByteArray("0807060504030201"));
        QCOMPARE(RoundTrip(-0.1), QByteArray("9a9999999999b9bf"));
        QCOMPARE(RoundTrip(1.0f), QByteArray("0000803f"));
        QCOMPARE(RoundTrip(nan), QByteArray("0100a07f"));
        QCOMPARE(RoundTrip(true), QByteArray("01"));
        QCOMPARE(RoundTrip(std::uint32_t(2), Stream::BigEndian), QByteArray("00000002"));
        QCOMPARE(RoundTrip(1.0f, Stream::BigEndian), QByteArray("3f800000"));
        QCOMPARE(RoundTrip(std::uint16_t(0x1234), Stream::ByteOrder(5)), QByteArray("3412"));
    }

    // Input skips by reading in blocks of 32 and stops at a short read; the observer is told
    // the length asked for. A failed stream reads nothing more, even after a seek back, so a
    // record never mixes values from before and after the failure.
    void reading()
    {
        QBuffer buffer;
        buffer.setData(QByteArray(34, '-') + "0123456789");
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        RecordingObserver observer;
        Stream::QtIn in(&buffer);
        in.SetObserver(&observer);
        in.Skip(34);
        std::uint64_t wide = 0;
        in.Read(wide);
        QVERIFY(in.IsOk() && wide == 0x3736353433323130ull);
        in.Skip(100);
        QCOMPARE(observer.lengths, (std::vector<std::uint64_t>{32, 2, 8, 32}));
        QVERIFY(!in.IsOk() && in.Seek(34));
        std::uint8_t narrow = 77;
        in.Read(narrow);
        QCOMPARE(narrow, 0u);
        char block[2];
        QCOMPARE(in.Read(block, 2u), -1);
    }

    // Positions start at the device's own and pass 4 GiB; output skips without writing; raw
    // blocks carry no length; the observer sees exactly the bytes written.
    void writingPastFourGiB()
    {
        QTemporaryDir dir;
        QFile file(dir.filePath("sparse"));
        const std::uint64_t far = (std::uint64_t(1) << 32) + 1000;
        QVERIFY(file.open(QIODevice::ReadWrite) && file.write("--------") == 8);
        QVERIFY(file.resize(qint64(far + 8)) && file.seek(2)); // sparse: no real disk use
        RecordingObserver observer;
        Stream::QtOut out(&file);
        out.SetObserver(&observer);
        QCOMPARE(out.Position(), 2u);
        out.Skip(far - 2);
        out.Write(std::uint32_t(0x11223344));
        QCOMPARE(out.Write("ab\0", 3u), 3);
        QCOMPARE(out.Position(), far + 7);
        QCOMPARE(observer.seen, QByteArray("\x44\x33\x22\x11" "ab\0", 7));
        QVERIFY(file.seek(0));
        QCOMPARE(file.read(8), QByteArray("--------"));
        QVERIFY(file.seek(qint64(far)));
        QCOMPARE(file.read(8), observer.seen + '\0');
    }
};

QTEST_GUILESS_MAIN(TestStream)
#include "tst_stream.moc"
