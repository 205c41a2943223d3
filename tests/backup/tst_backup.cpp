// Version records, Guid and the backup file header (layout, reading, writing, the check).

#include "DataFileHeader.h"
#include "FileHeader.h"
#include "Guid.h"
#include "QtStream.h"
#include "Version.h"

#include <QBuffer>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <ctime>
#include <stdexcept>

using S = Backup::FileHeader;
const QByteArray kDate = "01022040120405AM"; // 12 AM, past 2038: 2209075445 in UTC
const char kSampleGuid[] = "{00112233-4455-6677-8899-aabbccddeeff}";

static QByteArray Field(const QByteArray &text, int width)
{
    return text.left(width) + QByteArray(width - qMin(width, text.size()), ' ');
}

// The common part as the layout table gives it.
static QByteArray CommonPart(const QByteArray &versionText)
{
    return Field("NORTHFIELD TERMINALS", 22) + Field(versionText, 10) + Field("", 32)
        + Field("NORTHFIELD TERMINALS, INC.", 32) + Field("Embedded Display Data Backup", 32)
        + kDate;
}

// Product "Talon 7", code 7700, variant "Standard", minimum software version 5.2.0.0.
static QByteArray Identity()
{
    return Field("Talon 7", 16) + QByteArray::fromHex("141e0000") + Field("Standard", 16)
        + QByteArray::fromHex("00000205");
}

// A whole backup with a one-byte body: version 1 (content kind at 146) or 2 (at 147).
static QByteArray Whole(int version)
{
    const QByteArray trailer = version == 1 ? QByteArray("\x7a\x7b\x01\x7c")
                                            : "\xFF\xFF\xFF\x02" + QByteArray(16, '\xFF');
    return CommonPart(QByteArray::number(version).rightJustified(10, '0')) + trailer
        + Identity() + "b";
}

static S::Status Read(QByteArray bytes, S &header)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return Backup::ReadFileHeader(header, &buffer);
}

// Status, header length, version, file type, valid, seconds, digest, product, content kind.
static QString Summary(S::Status status, const S &header)
{
    const std::vector<std::uint8_t> d = header.Checksum();
    const DataFileHeader &r = header.Record();
    return QString("%1 %2 %3 %4 %5 %6 [%7] [%8] %9").arg(status).arg(header.HeaderLength())
        .arg(r.HeaderVersion()).arg(r.FileType()).arg(r.IsValid()).arg(r.Timestamp())
        .arg(QByteArray(reinterpret_cast<const char *>(d.data()), int(d.size())).toHex().data())
        .arg(header.Product().c_str()).arg(header.ContentKind());
}

class TestBackup : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("TZ", "UTC"); // dates are local time
        tzset();
    }

    // Refused texts leave 255.255.255.255 ("Unknown"); a release ranks above its numbered
    // builds and the operators compare those values, not the texts.
    void versions()
    {
        const std::pair<const char *, uint> parsed[] = {
            {"5.2.1.7", 0x05020107u}, {"5.2", 0x05020000u}, {"1.2.3.255.5x", 0x010203FFu},
            {"300.1", ~0u}, {"99999999999999999999", ~0u}, {"5.2.1-beta", ~0u},
        };
        for (const auto &[text, packed] : parsed) {
            SwVersion v(1, 1, 1, 1);
            QCOMPARE(v.Parse(text), packed != ~0u);
            QCOMPARE(v.ToString() == "Unknown" ? ~0u : v.Packed(), packed);
        }
        const struct { uint packed; const char *suffix, *printed; uint value; } printed[] = {
            {0x05020000, "", "5.2.0", 0x0502FFFF}, {0x05020107, "rc", "5.2.1.7-rc", 0x05020107},
            {0x05020003, "rc", "5.2.0.3", 0x0502FF03}, {0x05020100, "rc", "5.2.1-rc", 0x050201FF},
            {0, "", "0.0.0", 0x0000FFFF}, {0xFFFFFF00, "", "Unknown", 0xFFFFFFFF},
            {0xFFFFFEFF, "", "255.255.254.255", 0xFFFFFEFF},
        };
        const SwVersion release(0x05020000u, "other");
        const uint top = release.Value();
        for (const auto &[packed, suffix, text, value] : printed) {
            const SwVersion v(packed, suffix);
            QCOMPARE(v.ToString(), std::string(text));
            QCOMPARE(v.Value(), value);
            QVERIFY(v == SwVersion(packed, "other") && !(v != SwVersion(packed, "other")));
            QVERIFY((v < release) == (value < top) && (v <= release) == (value <= top));
            QVERIFY((v > release) == (value > top) && (v >= release) == (value >= top));
        }
    }

    // A wrong length keeps the old value, a bad text of the right length clears it; generated
    // ones are braced lower case; ordering uses unsigned bytes; short records read as null.
    void guids()
    {
        const QString parsed = "{0123abcd-0000-1111-2222-333344445555}";
        const std::pair<QString, QString> cases[] = {
            {parsed, parsed}, {"(0123abcd-0000-1111-2222-333344445555", parsed},
            {"0123ABCD-0000-1111-2222-333344445555", parsed},
            {"{0123abcd-0000-1111}", kSampleGuid},
            {"0123abcd-0000-1111-2222-33334444555g", "{00000000-0000-0000-0000-000000000000}"},
        };
        Guid guid, other, sample, high;
        for (const auto &[text, after] : cases) {
            QVERIFY(guid.FromString(kSampleGuid));
            QCOMPARE(guid.FromString(text.toStdString()), after == parsed);
            QCOMPARE(QString::fromStdString(guid.ToString()), after);
        }
        QVERIFY(guid.Generate() == guid && !guid.IsNull() && other.Generate() != guid);
        QVERIFY(QRegularExpression("^\\{[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\\}$")
                    .match(QString::fromStdString(guid.ToString())).hasMatch());
        QVERIFY(sample.FromString(kSampleGuid));
        QVERIFY(high.FromString("80000000-0000-0000-0000-0000000000ff"));
        QVERIFY(Guid() < sample && sample < high && !(high < sample));
        QCOMPARE(sample.Hash(), 0x33221100u);
        QBuffer buffer;
        QVERIFY(buffer.open(QIODevice::ReadWrite));
        Stream::QtInOut io(&buffer);
        sample.Write(io);
        QCOMPARE(buffer.data().toHex(' '), "33 22 11 00 55 44 77 66 88 99 aa bb cc dd ee ff");
        QVERIFY(io.Seek(0));
        guid.Read(io);
        QVERIFY(io.IsOk() && guid == sample);
        QVERIFY(io.Seek(4));
        guid.Read(io); // 12 bytes left
        QVERIFY(guid.IsNull() && !io.IsOk());
    }

    // First row whose leading characters equal the whole name.
    void fileTypeLookup()
    {
        const std::pair<const char *, int> names[] = {
            {"Embedded Display Data Backup", 24}, {"Mark Log File 2", 18}, // not row 13
            {"Mark Log File", 13}, {"RM7700 T", 2}, {"", 0}, {"File Collection Interchange", 29},
            {"Embedded Display Data Backup X", -1}, {"yld file", -1},
        };
        for (const auto &[name, index] : names)
            QCOMPARE(DataFileHeader::LookUpFileType(name), index);
    }

    // The layout of version 2, whose digest ends at its first 0x00 byte; version 1 has the
    // older trailer; no other version is written, nor a header missing an identity value.
    void writing()
    {
        S header;
        QCOMPARE(Read(Whole(2), header), S::Ok); // the identity of Identity()
        const QByteArray digest = QByteArray::fromHex("d41d8cd98f00b204e9800998ecf8427e");
        QByteArray written[3];
        for (int version : {1, 2, 3}) {
            DataFileHeader record = S::NewBackupRecord(version);
            record.SetChecksum(std::vector<std::uint8_t>(digest.begin(), digest.end()));
            record.SetTimestamp(2209075445);
            QBuffer out(&written[version - 1]);
            QVERIFY(out.open(QIODevice::WriteOnly));
            QCOMPARE(header.WriteFileHeader(&out, record), version < 3 ? S::Ok : S::StreamError);
        }
        QCOMPARE(written[0],
                 CommonPart("0000000001") + QByteArray::fromHex("00000100") + Identity());
        QVERIFY(written[1].size() == 204 && written[2].isEmpty());
        const struct { int offset; QByteArray bytes; } layout[] = {
            {0, "NORTHFIELD TERMINALS  "}, {22, "0000000002"}, {32, QByteArray(32, ' ')},
            {64, "NORTHFIELD TERMINALS, INC.      "}, {96, "Embedded Display Data Backup    "},
            {128, kDate}, {144, "\xFF\xFF\xFF\x02"}, {164, "Talon 7         "},
            {148, digest.left(5) + QByteArray(11, '\xFF')}, {180, QByteArray::fromHex("141e0000")},
            {184, "Standard        "}, {200, QByteArray::fromHex("00000205")},
        };
        for (const auto &field : layout)
            QVERIFY2(written[1].mid(field.offset, field.bytes.size()) == field.bytes,
                     qPrintable(QString::number(field.offset)));
        void (*const spoils[])(S &) = {
            [](S &h) { h.SetProduct("    "); }, [](S &h) { h.SetProductCode(0); },
            [](S &h) { h.SetVariant(""); }, [](S &h) { h.SetMinimumSoftwareVersion(0); },
        };
        const QTemporaryDir dir;
        for (const auto spoil : spoils) {
            S spoilt = header;
            spoil(spoilt);
            spoilt.WriteFileHeader(dir.filePath("spoilt.qvb"));
            QCOMPARE(spoilt.GetStatus(), S::StreamError);
            QVERIFY(dir.isValid() && !QFile::exists(dir.filePath("spoilt.qvb")));
        }
    }

    void reading_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("summary"); // 0 Ok, 1 NotABackup, 3 StreamError
        const auto row = [](const char *name, const QByteArray &bytes, const char *summary) {
            QTest::newRow(name) << bytes << QString(summary);
        };
        const char *v2 = "0 204 2 24 1 2209075445 [] [Talon 7] 2", *none = "1 0 1 -1 0 0 [] [] 0";
        row("version text 2", Whole(2), v2);
        row("version text 2x", Whole(2).replace(22, 10, Field("2x", 10)), v2);
        // No header length for other versions; the content kind is the fresh blank.
        row("unknown version", CommonPart("0000000003") + Identity() + "b",
            "0 0 3 24 1 2209075445 [] [Talon 7] 32");
        // A version text beyond 32 bits saturates as the display's 32-bit strtol does: an
        // unknown version on every host, never the low bits (2 here) read as version 2.
        row("version text beyond 32 bits", CommonPart("4294967298") + Identity() + "b",
            "0 0 2147483647 24 1 2209075445 [] [Talon 7] 32");
        row("12 PM", Whole(1).replace(142, 2, "PM"), "0 188 1 24 1 2209118645 [] [Talon 7] 1");
        row("no AM/PM", Whole(1).replace(136, 8, "090405  "),
            "0 188 1 24 1 2209107845 [] [Talon 7] 1");
        row("month 13", Whole(1).replace(128, 2, "13"), "0 188 1 24 0 0 [] [Talon 7] 1");
        // Version 2 reads more fields after the date, each setting the header valid again.
        row("month 13, v2", Whole(2).replace(128, 2, "13"), "0 204 2 24 1 0 [] [Talon 7] 2");
        row("digest with 0x00 fifth", Whole(2).replace(148, 5, QByteArray::fromHex("0123456700")),
            "0 204 2 24 1 2209075445 [01234567] [Talon 7] 2");
        row("digest ending in ff ff", Whole(2).replace(148, 14, QByteArray(14, '\x7e')),
            "0 204 2 24 1 2209075445 [7e7e7e7e7e7e7e7e7e7e7e7e7e7e] [Talon 7] 2");
        row("company of 22 NUL bytes", Whole(2).replace(0, 22, QByteArray(22, '\0')), v2);
        row("company of another maker", Whole(2).replace(0, 5, "SOUTH"), none);
        row("company mark then junk", Whole(2).replace(20, 2, "xx"), none);
        row("empty file", QByteArray(), "1 0 0 0 0 0 [] [] 0");
        row("ends inside the checksum", Whole(2).left(150), "3 204 2 24 1 2209075445 [] [] 2");
        row("header without body", Whole(2).left(204), "3 204 2 24 1 2209075445 [] [Talon 7] 2");
        // The identity is not read.
        row("version 1, content kind 2", Whole(1).replace(146, 1, "\x02"),
            "3 188 1 24 1 2209075445 [] [] 2");
    }

    void reading()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, summary);
        S header;
        const S::Status status = Read(bytes, header);
        QCOMPARE(Summary(status, header), summary);
        if (status != S::Ok) // a failed read stays failed whatever the display is
            QCOMPARE(header.Check("Talon 7", 7700, "Standard", ~0u), status);
    }

    // Random bytes, a directory and a file that did not open (the restore reads it all the
    // same) are no backups; a version-2 content-kind byte of 0 escapes the reader.
    void unreadableInput()
    {
        S header;
        for (quint32 seed = 1; seed <= 50; ++seed) {
            QByteArray bytes(4096, Qt::Uninitialized);
            QRandomGenerator(seed).fillRange(reinterpret_cast<quint32 *>(bytes.data()), 1024);
            QCOMPARE(Read(bytes, header), S::NotABackup);
        }
        QFile directory(QDir::tempPath()), missing("/nonexistent/missing.qvb");
        directory.open(QIODevice::ReadOnly);
        for (QFile *file : {&directory, &missing})
            QCOMPARE(Backup::ReadFileHeader(header, file), S::NotABackup);
        try {
            Read(Whole(2).replace(147, 1, QByteArray(1, '\0')), header);
            QFAIL("a version-2 content-kind byte of 0 must escape the reader");
        } catch (const std::out_of_range &error) {
            QVERIFY2(QByteArray(error.what()).contains("basic_string::at"), error.what());
        }
    }

    // A date of the year 20 is written back with four year digits, not two (which read
    // back as 2006).
    void dateRoundTrip()
    {
        QByteArray bytes = CommonPart("0000000001").replace(128, 16, "11250020061247AM"), written;
        QBuffer in(&bytes), out(&written);
        QVERIFY(in.open(QIODevice::ReadOnly) && out.open(QIODevice::WriteOnly));
        DataFileHeader header, again;
        { Stream::QtIn s(&in); header.Read(s); Stream::QtOut o(&out); header.Write(o); }
        QBuffer back(&written);
        QVERIFY(back.open(QIODevice::ReadOnly));
        { Stream::QtIn s(&back); again.Read(s); }
        QCOMPARE(again.Timestamp(), header.Timestamp());
    }

    // Product, variant, software version and code are checked in that order.
    void check()
    {
        const struct { const char *product; uint code; const char *variant; uint running;
                       S::Status status; } cases[] = {
            {"Talon 7", 7700, "Standard", 0x05020000, S::Ok},
            {"  Talon 7         and more", 7700, " Standard\t", 0x05030001, S::Ok}, // 16, trimmed
            {"Talon 9", 7700, "Export", 0, S::ProductMismatch},
            {"Talon 7", 7701, "Export", 0, S::VariantMismatch},
            {"Talon 7", 7701, "Standard", 0x05020107, S::SoftwareTooOld}, // below the release
            {"Talon 7", 7701, "Standard", 0x05020000, S::ProductCodeMismatch},
        };
        for (const auto &c : cases) {
            S header;
            QCOMPARE(Read(Whole(2), header), S::Ok);
            QCOMPARE(header.Check(c.product, c.code, c.variant, c.running), c.status);
        }
    }
};

QTEST_GUILESS_MAIN(TestBackup)
#include "tst_backup.moc"
