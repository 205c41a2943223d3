// The binary stream layer: encodings, byte order, failure state, skipping, the byte
// observer and positions on Qt devices.

#include "QtStream.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <cstring>
#include <functional>
#include <unistd.h>
#include <vector>

namespace {

float FloatFromBits(quint32 bits)
{
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

class RecordingObserver : public Stream::ByteObserver
{
public:
    void Observe(const char *bytes, std::uint64_t length) override
    {
        lengths.push_back(length);
        seen.append(bytes, static_cast<int>(length));
    }
    std::vector<std::uint64_t> lengths;
    QByteArray seen;
};

// Writes the value through QtOut, compares the bytes, and reads it back bit for bit
// through QtIn (bit-exact, so float NaN payloads and -0.0 count).
template <typename T>
void CheckEncoding(T value, const QByteArray &hex)
{
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    {
        Stream::QtOut out(&buffer);
        out.Write(value);
        QVERIFY(out.IsOk());
    }
    QCOMPARE(buffer.data().toHex(), hex);
    buffer.close();
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    Stream::QtIn in(&buffer);
    T back{};
    in.Read(back);
    QVERIFY(in.IsOk() && in.AtEnd());
    QVERIFY(std::memcmp(&back, &value, sizeof value) == 0);
}

using Check = std::function<void()>;

} // namespace

Q_DECLARE_METATYPE(Check)

class TestStream : public QObject
{
    Q_OBJECT

private slots:
    void encodings_data()
    {
        QTest::addColumn<Check>("check");
        auto row = [](const char *name, Check check) { QTest::newRow(name) << check; };
        row("char", [] { CheckEncoding('A', "41"); });
        row("int8 -1", [] { CheckEncoding(std::int8_t(-1), "ff"); });
        row("uint8", [] { CheckEncoding(std::uint8_t(200), "c8"); });
        row("int16 -2", [] { CheckEncoding(std::int16_t(-2), "feff"); });
        row("uint16", [] { CheckEncoding(std::uint16_t(0x1234), "3412"); });
        row("int32 min", [] { CheckEncoding(std::int32_t(INT32_MIN), "00000080"); });
        row("uint32 2", [] { CheckEncoding(std::uint32_t(2), "02000000"); });
        row("int64 -2", [] { CheckEncoding(std::int64_t(-2), "feffffffffffffff"); });
        row("uint64", [] { CheckEncoding(std::uint64_t(0x0102030405060708ull), "0807060504030201"); });
        row("double -0.1", [] { CheckEncoding(-0.1, "9a9999999999b9bf"); });
        row("float 1.0", [] { CheckEncoding(1.0f, "0000803f"); });
        row("float denormal", [] { CheckEncoding(FloatFromBits(0x00000001u), "01000000"); });
        row("float NaN payload", [] { CheckEncoding(FloatFromBits(0x7fa00001u), "0100a07f"); });
        row("bool", [] { CheckEncoding(true, "01"); });
    }

    void encodings()
    {
        QFETCH(Check, check);
        check();
    }

    void byteOrderAppliesToBothDirections()
    {
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::ReadWrite));
        Stream::QtInOut io(&buffer);
        Stream::In &in = io;
        Stream::Out &out = io;
        QCOMPARE(in.ByteOrder(), Stream::LittleEndian); // whatever the host
        QCOMPARE(out.SetByteOrder(Stream::BigEndian), Stream::BigEndian);
        QCOMPARE(in.ByteOrder(), Stream::BigEndian);
        QCOMPARE(in.SetByteOrder(static_cast<Stream::ByteOrder>(5)), Stream::BigEndian);

        out.Write(std::uint32_t(2));
        out.Write(1.0f);
        QCOMPARE(buffer.data().toHex(), QByteArray("000000023f800000"));
        QCOMPARE(in.Position(), 8u);
        QVERIFY(in.Seek(0));
        std::uint32_t n = 0;
        in.Read(n);
        QCOMPARE(n, 2u);
        // One position serves both directions.
        QVERIFY(in.Seek(1));
        out.Write(std::uint8_t(0x55));
        QCOMPARE(in.Position(), 2u);
        QCOMPARE(buffer.data().left(4).toHex(), QByteArray("00550002"));
    }

    void failedReadsYieldZeroAndStayFailed()
    {
        QBuffer buffer;
        buffer.setData(QByteArray::fromHex("010203"));
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        Stream::QtIn in(&buffer);
        std::uint32_t wide = 77;
        in.Read(wide);
        QCOMPARE(wide, 0u);
        QVERIFY(!in.IsOk());
        // Moving back to data does not revive the stream: a record read whole never mixes
        // values from before and after a failure.
        buffer.seek(0);
        std::uint8_t narrow = 77;
        in.Read(narrow);
        QCOMPARE(narrow, 0u);
        char block[2];
        QCOMPARE(in.Read(block, 2u), -1);
    }

    void rawBlocksHaveNoLengthPrefix()
    {
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::ReadWrite));
        Stream::QtInOut io(&buffer);
        QCOMPARE(io.Write("abc", 3u), 3);
        const unsigned char more[] = {0x00, 0xff};
        QCOMPARE(io.Write(more, 2u), 2);
        QCOMPARE(io.Write(static_cast<const void *>("z"), 1u), 1);
        QCOMPARE(buffer.data(), QByteArray("abc\0\xff" "z", 6));
        QVERIFY(io.Seek(1));
        char text[8] = {};
        QCOMPARE(io.Read(static_cast<void *>(text), 8u), 5); // short read: what is there
        QCOMPARE(QByteArray(text, 5), QByteArray("bc\0\xff" "z", 5));
    }

    void skipReadsInBlocksAndStopsAtShortRead()
    {
        QBuffer buffer;
        buffer.setData(QByteArray(50, 'x'));
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        QVERIFY(buffer.seek(10)); // 40 bytes left
        RecordingObserver observer;
        Stream::QtIn in(&buffer);
        in.SetObserver(&observer);
        in.Skip(100);
        // 32 bytes, then a short read of 8 where 32 were asked for; then it stops.
        QCOMPARE(observer.lengths, (std::vector<std::uint64_t>{32, 32}));
        QCOMPARE(in.Position(), 50u);
        QVERIFY(!in.IsOk());
    }

    void skipOnPipeAndOnOutput()
    {
        // Input skips by reading, so a device that cannot seek works.
        int fds[2];
        QVERIFY(::pipe(fds) == 0);
        QByteArray data(40, 'a');
        data[34] = 'b';
        QCOMPARE(::write(fds[1], data.constData(), size_t(data.size())), ssize_t(40));
        ::close(fds[1]);
        QFile pipe;
        QVERIFY(pipe.open(fds[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
        RecordingObserver observer;
        Stream::QtIn in(&pipe);
        in.SetObserver(&observer);
        in.Skip(34);
        QCOMPARE(observer.lengths, (std::vector<std::uint64_t>{32, 2}));
        char next = 0;
        in.Read(next);
        QVERIFY(in.IsOk());
        QCOMPARE(next, 'b');

        // Output moves without writing.
        QBuffer buffer;
        buffer.setData(QByteArray(10, '-'));
        QVERIFY(buffer.open(QIODevice::ReadWrite));
        QVERIFY(buffer.seek(2));
        Stream::QtOut out(&buffer);
        out.Skip(4);
        out.Write(std::uint8_t('#'));
        QVERIFY(out.IsOk());
        QCOMPARE(buffer.data(), QByteArray("------#---"));
    }

    void observerSeesRequestedReadsAndWrittenBytes()
    {
        QBuffer buffer;
        buffer.setData("0123456789");
        QVERIFY(buffer.open(QIODevice::ReadWrite));
        QVERIFY(buffer.seek(6)); // 4 left
        RecordingObserver observer;
        {
            Stream::QtIn in(&buffer);
            in.SetObserver(&observer);
            char block[10];
            QCOMPARE(in.Read(block, 10u), 4);
            QCOMPARE(observer.lengths, (std::vector<std::uint64_t>{10}));
            in.SetObserver(nullptr);
            QVERIFY(in.Seek(0));
            in.Read(block, 2u);
            QCOMPARE(observer.lengths.size(), size_t(1));
        }
        observer.seen.clear();
        QBuffer written;
        QVERIFY(written.open(QIODevice::WriteOnly));
        Stream::QtOut out(&written);
        out.SetObserver(&observer);
        out.Write(std::uint16_t(0x0201));
        out.Write("xyz", 3u);
        QCOMPARE(observer.seen, QByteArray("\x01\x02xyz"));
        QCOMPARE(written.data(), observer.seen);
    }

    void positionsStartAtDeviceAndPassFourGiB()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QFile file(dir.filePath("sparse"));
        QVERIFY(file.open(QIODevice::ReadWrite));
        const qint64 far = (qint64(1) << 32) + 1000;
        QVERIFY(file.resize(far + 8)); // sparse: no real disk use
        QVERIFY(file.seek(far));
        Stream::QtInOut io(&file);
        QCOMPARE(io.Position(), std::uint64_t(far)); // the device's position, not 0
        io.Write(std::uint64_t(0x1122334455667788ull));
        QCOMPARE(io.Position(), std::uint64_t(far + 8));
        QVERIFY(io.Seek(std::uint64_t(far)));
        std::uint64_t back = 0;
        io.Read(back);
        QVERIFY(io.IsOk());
        QCOMPARE(back, 0x1122334455667788ull);
    }
};

QTEST_GUILESS_MAIN(TestStream)
#include "tst_stream.moc"
