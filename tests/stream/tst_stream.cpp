// The binary stream layer: encodings, byte order, failure state, skipping, the byte
// observer and positions on Qt devices.

#include "QtStream.h"

#include <QBuffer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <cstring>
#include <unistd.h>
#include <vector>

namespace {

QByteArray Hex(const char *hex)
{
    return QByteArray::fromHex(hex);
}

float FloatFromBits(quint32 bits)
{
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

quint32 BitsOfFloat(float f)
{
    quint32 bits;
    std::memcpy(&bits, &f, sizeof bits);
    return bits;
}

// Records what the stream passed through the device.
class RecordingObserver : public Stream::ByteObserver
{
public:
    void Observe(const char *bytes, std::uint64_t length) override
    {
        lengths.push_back(length);
        if (record)
            seen.append(bytes, static_cast<int>(length));
    }
    std::vector<std::uint64_t> lengths;
    QByteArray seen;
    bool record = false;
};

// A pipe already holding the given bytes, its writing end closed: a device that cannot seek.
bool OpenPipeWith(QFile &file, const QByteArray &data)
{
    int fds[2];
    if (::pipe(fds) != 0)
        return false;
    const bool written = ::write(fds[1], data.constData(), size_t(data.size())) == data.size();
    ::close(fds[1]);
    if (!written || !file.open(fds[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fds[0]);
        return false;
    }
    return true;
}

void WriteValue(Stream::Out &out, const QString &kind, const QVariant &value)
{
    if (kind == "char")
        out.Write(static_cast<char>(value.toInt()));
    else if (kind == "int8")
        out.Write(static_cast<std::int8_t>(value.toInt()));
    else if (kind == "uint8")
        out.Write(static_cast<std::uint8_t>(value.toUInt()));
    else if (kind == "int16")
        out.Write(static_cast<std::int16_t>(value.toInt()));
    else if (kind == "uint16")
        out.Write(static_cast<std::uint16_t>(value.toUInt()));
    else if (kind == "int32")
        out.Write(static_cast<std::int32_t>(value.toInt()));
    else if (kind == "uint32")
        out.Write(static_cast<std::uint32_t>(value.toUInt()));
    else if (kind == "int64")
        out.Write(static_cast<std::int64_t>(value.toLongLong()));
    else if (kind == "uint64")
        out.Write(static_cast<std::uint64_t>(value.toULongLong()));
    else if (kind == "double")
        out.Write(value.toDouble());
    else if (kind == "float")
        out.Write(FloatFromBits(value.toUInt()));
    else if (kind == "bool")
        out.Write(value.toBool());
    else
        QFAIL("unknown kind");
}

// Reads one value of the kind back, in the same form the table gives it.
QVariant ReadValue(Stream::In &in, const QString &kind)
{
    if (kind == "char") { char v; in.Read(v); return int(v); }
    if (kind == "int8") { std::int8_t v; in.Read(v); return int(v); }
    if (kind == "uint8") { std::uint8_t v; in.Read(v); return uint(v); }
    if (kind == "int16") { std::int16_t v; in.Read(v); return int(v); }
    if (kind == "uint16") { std::uint16_t v; in.Read(v); return uint(v); }
    if (kind == "int32") { std::int32_t v; in.Read(v); return int(v); }
    if (kind == "uint32") { std::uint32_t v; in.Read(v); return uint(v); }
    if (kind == "int64") { std::int64_t v; in.Read(v); return qlonglong(v); }
    if (kind == "uint64") { std::uint64_t v; in.Read(v); return qulonglong(v); }
    if (kind == "double") { double v; in.Read(v); return v; }
    if (kind == "float") { float v; in.Read(v); return uint(BitsOfFloat(v)); }
    if (kind == "bool") { bool v; in.Read(v); return v; }
    return {};
}

} // namespace

class TestStream : public QObject
{
    Q_OBJECT

private slots:
    void encodings_data();
    void encodings();
    void bigEndianAppliesToBothDirections();
    void unknownByteOrderChangesNothing();
    void readPastEndYieldsZeroAndStaysFailed();
    void rawBlocksHaveNoLengthPrefix();
    void rawReadOnUnreadableDeviceReportsError();
    void skipReadsInBlocksAndStopsAtShortRead();
    void skipWorksOnSequentialDevice();
    void skipOnOutputMovesWithoutWriting();
    void observerSeesRequestedSizeOnRead();
    void observerSeesWrittenBytes();
    void streamStartsAtDeviceCurrentPosition();
    void positionsBeyondFourGiB();
    void inOutSharesPositionAndOrder();
};

void TestStream::encodings_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("char") << "char" << QVariant(int('A')) << Hex("41");
    QTest::newRow("int8 negative") << "int8" << QVariant(-1) << Hex("ff");
    QTest::newRow("uint8") << "uint8" << QVariant(200u) << Hex("c8");
    QTest::newRow("int16 two's complement") << "int16" << QVariant(-2) << Hex("feff");
    QTest::newRow("uint16") << "uint16" << QVariant(0x1234u) << Hex("3412");
    QTest::newRow("int32 min") << "int32" << QVariant(int(0x80000000)) << Hex("00000080");
    QTest::newRow("uint32 2") << "uint32" << QVariant(2u) << Hex("02000000");
    QTest::newRow("uint32 pattern") << "uint32" << QVariant(0xdeadbeefu) << Hex("efbeadde");
    QTest::newRow("int64 -2") << "int64" << QVariant(qlonglong(-2)) << Hex("feffffffffffffff");
    QTest::newRow("uint64") << "uint64" << QVariant(qulonglong(0x0102030405060708ull))
                            << Hex("0807060504030201");
    QTest::newRow("double 1.0") << "double" << QVariant(1.0) << Hex("000000000000f03f");
    QTest::newRow("double -0.1") << "double" << QVariant(-0.1) << Hex("9a9999999999b9bf");
    // Floats travel as their bit pattern: every pattern survives, NaN payloads included.
    QTest::newRow("float 1.0") << "float" << QVariant(0x3f800000u) << Hex("0000803f");
    QTest::newRow("float -2.5") << "float" << QVariant(0xc0200000u) << Hex("000020c0");
    QTest::newRow("float -0.0") << "float" << QVariant(0x80000000u) << Hex("00000080");
    QTest::newRow("float denormal") << "float" << QVariant(0x00000001u) << Hex("01000000");
    QTest::newRow("float NaN payload") << "float" << QVariant(0x7fa00001u) << Hex("0100a07f");
    QTest::newRow("bool true") << "bool" << QVariant(true) << Hex("01");
    QTest::newRow("bool false") << "bool" << QVariant(false) << Hex("00");
}

void TestStream::encodings()
{
    QFETCH(QString, kind);
    QFETCH(QVariant, value);
    QFETCH(QByteArray, bytes);

    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    {
        Stream::QtOut out(&buffer);
        WriteValue(out, kind, value);
        QVERIFY(out.IsOk());
    }
    QCOMPARE(buffer.data().toHex(), bytes.toHex());

    buffer.close();
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    Stream::QtIn in(&buffer);
    const QVariant back = ReadValue(in, kind);
    QVERIFY(in.IsOk());
    QVERIFY(in.AtEnd());
    QCOMPARE(back, value);
}

void TestStream::bigEndianAppliesToBothDirections()
{
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    {
        Stream::QtOut out(&buffer);
        QCOMPARE(out.ByteOrder(), Stream::LittleEndian); // whatever the host
        QCOMPARE(out.SetByteOrder(Stream::BigEndian), Stream::BigEndian);
        QCOMPARE(int(out.ByteOrder()), 1);
        out.Write(std::uint32_t(2));
        out.Write(1.0f);
    }
    QCOMPARE(buffer.data().toHex(), QByteArray("000000023f800000"));

    buffer.close();
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    Stream::QtIn in(&buffer);
    in.SetByteOrder(Stream::BigEndian);
    std::uint32_t n = 0;
    float f = 0;
    in.Read(n);
    in.Read(f);
    QVERIFY(in.IsOk());
    QCOMPARE(n, 2u);
    QCOMPARE(f, 1.0f);
}

void TestStream::unknownByteOrderChangesNothing()
{
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::ReadWrite));
    Stream::QtIn in(&buffer);
    in.SetByteOrder(Stream::BigEndian);
    QCOMPARE(in.SetByteOrder(static_cast<Stream::ByteOrder>(5)), Stream::BigEndian);
    QCOMPARE(in.SetByteOrder(Stream::UnknownOrder), Stream::BigEndian);
    QCOMPARE(in.SetByteOrder(Stream::LittleEndian), Stream::LittleEndian);
}

void TestStream::readPastEndYieldsZeroAndStaysFailed()
{
    QBuffer buffer;
    buffer.setData(Hex("010203"));
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    Stream::QtIn in(&buffer);

    std::uint32_t wide = 77;
    in.Read(wide);
    QCOMPARE(wide, 0u);
    QVERIFY(!in.IsOk());

    // Further reads keep failing, even when the device is moved back to data: a record
    // read whole never mixes values from before and after a failure.
    buffer.seek(0);
    std::uint8_t narrow = 77;
    in.Read(narrow);
    QCOMPARE(narrow, 0u);
    QVERIFY(!in.IsOk());
    char block[2] = {'?', '?'};
    QCOMPARE(in.Read(block, 2u), -1);
}

void TestStream::rawBlocksHaveNoLengthPrefix()
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
    QCOMPARE(io.Read(text, 8u), 5); // short read: what is there
    QCOMPARE(QByteArray(text, 5), QByteArray("bc\0\xff" "z", 5));
}

void TestStream::rawReadOnUnreadableDeviceReportsError()
{
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    Stream::QtIn in(&buffer);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("WriteOnly device"));
    unsigned char block[4];
    QCOMPARE(in.Read(block, 4u), -1);
    QVERIFY(!in.IsOk());
}

void TestStream::skipReadsInBlocksAndStopsAtShortRead()
{
    QBuffer buffer;
    buffer.setData(QByteArray(50, 'x'));
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    QVERIFY(buffer.seek(10)); // 40 bytes left

    RecordingObserver observer;
    Stream::QtIn in(&buffer);
    in.SetObserver(&observer);
    QCOMPARE(in.Observer(), &observer);
    in.Skip(100);

    // 32 bytes, then a short read of 8 where 32 were asked for; then it stops.
    QCOMPARE(observer.lengths, (std::vector<std::uint64_t>{32, 32}));
    QVERIFY(buffer.atEnd());
    QCOMPARE(in.Position(), 50u);

    QVERIFY(!in.IsOk());

    QVERIFY(buffer.seek(0));
    Stream::QtIn again(&buffer);
    again.SetObserver(&observer);
    observer.lengths.clear();
    again.Skip(37);
    QCOMPARE(observer.lengths, (std::vector<std::uint64_t>{32, 5}));
    QCOMPARE(buffer.pos(), 37);
    QVERIFY(again.IsOk());
}

void TestStream::skipWorksOnSequentialDevice()
{
    QFile pipe;
    QVERIFY(OpenPipeWith(pipe, Hex("000102030405060708090a0b0c0d0e0f"
                                   "101112131415161718191a1b1c1d1e1f"
                                   "2021222324")));
    QVERIFY(pipe.isSequential());
    Stream::QtIn in(&pipe);
    in.Skip(34);
    std::uint8_t next = 0;
    in.Read(next);
    QVERIFY(in.IsOk());
    QCOMPARE(next, 0x22u);
}

void TestStream::skipOnOutputMovesWithoutWriting()
{
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

void TestStream::observerSeesRequestedSizeOnRead()
{
    QBuffer buffer;
    buffer.setData("0123456789");
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    QVERIFY(buffer.seek(6)); // 4 left

    RecordingObserver observer;
    Stream::QtIn in(&buffer);
    in.SetObserver(&observer);
    char block[10];
    QCOMPARE(in.Read(block, 10u), 4);
    QCOMPARE(observer.lengths, (std::vector<std::uint64_t>{10}));

    in.SetObserver(nullptr);
    QCOMPARE(in.Observer(), nullptr);
    QVERIFY(in.Seek(0));
    in.Read(block, 2u);
    QCOMPARE(observer.lengths.size(), size_t(1));
}

void TestStream::observerSeesWrittenBytes()
{
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    RecordingObserver observer;
    observer.record = true;
    Stream::QtOut out(&buffer);
    out.SetObserver(&observer);
    out.Write(std::uint16_t(0x0201));
    out.Write("xyz", 3u);
    QCOMPARE(observer.seen, buffer.data());
    QCOMPARE(observer.seen, QByteArray("\x01\x02xyz"));
}

void TestStream::streamStartsAtDeviceCurrentPosition()
{
    QBuffer buffer;
    buffer.setData(Hex("00112233445566778899"));
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    QVERIFY(buffer.seek(3));
    Stream::QtIn in(&buffer);
    QCOMPARE(in.Position(), 3u);
    std::uint16_t value = 0;
    in.Read(value);
    QCOMPARE(value, 0x4433u);
    QCOMPARE(in.Position(), 5u);
    in.Skip(3);
    in.Read(value);
    QCOMPARE(value, 0x9988u);
    QVERIFY(in.IsOk());
    QVERIFY(in.AtEnd());
}

void TestStream::positionsBeyondFourGiB()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QFile file(dir.filePath("sparse"));
    QVERIFY(file.open(QIODevice::ReadWrite));
    const qint64 far = (qint64(1) << 32) + 1000;
    QVERIFY(file.resize(far + 8)); // sparse: no real disk use

    Stream::QtInOut io(&file);
    QVERIFY(io.Seek(std::uint64_t(far)));
    QCOMPARE(io.Position(), std::uint64_t(far));
    io.Write(std::uint64_t(0x1122334455667788ull));
    QVERIFY(io.IsOk());
    QCOMPARE(io.Position(), std::uint64_t(far + 8));

    QVERIFY(io.Seek(std::uint64_t(far)));
    std::uint64_t back = 0;
    io.Read(back);
    QVERIFY(io.IsOk());
    QCOMPARE(back, 0x1122334455667788ull);
}

void TestStream::inOutSharesPositionAndOrder()
{
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::ReadWrite));
    Stream::QtInOut io(&buffer);
    Stream::In &in = io;
    Stream::Out &out = io;

    out.SetByteOrder(Stream::BigEndian);
    QCOMPARE(in.ByteOrder(), Stream::BigEndian);
    out.Write(std::uint32_t(0x01020304));
    QCOMPARE(in.Position(), 4u);
    QVERIFY(in.Seek(0));
    std::uint32_t back = 0;
    in.Read(back);
    QCOMPARE(back, 0x01020304u);
    QVERIFY(in.Seek(1));
    out.Write(std::uint8_t(0x55));
    QCOMPARE(buffer.data().toHex(), QByteArray("01550304"));
    QCOMPARE(in.Position(), 2u);
}

QTEST_GUILESS_MAIN(TestStream)
#include "tst_stream.moc"
