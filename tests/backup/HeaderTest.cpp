// Backup file header: the byte layout, the reading rules (prefix tests, date fallbacks,
// fixed-text trimming), bad input, writing and the check against the running display.
//
// Dates are local time; the tests run with TZ=UTC so the expected seconds are fixed.

#include "BackupTests.h"

#include "DataFileHeader.h"
#include "FileHeader.h"
#include "FixedText.h"
#include "QtStream.h"
#include "TestSupport.h"

#include <QBuffer>
#include <QDateTime>
#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdlib>
#include <ctime>
#include <memory>
#include <stdexcept>

namespace {

const QByteArray kBackupType = "Embedded Display Data Backup";
const QByteArray kDate = "07142013093005PM";
const qint64 kDateSeconds = 1373837405; // 2013-07-14 21:30:05 UTC

QByteArray Field(const QByteArray &text, int width, char pad = ' ')
{
    QByteArray field = text.left(width);
    field.append(QByteArray(width - field.size(), pad));
    return field;
}

QByteArray U32(quint32 value)
{
    QByteArray bytes;
    for (int i = 0; i < 4; ++i)
        bytes.append(char((value >> (8 * i)) & 0xFF));
    return bytes;
}

QByteArray CommonPart(const QByteArray &versionText, const QByteArray &typeName = kBackupType,
                      const QByteArray &date = kDate,
                      const QByteArray &company = "NORTHFIELD TERMINALS  ")
{
    return Field(company, 22) + Field(versionText, 10) + Field("", 32)
        + Field("NORTHFIELD TERMINALS, INC.", 32) + Field(typeName, 32) + Field(date, 16);
}

QByteArray Version2Fields(char contentKind = 0x02, const QByteArray &checksum = QByteArray(16, '\xFF'))
{
    return QByteArray(3, '\xFF') + QByteArray(1, contentKind) + checksum;
}

QByteArray Version1Trailer(char contentKind = 0x01)
{
    return QByteArray(1, '\x7A') + QByteArray(1, '\x7B') + QByteArray(1, contentKind)
        + QByteArray(1, '\x7C');
}

QByteArray Identity(const QByteArray &product = "Talon 7", quint32 code = 7700,
                    const QByteArray &variant = "Standard", quint32 minimum = 0x05020000)
{
    return Field(product, 16) + U32(code) + Field(variant, 16) + U32(minimum);
}

// A complete version-2 header as the layout table gives it, with a one-byte body.
QByteArray Version2Backup(const QByteArray &checksum = QByteArray(16, '\xFF'))
{
    return CommonPart("0000000002") + Version2Fields(0x02, checksum) + Identity() + "B";
}

void FillIdentity(Backup::FileHeader &header)
{
    header.SetProduct("Talon 7");
    header.SetProductCode(7700);
    header.SetVariant("Standard");
    header.SetMinimumSoftwareVersion(0x05020000);
}

std::vector<std::uint8_t> Bytes(const QByteArray &data)
{
    return std::vector<std::uint8_t>(data.begin(), data.end());
}

QByteArray FromBytes(const std::vector<std::uint8_t> &bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), int(bytes.size()));
}

} // namespace

class TestHeader : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    // fixed-width texts
    void fixedTextSetting_data();
    void fixedTextSetting();
    void fixedTextPadding();
    void fixedTextReadingStopsAtNulAndKeepsWidth();

    // the common record
    void fileTypeLookup_data();
    void fileTypeLookup();
    void fileTypeTableRoundTrip();
    void writtenDateText();

    // layout of a written backup header
    void writtenLayout_data();
    void writtenLayout();
    void writtenHeaderSizeAndDate();
    void writtenHeaderReadsBack();
    void version1BuiltByteByByte();
    void writeWithDigestAndOlderLayout();

    // reading rules
    void versionText_data();
    void versionText();
    void dateParsing_data();
    void dateParsing();
    void digestTrimming_data();
    void digestTrimming();
    void companyPrefix_data();
    void companyPrefix();
    void readsFromCurrentPosition();

    // bad input
    void truncated_data();
    void truncated();
    void randomBytes();
    void notRegularFile();
    void unknownVersion();
    void version1ContentKindMustBeOne();
    void version2ContentKindZeroEscapes();

    // writing refusals
    void missingIdentityWritesNothing_data();
    void missingIdentityWritesNothing();
    void unwritablePathIsPassedOver();

    // check against the running display
    void check_data();
    void check();
    void checkKeepsFailedReadStatus();

private:
    Backup::FileHeader::Status ReadBytes(const QByteArray &bytes, Backup::FileHeader &header);
    QString Path(const QString &name) const { return m_dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestHeader::initTestCase()
{
    qputenv("TZ", "UTC");
    tzset();
}

void TestHeader::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

Backup::FileHeader::Status TestHeader::ReadBytes(const QByteArray &bytes, Backup::FileHeader &header)
{
    const QString path = Path("backup.bin");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
    file.close();
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot open %s", qPrintable(path));
    return Backup::ReadFileHeader(header, &file);
}

// ---- fixed-width texts ----

void TestHeader::fixedTextSetting_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("value");

    QTest::newRow("short") << QByteArray("abc") << QByteArray("abc");
    QTest::newRow("cut at width") << QByteArray("abcdefghij") << QByteArray("abcdef");
    QTest::newRow("trailing pad removed") << QByteArray("ab  ") << QByteArray("ab");
    QTest::newRow("leading pad kept") << QByteArray("  ab") << QByteArray("  ab");
    QTest::newRow("pad after cut removed") << QByteArray("abcd  zz") << QByteArray("abcd");
    QTest::newRow("NUL ends the value") << QByteArray("ab\0cd", 5) << QByteArray("ab");
    QTest::newRow("only pad") << QByteArray("      ") << QByteArray();
}

void TestHeader::fixedTextSetting()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, value);

    FixedText<6, ' '> fromString;
    fromString.Set(input.toStdString());
    QCOMPARE(QByteArray::fromStdString(fromString.Value()), value);

    FixedText<6, ' '> fromChars;
    fromChars.Set(input.constData());
    QCOMPARE(QByteArray::fromStdString(fromChars.Value()), value);

    char copy[8];
    QCOMPARE(fromChars.CopyTo(copy, sizeof copy), size_t(value.size()));
    QCOMPARE(QByteArray(copy), value);
}

void TestHeader::fixedTextPadding()
{
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    {
        Stream::QtOut out(&buffer);
        FixedText<5, ' '>("ab").Write(out);
        FixedText<40, '\0'>("xyz").Write(out); // NUL padding goes out in blocks
        FixedText<4, '\xFF'>("\x01").Write(out);
        FixedText<3, '\xFF'>().Write(out);
    }
    const QByteArray expected = QByteArray("ab   ") + QByteArray("xyz") + QByteArray(37, '\0')
        + QByteArray("\x01\xFF\xFF\xFF") + QByteArray(3, '\xFF');
    QCOMPARE(buffer.data().toHex(), expected.toHex());
}

void TestHeader::fixedTextReadingStopsAtNulAndKeepsWidth()
{
    QBuffer buffer;
    buffer.setData(QByteArray("ab\0garbag", 9) + QByteArray("cd  \0zzz", 8) + "next");
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    Stream::QtIn in(&buffer);

    FixedText<9, ' '> first;
    first.Read(in);
    QCOMPARE(QByteArray::fromStdString(first.Value()), QByteArray("ab"));
    QCOMPARE(buffer.pos(), 9);

    FixedText<8, ' '> second; // blanks before the NUL are trailing pad
    second.Read(in);
    QCOMPARE(QByteArray::fromStdString(second.Value()), QByteArray("cd"));
    QCOMPARE(buffer.pos(), 17);

    FixedText<4, ' '> third;
    third.Read(in);
    QCOMPARE(QByteArray::fromStdString(third.Value()), QByteArray("next"));
    QVERIFY(in.IsOk());
}

// ---- the common record ----

void TestHeader::fileTypeLookup_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("index");

    QTest::newRow("exact") << kBackupType << 24;
    QTest::newRow("longer name wins over its prefix row") << QByteArray("Mark Log File 2") << 18;
    QTest::newRow("shorter name takes first row it begins") << QByteArray("Mark Log File") << 13;
    QTest::newRow("prefix of a row") << QByteArray("Embedded") << 24;
    QTest::newRow("first of two rows with the prefix") << QByteArray("RM7700 T") << 2;
    QTest::newRow("narrowed to the later row") << QByteArray("RM7700 TE") << 4;
    QTest::newRow("empty matches row 0") << QByteArray() << 0;
    QTest::newRow("longer than any row") << QByteArray("Embedded Display Data Backup X") << -1;
    QTest::newRow("case matters") << QByteArray("yld file") << -1;
    QTest::newRow("unknown") << QByteArray("Harvest Summary") << -1;
    QTest::newRow("last row") << QByteArray("File Collection Interchange") << 29;
}

void TestHeader::fileTypeLookup()
{
    QFETCH(QByteArray, name);
    QFETCH(int, index);

    QCOMPARE(DataFileHeader::LookUpFileType(name.toStdString()), index);

    DataFileHeader record;
    record.SetFileTypeName(name.toStdString());
    QCOMPARE(record.FileType(), index);
    QCOMPARE(QByteArray::fromStdString(record.FileTypeName()), name.left(32));

    // Reading applies the same rule to the name in the file.
    Backup::FileHeader header;
    ReadBytes(CommonPart("0000000001", name), header);
    QCOMPARE(header.Record().FileType(), index);
}

void TestHeader::fileTypeTableRoundTrip()
{
    int named = 0;
    for (int index = 0; index < DataFileHeader::FileTypeCount; ++index) {
        const std::string name = DataFileHeader::FileTypeTableName(index);
        if (name.empty())
            continue;
        ++named;
        DataFileHeader record;
        record.SetFileType(index);
        QCOMPARE(record.FileTypeName(), name);
        QVERIFY(record.IsFileType(index));
        QCOMPARE(DataFileHeader::LookUpFileType(name), index);
    }
    QCOMPARE(named, 29);
    QCOMPARE(DataFileHeader::FileTypeTableName(30), nullptr);
    QCOMPARE(DataFileHeader::FileTypeTableName(-1), nullptr);

    // Outside the table nothing changes; -1 clears.
    DataFileHeader record(8);
    record.SetFileType(30);
    record.SetFileType(-2);
    QCOMPARE(record.FileType(), 8);
    QCOMPARE(QByteArray::fromStdString(record.FileTypeName()), QByteArray("FIRMWARE II"));
    record.SetFileType(-1);
    QCOMPARE(record.FileType(), -1);
    QVERIFY(record.FileTypeName().empty());
}

void TestHeader::writtenDateText()
{
    struct Case { std::time_t seconds; const char *text; };
    const Case cases[] = {
        {kDateSeconds, "07142013093005PM"},
        {1373761805, "07142013123005AM"}, // half past midnight
        {1373805005, "07142013123005PM"}, // half past noon
        {2209086245, "01022040030405AM"}, // past 2038
    };
    for (const Case &c : cases) {
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::WriteOnly));
        DataFileHeader record(24);
        record.SetTimestamp(c.seconds);
        Stream::QtOut out(&buffer);
        record.Write(out);
        QCOMPARE(QByteArray::fromStdString(record.DateText()), QByteArray(c.text));
        QCOMPARE(buffer.data().mid(128, 16), QByteArray(c.text));
        QCOMPARE(buffer.data().size(), 144); // version 1: common part only
    }
}

// ---- layout of a written backup header ----

void TestHeader::writtenLayout_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("company") << 0 << QByteArray("NORTHFIELD TERMINALS  ");
    QTest::newRow("version text") << 22 << QByteArray("0000000002");
    QTest::newRow("application, empty") << 32 << QByteArray(32, ' ');
    QTest::newRow("manufacturer") << 64 << Field("NORTHFIELD TERMINALS, INC.", 32);
    QTest::newRow("file type name") << 96 << QByteArray("Embedded Display Data Backup    ");
    QTest::newRow("reserved") << 144 << QByteArray(3, '\xFF');
    QTest::newRow("content kind") << 147 << QByteArray("\x02");
    QTest::newRow("checksum, none") << 148 << QByteArray(16, '\xFF');
    QTest::newRow("product") << 164 << QByteArray("Talon 7         ");
    QTest::newRow("product code") << 180 << QByteArray::fromHex("141e0000");
    QTest::newRow("variant") << 184 << QByteArray("Standard        ");
    QTest::newRow("minimum software version") << 200 << QByteArray::fromHex("00000205");
}

void TestHeader::writtenLayout()
{
    QFETCH(int, offset);
    QFETCH(QByteArray, bytes);

    Backup::FileHeader header;
    FillIdentity(header);
    header.WriteFileHeader(Path("out.qvb"));
    QCOMPARE(header.GetStatus(), Backup::FileHeader::Ok);
    const QByteArray written = TestSupport::ReadFile(Path("out.qvb"));
    QCOMPARE(written.mid(offset, bytes.size()).toHex(' '), bytes.toHex(' '));
}

void TestHeader::writtenHeaderSizeAndDate()
{
    Backup::FileHeader header;
    FillIdentity(header);
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    header.WriteFileHeader(Path("out.qvb"));
    const qint64 after = QDateTime::currentSecsSinceEpoch();
    const QByteArray written = TestSupport::ReadFile(Path("out.qvb"));
    QCOMPARE(written.size(), 204);

    // The date is the time of writing, local time (UTC here), to the second.
    const QByteArray date = written.mid(128, 16);
    QVERIFY2(QRegularExpression("^\\d{14}(AM|PM)$").match(QString::fromLatin1(date)).hasMatch(),
             date.constData());
    QDateTime when = QDateTime::fromString(QString::fromLatin1(date), "MMddyyyyhhmmssAP");
    QVERIFY2(when.isValid(), date.constData());
    when.setTimeSpec(Qt::UTC);
    QVERIFY(when.toSecsSinceEpoch() >= before && when.toSecsSinceEpoch() <= after);
}

void TestHeader::writtenHeaderReadsBack()
{
    Backup::FileHeader written;
    FillIdentity(written);
    written.WriteFileHeader(Path("out.qvb"));
    const QByteArray bytes = TestSupport::ReadFile(Path("out.qvb"));

    Backup::FileHeader header;
    // Nothing after the header: no body, which counts as a stream error.
    QCOMPARE(ReadBytes(bytes, header), Backup::FileHeader::StreamError);
    QCOMPARE(header.HeaderLength(), 204u);

    Backup::FileHeader withBody;
    QCOMPARE(ReadBytes(bytes + "x", withBody), Backup::FileHeader::Ok);
    QCOMPARE(withBody.HeaderVersion(), 2);
    QCOMPARE(withBody.Record().FileType(), 24);
    QCOMPARE(withBody.ContentKind(), std::uint8_t(2));
    QCOMPARE(withBody.HeaderLength(), 204u);
    QVERIFY(withBody.Checksum().empty()); // sixteen 0xFF are all trailing pad
    QCOMPARE(QByteArray::fromStdString(withBody.Product()), QByteArray("Talon 7"));
    QCOMPARE(withBody.ProductCode(), 7700u);
    QCOMPARE(QByteArray::fromStdString(withBody.Variant()), QByteArray("Standard"));
    QCOMPARE(withBody.MinimumSoftwareVersion(), 0x05020000u);
    QVERIFY(withBody.Record().IsValid());
    QVERIFY(qAbs(qint64(withBody.Record().Timestamp()) - QDateTime::currentSecsSinceEpoch()) < 5);
}

void TestHeader::version1BuiltByteByByte()
{
    QByteArray bytes;
    bytes += "NORTHFIELD TERMINALS  ";
    bytes += "0000000001";
    bytes += Field("Yield Monitor", 32);
    bytes += Field("NORTHFIELD TERMINALS, INC.", 32);
    bytes += Field("Embedded Display Data Backup", 32);
    bytes += "07142013093005PM";
    QCOMPARE(bytes.size(), 144);
    bytes += '\x11';
    bytes += '\x22';
    bytes += '\x01'; // content kind
    bytes += '\x33';
    bytes += Field("Talon 5", 16);
    bytes += QByteArray::fromHex("d2040000"); // 1234
    bytes += Field("Export", 16);
    bytes += QByteArray::fromHex("07010305"); // 5.3.1.7
    QCOMPARE(bytes.size(), 188);
    bytes += QByteArray::fromHex("1f8b0800"); // body

    Backup::FileHeader header;
    QCOMPARE(ReadBytes(bytes, header), Backup::FileHeader::Ok);
    QCOMPARE(header.HeaderVersion(), 1);
    QCOMPARE(header.HeaderLength(), 188u);
    QCOMPARE(header.ContentKind(), std::uint8_t(1));
    QCOMPARE(header.Record().FileType(), 24);
    QCOMPARE(QByteArray::fromStdString(header.Record().Application()), QByteArray("Yield Monitor"));
    QCOMPARE(qint64(header.Record().Timestamp()), kDateSeconds);
    QVERIFY(header.Record().IsValid());
    QVERIFY(header.Checksum().empty());
    QCOMPARE(QByteArray::fromStdString(header.Product()), QByteArray("Talon 5"));
    QCOMPARE(header.ProductCode(), 1234u);
    QCOMPARE(QByteArray::fromStdString(header.Variant()), QByteArray("Export"));
    QCOMPARE(header.MinimumSoftwareVersion(), 0x05030107u);
}

void TestHeader::writeWithDigestAndOlderLayout()
{
    Backup::FileHeader header;
    FillIdentity(header);

    const QByteArray digest = QByteArray::fromHex("d41d8cd98f00b204e9800998ecf8427e");
    DataFileHeader record = Backup::FileHeader::NewBackupRecord(2);
    record.SetChecksum(Bytes(digest));
    record.SetTimestamp(kDateSeconds);
    QBuffer v2;
    QVERIFY(v2.open(QIODevice::WriteOnly));
    QCOMPARE(header.WriteFileHeader(&v2, record), Backup::FileHeader::Ok);
    QCOMPARE(v2.data(), CommonPart("0000000002") + Version2Fields(0x02, digest.left(5) + QByteArray(11, '\xFF')) + Identity());

    DataFileHeader old = Backup::FileHeader::NewBackupRecord(1);
    old.SetTimestamp(kDateSeconds);
    QBuffer v1;
    QVERIFY(v1.open(QIODevice::WriteOnly));
    QCOMPARE(header.WriteFileHeader(&v1, old), Backup::FileHeader::Ok);
    QCOMPARE(v1.data().size(), 188);
    QCOMPARE(v1.data().mid(144, 4).toHex(), QByteArray("00000100"));
    Backup::FileHeader back;
    QCOMPARE(ReadBytes(v1.data() + "body", back), Backup::FileHeader::Ok);
    QCOMPARE(back.HeaderLength(), 188u);

    QBuffer v3;
    QVERIFY(v3.open(QIODevice::WriteOnly));
    QCOMPARE(header.WriteFileHeader(&v3, Backup::FileHeader::NewBackupRecord(3)),
             Backup::FileHeader::StreamError);
    QCOMPARE(v3.data().size(), 0);
}

// ---- reading rules ----

void TestHeader::versionText_data()
{
    QTest::addColumn<QByteArray>("versionText");
    QTest::addColumn<QByteArray>("rest");
    QTest::addColumn<int>("version");
    QTest::addColumn<uint>("headerLength");

    const QByteArray v1Rest = Version1Trailer() + Identity() + "b";
    const QByteArray v2Rest = Version2Fields() + Identity() + "b";
    QTest::newRow("version 1") << QByteArray("0000000001") << v1Rest << 1 << 188u;
    QTest::newRow("version 2") << QByteArray("0000000002") << v2Rest << 2 << 204u;
    QTest::newRow("trailing junk still counts") << QByteArray("2x") << v2Rest << 2 << 204u;
    QTest::newRow("leading blanks") << QByteArray("  1") << v1Rest << 1 << 188u;
    QTest::newRow("not a number") << QByteArray("abc") << v2Rest << 0 << 0u;
    QTest::newRow("empty") << QByteArray() << v2Rest << 0 << 0u;
    QTest::newRow("NUL-ended") << QByteArray("2\0zzzz", 6) << v2Rest << 2 << 204u;
}

void TestHeader::versionText()
{
    QFETCH(QByteArray, versionText);
    QFETCH(QByteArray, rest);
    QFETCH(int, version);
    QFETCH(uint, headerLength);

    Backup::FileHeader header;
    ReadBytes(CommonPart(versionText) + rest, header);
    QCOMPARE(header.HeaderVersion(), version);
    QCOMPARE(header.HeaderLength(), headerLength);
    QVERIFY(header.Record().IsValid()); // a malformed version text alone does not count
    if (version == 2) {
        QCOMPARE(header.ContentKind(), std::uint8_t(2));
        QCOMPARE(header.GetStatus(), Backup::FileHeader::Ok);
    }
}

void TestHeader::dateParsing_data()
{
    QTest::addColumn<QByteArray>("date");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<qint64>("seconds"); // -1: left alone

    QTest::newRow("with PM") << kDate << true << kDateSeconds;
    QTest::newRow("with AM") << QByteArray("07142013093005AM") << true << qint64(1373794205);
    QTest::newRow("12 AM is midnight") << QByteArray("07142013123005AM") << true << qint64(1373761805);
    QTest::newRow("12 PM is noon") << QByteArray("07142013123005PM") << true << qint64(1373805005);
    QTest::newRow("no marker: second format") << QByteArray("07142013093005") << true << qint64(1373794205);
    QTest::newRow("bad marker: second format") << QByteArray("07142013093005XM") << true << qint64(1373794205);
    QTest::newRow("month 13") << QByteArray("13142013093005PM") << false << qint64(-1);
    QTest::newRow("fresh text 0") << QByteArray("0") << false << qint64(-1);
    QTest::newRow("empty") << QByteArray() << false << qint64(-1);
    QTest::newRow("words") << QByteArray("yesterday") << false << qint64(-1);
}

void TestHeader::dateParsing()
{
    QFETCH(QByteArray, date);
    QFETCH(bool, valid);
    QFETCH(qint64, seconds);

    Backup::FileHeader v1;
    ReadBytes(CommonPart("0000000001", kBackupType, date) + Version1Trailer() + Identity() + "b", v1);
    QCOMPARE(v1.Record().IsValid(), valid);
    QCOMPARE(qint64(v1.Record().Timestamp()), seconds < 0 ? 0 : seconds);
    QCOMPARE(v1.GetStatus(), Backup::FileHeader::Ok); // the date does not decide the status

    // Version 2 reads more fields after the date, each setting the header valid again.
    Backup::FileHeader v2;
    ReadBytes(CommonPart("0000000002", kBackupType, date) + Version2Fields() + Identity() + "b", v2);
    QVERIFY(v2.Record().IsValid());
    QCOMPARE(qint64(v2.Record().Timestamp()), seconds < 0 ? 0 : seconds);
}

void TestHeader::digestTrimming_data()
{
    QTest::addColumn<QByteArray>("stored");   // the 16 bytes in the file
    QTest::addColumn<QByteArray>("readBack");

    const QByteArray full = QByteArray::fromHex("0123456789abcdeffedcba9876543210");
    QTest::newRow("whole digest") << full << full;
    QTest::newRow("fifth byte 0x00") << QByteArray::fromHex("01234567008bcdeffedcba9876543210")
                                      << QByteArray::fromHex("01234567");
    QTest::newRow("first byte 0x00") << QByteArray::fromHex("00234567898bcdeffedcba9876543210")
                                      << QByteArray();
    QTest::newRow("ends in ff ff") << QByteArray::fromHex("0123456789abcdeffedcba987654ffff")
                                    << QByteArray::fromHex("0123456789abcdeffedcba987654");
    QTest::newRow("ff inside kept") << QByteArray::fromHex("01ff456789abcdeffedcba98765432ff")
                                     << QByteArray::fromHex("01ff456789abcdeffedcba98765432");
    QTest::newRow("all ff") << QByteArray(16, '\xFF') << QByteArray();
    QTest::newRow("ff then 00") << QByteArray::fromHex("0123ffff00abcdeffedcba9876543210")
                                 << QByteArray::fromHex("0123");
}

void TestHeader::digestTrimming()
{
    QFETCH(QByteArray, stored);
    QFETCH(QByteArray, readBack);

    Backup::FileHeader header;
    QCOMPARE(ReadBytes(Version2Backup(stored), header), Backup::FileHeader::Ok);
    QCOMPARE(FromBytes(header.Checksum()).toHex(), readBack.toHex());
    QCOMPARE(QByteArray::fromStdString(header.Product()), QByteArray("Talon 7")); // in step

    unsigned char copy[16];
    QCOMPARE(header.Record().Checksum(copy), size_t(readBack.size()));
    QCOMPARE(QByteArray(reinterpret_cast<char *>(copy), readBack.size()), readBack);

    // Setting a digest follows the same rule.
    DataFileHeader record;
    record.SetChecksum(Bytes(stored));
    QCOMPARE(FromBytes(record.Checksum()).toHex(), readBack.toHex());
    DataFileHeader fromArray;
    fromArray.SetChecksum(reinterpret_cast<const unsigned char *>(stored.constData()));
    QCOMPARE(FromBytes(fromArray.Checksum()).toHex(), readBack.toHex());
}

void TestHeader::companyPrefix_data()
{
    QTest::addColumn<QByteArray>("company");
    QTest::addColumn<bool>("recognised");

    QTest::newRow("mark with blanks") << QByteArray("NORTHFIELD TERMINALS  ") << true;
    QTest::newRow("22 NUL bytes: empty prefix") << QByteArray(22, '\0') << true;
    QTest::newRow("NUL-ended prefix") << QByteArray("NORTH\0xxxxxxxxxxxxxxxx", 22) << true;
    QTest::newRow("other maker") << QByteArray("SOUTHFIELD TERMINALS  ") << false;
    QTest::newRow("lower case") << QByteArray("northfield terminals  ") << false;
    QTest::newRow("mark then junk") << QByteArray("NORTHFIELD TERMINALSxx") << false;
}

void TestHeader::companyPrefix()
{
    QFETCH(QByteArray, company);
    QFETCH(bool, recognised);

    const QByteArray bytes = CommonPart("0000000002", kBackupType, kDate, company)
        + Version2Fields() + Identity() + "b";
    Backup::FileHeader header;
    if (recognised) {
        QCOMPARE(ReadBytes(bytes, header), Backup::FileHeader::Ok);
        QCOMPARE(header.HeaderLength(), 204u);
    } else {
        // Nothing after the company field is read.
        QCOMPARE(ReadBytes(bytes, header), Backup::FileHeader::NotABackup);
        QCOMPARE(header.Record().FileType(), -1);
        QCOMPARE(header.HeaderLength(), 0u);
        QVERIFY(!header.Record().IsValid());
        QCOMPARE(header.HeaderVersion(), 1);
    }
}

void TestHeader::readsFromCurrentPosition()
{
    QBuffer buffer;
    buffer.setData(QByteArray("prefix") + Version2Backup());
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    QVERIFY(buffer.seek(6));
    Backup::FileHeader header;
    QCOMPARE(Backup::ReadFileHeader(header, &buffer), Backup::FileHeader::Ok);
    QCOMPARE(buffer.pos(), 6 + 204);
}

// ---- bad input ----

void TestHeader::truncated_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("status");
    QTest::addColumn<uint>("headerLength");

    // Ends before the file-type name: the empty name is row 0, not a backup.
    QTest::newRow("empty file") << 0 << int(Backup::FileHeader::NotABackup) << 0u;
    QTest::newRow("inside company") << 10 << int(Backup::FileHeader::NotABackup) << 0u;
    QTest::newRow("before file type") << 96 << int(Backup::FileHeader::NotABackup) << 0u;
    // A partial name is still a prefix of the backup row.
    QTest::newRow("inside file type") << 100 << int(Backup::FileHeader::StreamError) << 204u;
    QTest::newRow("inside date") << 130 << int(Backup::FileHeader::StreamError) << 204u;
    QTest::newRow("before content kind") << 146 << int(Backup::FileHeader::StreamError) << 204u;
    QTest::newRow("inside checksum") << 150 << int(Backup::FileHeader::StreamError) << 204u;
    QTest::newRow("inside identity") << 190 << int(Backup::FileHeader::StreamError) << 204u;
    QTest::newRow("one byte short") << 203 << int(Backup::FileHeader::StreamError) << 204u;
    QTest::newRow("header, no body") << 204 << int(Backup::FileHeader::StreamError) << 204u;
    QTest::newRow("one byte of body") << 205 << int(Backup::FileHeader::Ok) << 204u;
}

void TestHeader::truncated()
{
    QFETCH(int, length);
    QFETCH(int, status);
    QFETCH(uint, headerLength);

    Backup::FileHeader header;
    QCOMPARE(int(ReadBytes(Version2Backup().left(length), header)), status);
    QCOMPARE(header.HeaderLength(), headerLength);
}

void TestHeader::randomBytes()
{
    for (quint32 seed = 1; seed <= 50; ++seed) {
        QRandomGenerator random(seed);
        QByteArray bytes(4096, Qt::Uninitialized);
        random.fillRange(reinterpret_cast<quint32 *>(bytes.data()), bytes.size() / 4);
        Backup::FileHeader header;
        QCOMPARE(ReadBytes(bytes, header), Backup::FileHeader::NotABackup);
        QCOMPARE(header.HeaderLength(), 0u);
    }
}

void TestHeader::notRegularFile()
{
    // The restore driver reads the header even when the file did not open.
    QFile directory(m_dir->path());
    directory.open(QIODevice::ReadOnly);
    Backup::FileHeader header;
    QCOMPARE(Backup::ReadFileHeader(header, &directory), Backup::FileHeader::NotABackup);
    QCOMPARE(header.HeaderLength(), 0u);

    QFile missing(Path("missing.qvb"));
    QVERIFY(!missing.open(QIODevice::ReadOnly));
    Backup::FileHeader none;
    QCOMPARE(Backup::ReadFileHeader(none, &missing), Backup::FileHeader::NotABackup);
    QCOMPARE(none.HeaderLength(), 0u);
}

void TestHeader::unknownVersion()
{
    // Version 3 has no fields of its own: the identity follows the date, the content kind
    // is the fresh blank and the header length is left as it was.
    Backup::FileHeader header;
    QCOMPARE(ReadBytes(CommonPart("0000000003") + Identity("Talon 9") + "b", header),
             Backup::FileHeader::Ok);
    QCOMPARE(header.HeaderVersion(), 3);
    QCOMPARE(header.HeaderLength(), 0u);
    QCOMPARE(header.ContentKind(), std::uint8_t(0x20));
    QCOMPARE(QByteArray::fromStdString(header.Product()), QByteArray("Talon 9"));
}

void TestHeader::version1ContentKindMustBeOne()
{
    Backup::FileHeader header;
    header.SetProduct("untouched");
    QCOMPARE(ReadBytes(CommonPart("0000000001") + Version1Trailer(0x02) + Identity() + "b", header),
             Backup::FileHeader::StreamError);
    QCOMPARE(header.ContentKind(), std::uint8_t(2));
    QCOMPARE(header.HeaderLength(), 188u);
    // The identity is not read.
    QCOMPARE(QByteArray::fromStdString(header.Product()), QByteArray("untouched"));
}

void TestHeader::version2ContentKindZeroEscapes()
{
    // The one failure that escapes the reader: an empty content-kind text.
    const QByteArray bytes = CommonPart("0000000002") + Version2Fields('\0') + Identity() + "b";
    Backup::FileHeader header;
    try {
        ReadBytes(bytes, header);
        QFAIL("a version-2 content-kind byte of 0 must escape the reader");
    } catch (const std::out_of_range &error) {
        QVERIFY2(QByteArray(error.what()).contains("basic_string::at"), error.what());
    }
    QCOMPARE(header.HeaderLength(), 204u);
}

// ---- writing refusals ----

void TestHeader::missingIdentityWritesNothing_data()
{
    QTest::addColumn<QString>("missing");
    QTest::newRow("product") << "product";
    QTest::newRow("product of blanks") << "blank product";
    QTest::newRow("product code") << "code";
    QTest::newRow("variant") << "variant";
    QTest::newRow("minimum version") << "minimum";
}

void TestHeader::missingIdentityWritesNothing()
{
    QFETCH(QString, missing);
    Backup::FileHeader header;
    FillIdentity(header);
    if (missing == "product")
        header.SetProduct("");
    else if (missing == "blank product")
        header.SetProduct("    ");
    else if (missing == "code")
        header.SetProductCode(0);
    else if (missing == "variant")
        header.SetVariant("");
    else
        header.SetMinimumSoftwareVersion(0);

    header.WriteFileHeader(Path("out.qvb"));
    QCOMPARE(header.GetStatus(), Backup::FileHeader::StreamError);
    QVERIFY(!QFile::exists(Path("out.qvb")));

    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    QCOMPARE(header.WriteFileHeader(&buffer, Backup::FileHeader::NewBackupRecord()),
             Backup::FileHeader::StreamError);
    QCOMPARE(buffer.size(), 0);
}

void TestHeader::unwritablePathIsPassedOver()
{
    Backup::FileHeader header;
    FillIdentity(header);
    header.WriteFileHeader(Path("no/such/dir/out.qvb"));
    QCOMPARE(header.GetStatus(), Backup::FileHeader::Ok);
    QVERIFY(!QFile::exists(Path("no/such/dir/out.qvb")));
}

// ---- check against the running display ----

void TestHeader::check_data()
{
    QTest::addColumn<QString>("product");
    QTest::addColumn<uint>("code");
    QTest::addColumn<QString>("variant");
    QTest::addColumn<uint>("running");
    QTest::addColumn<int>("status");

    // The header holds product "Talon 7", code 7700, variant "Standard", minimum 5.2.0.0.
    using S = Backup::FileHeader;
    QTest::newRow("all match") << "Talon 7" << 7700u << "Standard" << 0x05020000u << int(S::Ok);
    QTest::newRow("newer software") << "Talon 7" << 7700u << "Standard" << 0x05030001u << int(S::Ok);
    QTest::newRow("white space trimmed") << "  Talon 7\t" << 7700u << " Standard " << 0x05020000u << int(S::Ok);
    QTest::newRow("first 16 characters") << "Talon 7         and more" << 7700u << "Standard" << 0x05020000u << int(S::Ok);
    QTest::newRow("other product") << "Talon 9" << 7700u << "Standard" << 0x05020000u << int(S::ProductMismatch);
    QTest::newRow("other variant") << "Talon 7" << 7700u << "Export" << 0x05020000u << int(S::VariantMismatch);
    QTest::newRow("pre-release is older than the release")
        << "Talon 7" << 7700u << "Standard" << 0x05020107u << int(S::SoftwareTooOld);
    QTest::newRow("older minor") << "Talon 7" << 7700u << "Standard" << 0x05010000u << int(S::SoftwareTooOld);
    QTest::newRow("other product code") << "Talon 7" << 7701u << "Standard" << 0x05020000u << int(S::ProductCodeMismatch);
    QTest::newRow("product checked before variant") << "X" << 1u << "Y" << 0u << int(S::ProductMismatch);
    QTest::newRow("variant before version") << "Talon 7" << 1u << "Y" << 0u << int(S::VariantMismatch);
    QTest::newRow("version before code") << "Talon 7" << 1u << "Standard" << 0x01000000u << int(S::SoftwareTooOld);
}

void TestHeader::check()
{
    QFETCH(QString, product);
    QFETCH(uint, code);
    QFETCH(QString, variant);
    QFETCH(uint, running);
    QFETCH(int, status);

    Backup::FileHeader header;
    QCOMPARE(ReadBytes(Version2Backup(), header), Backup::FileHeader::Ok);
    QCOMPARE(int(header.Check(product.toStdString(), code, variant.toStdString(), running)), status);
    QCOMPARE(int(header.GetStatus()), status);
}

void TestHeader::checkKeepsFailedReadStatus()
{
    Backup::FileHeader header;
    QCOMPARE(ReadBytes(Version2Backup().left(204), header), Backup::FileHeader::StreamError);
    QCOMPARE(header.Check("Talon 9", 1, "Export", 0x01000000), Backup::FileHeader::StreamError);

    Backup::FileHeader other;
    QCOMPARE(ReadBytes(CommonPart("0000000002", "LOG FILE 2006") + Version2Fields() + Identity() + "b", other),
             Backup::FileHeader::NotABackup);
    QCOMPARE(other.Check("Talon 7", 7700, "Standard", 0x05020000), Backup::FileHeader::NotABackup);
}

int RunHeaderTests(int argc, char **argv)
{
    TestHeader test;
    return QTest::qExec(&test, argc, argv);
}

#include "HeaderTest.moc"
