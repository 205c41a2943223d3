// Guid: text form and its parsing rules, record byte order, ordering and hashing.

#include "BackupTests.h"

#include "Guid.h"
#include "QtStream.h"

#include <QBuffer>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QtTest>

#include <unordered_set>

namespace {

const char *const kSample = "00112233-4455-6677-8899-aabbccddeeff";

Guid Sample()
{
    Guid guid;
    guid.FromString(kSample);
    return guid;
}

QByteArray BytesOf(const Guid &guid)
{
    const auto bytes = guid.Bytes();
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), int(bytes.size()));
}

} // namespace

class TestGuid : public QObject
{
    Q_OBJECT

private slots:
    void generatedMatchesTheObjectPattern();
    void fromString_data();
    void fromString();
    void recordBytes();
    void recordReadRoundTrip();
    void shortRecordReadGivesNull_data();
    void shortRecordReadGivesNull();
    void orderingIsUnsignedByteOrder();
    void hashIsFirstFourBytesLittleEndian();
};

void TestGuid::generatedMatchesTheObjectPattern()
{
    // The per-object directory helpers accept exactly this form: braced, lower case.
    const QRegularExpression pattern(
        "^\\{[a-f0-9]{8}-[a-f0-9]{4}-[a-f0-9]{4}-[a-f0-9]{4}-[a-f0-9]{12}\\}$");
    Guid a;
    QVERIFY(a.IsNull());
    QCOMPARE(QString::fromStdString(a.ToString()), QString("{00000000-0000-0000-0000-000000000000}"));
    const Guid returned = a.Generate();
    QVERIFY(!a.IsNull());
    QVERIFY(returned == a);
    const std::string text = a.ToString();
    QCOMPARE(text.size(), size_t(38));
    QVERIFY2(pattern.match(QString::fromStdString(text)).hasMatch(), text.c_str());

    Guid b;
    b.Generate();
    QVERIFY(a != b);

    Guid parsed;
    QVERIFY(parsed.FromString(text));
    QVERIFY(parsed == a);
}

void TestGuid::fromString_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("ok");
    // The identifier afterwards, starting from the sample; empty means the null one.
    QTest::addColumn<QString>("after");

    const QString sample = QString("{%1}").arg(kSample);
    QTest::newRow("braced") << "{0123abcd-0000-1111-2222-333344445555}" << true
                            << "{0123abcd-0000-1111-2222-333344445555}";
    QTest::newRow("round bracket, not closed") << "(0123abcd-0000-1111-2222-333344445555"
                                               << true << "{0123abcd-0000-1111-2222-333344445555}";
    QTest::newRow("anything after is ignored") << "{0123abcd-0000-1111-2222-333344445555>>>"
                                               << true << "{0123abcd-0000-1111-2222-333344445555}";
    QTest::newRow("bare canonical") << "0123abcd-0000-1111-2222-333344445555" << true
                                    << "{0123abcd-0000-1111-2222-333344445555}";
    QTest::newRow("upper case accepted, printed lower")
        << "{0123ABCD-0000-1111-2222-33334444555F}" << true
        << "{0123abcd-0000-1111-2222-33334444555f}";
    QTest::newRow("too short keeps value") << "{0123abcd-0000-1111}" << false << sample;
    QTest::newRow("empty keeps value") << "" << false << sample;
    QTest::newRow("wrong opener keeps value") << "[0123abcd-0000-1111-2222-333344445555]"
                                              << false << sample;
    QTest::newRow("36 characters, not a uuid, clears")
        << "0123abcd-0000-1111-2222-33334444555g" << false << QString();
    QTest::newRow("braced, bad character, clears")
        << "{0123abcd-0000-1111-2222-33334444555x}" << false << QString();
    QTest::newRow("36 characters, no hyphens, clears")
        << "0123abcd000011112222333344445555abcd" << false << QString();
}

void TestGuid::fromString()
{
    QFETCH(QString, text);
    QFETCH(bool, ok);
    QFETCH(QString, after);

    Guid guid = Sample();
    QCOMPARE(guid.FromString(text.toStdString()), ok);
    if (after.isEmpty())
        QVERIFY(guid.IsNull());
    else
        QCOMPARE(QString::fromStdString(guid.ToString()), after);

    // The character-array overload follows the same rules.
    Guid viaChars = Sample();
    QCOMPARE(viaChars.FromString(text.toLatin1().constData()), ok);
    QVERIFY(viaChars == guid);
}

void TestGuid::recordBytes()
{
    QBuffer buffer;
    QVERIFY(buffer.open(QIODevice::WriteOnly));
    {
        Stream::QtOut out(&buffer);
        Sample().Write(out);
        QVERIFY(out.IsOk());
    }
    QCOMPARE(buffer.data().toHex(' '), QByteArray("33 22 11 00 55 44 77 66 88 99 aa bb cc dd ee ff"));
}

void TestGuid::recordReadRoundTrip()
{
    QBuffer buffer;
    buffer.setData(QByteArray::fromHex("33221100554477668899aabbccddeeff" "01"));
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    Stream::QtIn in(&buffer);
    Guid guid;
    guid.Read(in);
    QVERIFY(in.IsOk());
    QCOMPARE(QString::fromStdString(guid.ToString()), QString("{%1}").arg(kSample));
    QCOMPARE(BytesOf(guid).toHex(), QByteArray("00112233445566778899aabbccddeeff"));
    QCOMPARE(buffer.pos(), 16);
}

void TestGuid::shortRecordReadGivesNull_data()
{
    QTest::addColumn<int>("available");
    QTest::newRow("nothing") << 0;
    QTest::newRow("half of the first block") << 4;
    QTest::newRow("first block only") << 8;
    QTest::newRow("twelve bytes") << 12;
    QTest::newRow("one short") << 15;
}

void TestGuid::shortRecordReadGivesNull()
{
    QFETCH(int, available);
    QBuffer buffer;
    buffer.setData(QByteArray::fromHex("33221100554477668899aabbccddeeff").left(available));
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    Stream::QtIn in(&buffer);
    Guid guid = Sample();
    guid.Read(in);
    QVERIFY(guid.IsNull());
    QVERIFY(!in.IsOk());
}

void TestGuid::orderingIsUnsignedByteOrder()
{
    Guid low, high, last;
    QVERIFY(low.FromString("7fffffff-ffff-ffff-ffff-ffffffffffff"));
    QVERIFY(high.FromString("80000000-0000-0000-0000-000000000000"));
    QVERIFY(last.FromString("80000000-0000-0000-0000-0000000000ff"));
    QVERIFY(low < high);
    QVERIFY(high < last);
    QVERIFY(!(high < low));
    QVERIFY(!(high < high));
    QVERIFY(Guid() < low);
}

void TestGuid::hashIsFirstFourBytesLittleEndian()
{
    const Guid guid = Sample();
    QCOMPARE(guid.Hash(), 0x33221100u);

    QSet<Guid> set{guid, Guid(), Sample()};
    QCOMPARE(set.size(), 2);
    std::unordered_set<Guid> stdSet{guid, Guid(), Sample()};
    QCOMPARE(stdSet.size(), size_t(2));
}

int RunGuidTests(int argc, char **argv)
{
    TestGuid test;
    return QTest::qExec(&test, argc, argv);
}

#include "GuidTest.moc"
