// Version records: packing, parsing, printing and the release-above-numbered ordering.

#include "BackupTests.h"

#include "Version.h"

#include <QtTest>

#include <cstring>

namespace {

QString Components(const Version &v)
{
    return QStringLiteral("%1.%2.%3.%4").arg(v.Major()).arg(v.Minor()).arg(v.Revision()).arg(v.Build());
}

} // namespace

class TestVersion : public QObject
{
    Q_OBJECT

private slots:
    void defaultIsNotSet();
    void packedRoundTrip();
    void pointerConstructorTakesBytesInMemoryOrder();
    void parse_data();
    void parse();
    void validity_data();
    void validity();
    void toString_data();
    void toString();
    void value_data();
    void value();
    void ordering_data();
    void ordering();
    void equalityIgnoresText();
};

void TestVersion::defaultIsNotSet()
{
    const SwVersion v;
    QCOMPARE(Components(v), QString("255.255.255.255"));
    QVERIFY(!v.IsValid());
    QCOMPARE(QString::fromStdString(v.ToString()), QString("Unknown"));
    QCOMPARE(QString(Version::UnknownText), QString("Unknown"));
}

void TestVersion::packedRoundTrip()
{
    const SwVersion v(0x05020107u);
    QCOMPARE(Components(v), QString("5.2.1.7"));
    QCOMPARE(v.Packed(), 0x05020107u);

    SwVersion set;
    set.SetComponents(200, 0, 9, 255);
    QCOMPARE(set.Packed(), 0xC80009FFu);
    QCOMPARE(Components(SwVersion(set.Packed())), QString("200.0.9.255"));
}

void TestVersion::pointerConstructorTakesBytesInMemoryOrder()
{
    const unsigned char bytes[4] = {5, 2, 1, 7};
    std::uint32_t raw;
    std::memcpy(&raw, bytes, sizeof raw);
    const SwVersion v(&raw, "rc");
    QCOMPARE(Components(v), QString("5.2.1.7"));
    QCOMPARE(QString::fromStdString(v.Text()), QString("rc"));
}

void TestVersion::parse_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("components");

    QTest::newRow("four") << "5.2.1.7" << true << "5.2.1.7";
    QTest::newRow("two fill with zero") << "5.2" << true << "5.2.0.0";
    QTest::newRow("one") << "9" << true << "9.0.0.0";
    QTest::newRow("bounds") << "0.255.0.255" << true << "0.255.0.255";
    QTest::newRow("after fourth ignored") << "1.2.3.4.5x" << true << "1.2.3.4";
    QTest::newRow("above 255") << "300.1" << false << "255.255.255.255";
    QTest::newRow("trailing dot") << "5.2." << false << "255.255.255.255";
    QTest::newRow("hyphen suffix") << "5.2.1-beta" << false << "255.255.255.255";
    QTest::newRow("empty") << "" << false << "255.255.255.255";
    QTest::newRow("leading letter") << "v5.2" << false << "255.255.255.255";
    QTest::newRow("sign") << "-1.2" << false << "255.255.255.255";
    QTest::newRow("double dot") << "5..2" << false << "255.255.255.255";
    QTest::newRow("huge number") << "99999999999999999999" << false << "255.255.255.255";
}

void TestVersion::parse()
{
    QFETCH(QString, text);
    QFETCH(bool, ok);
    QFETCH(QString, components);

    SwVersion v(1, 1, 1, 1);
    QCOMPARE(v.Parse(text.toStdString()), ok);
    QCOMPARE(Components(v), components);
    if (!ok)
        QCOMPARE(QString::fromStdString(v.ToString()), QString("Unknown"));
}

void TestVersion::validity_data()
{
    QTest::addColumn<uint>("packed");
    QTest::addColumn<bool>("valid");

    QTest::newRow("zero") << 0u << true;
    QTest::newRow("only build set") << 0xFFFFFF00u << false;
    QTest::newRow("revision set") << 0xFFFFFEFFu << true;
    QTest::newRow("major set") << 0x01FFFFFFu << true;
    QTest::newRow("nothing set") << 0xFFFFFFFFu << false;
}

void TestVersion::validity()
{
    QFETCH(uint, packed);
    QFETCH(bool, valid);
    QCOMPARE(SwVersion(packed).IsValid(), valid);
}

void TestVersion::toString_data()
{
    QTest::addColumn<uint>("packed");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("printed");

    QTest::newRow("release") << 0x05020000u << "" << "5.2.0";
    QTest::newRow("with build") << 0x05020107u << "" << "5.2.1.7";
    QTest::newRow("suffix") << 0x05020107u << "beta" << "5.2.1.7-beta";
    QTest::newRow("suffix needs revision") << 0x05020003u << "beta" << "5.2.0.3";
    QTest::newRow("suffix without build") << 0x05020100u << "rc1" << "5.2.1-rc1";
    QTest::newRow("zero") << 0u << "" << "0.0.0";
    QTest::newRow("unset build printed") << 0x050201FFu << "" << "5.2.1.255";
    QTest::newRow("not valid") << 0xFFFFFF00u << "beta" << "Unknown";
}

void TestVersion::toString()
{
    QFETCH(uint, packed);
    QFETCH(QString, text);
    QFETCH(QString, printed);
    QCOMPARE(QString::fromStdString(SwVersion(packed, text.toStdString()).ToString()), printed);
}

void TestVersion::value_data()
{
    QTest::addColumn<uint>("packed");
    QTest::addColumn<uint>("value");

    QTest::newRow("release") << 0x05020000u << 0x0502FFFFu;
    QTest::newRow("numbered") << 0x05020107u << 0x05020107u;
    QTest::newRow("zero build") << 0x05020100u << 0x050201FFu;
    QTest::newRow("zero revision") << 0x05020007u << 0x0502FF07u;
    QTest::newRow("all zero") << 0u << 0x0000FFFFu;
}

void TestVersion::value()
{
    QFETCH(uint, packed);
    QFETCH(uint, value);
    QCOMPARE(SwVersion(packed).Value(), value);
}

void TestVersion::ordering_data()
{
    QTest::addColumn<uint>("lower");
    QTest::addColumn<uint>("higher");

    QTest::newRow("release above numbered revision") << 0x05020107u << 0x05020000u;
    QTest::newRow("release above numbered build") << 0x05020103u << 0x05020100u;
    QTest::newRow("minor decides first") << 0x05020000u << 0x05030101u;
    QTest::newRow("major decides first") << 0x04FF0000u << 0x05000101u;
    QTest::newRow("numbered builds") << 0x05020101u << 0x05020102u;
}

void TestVersion::ordering()
{
    QFETCH(uint, lower);
    QFETCH(uint, higher);
    const SwVersion a(lower), b(higher);
    QVERIFY(a < b);
    QVERIFY(a <= b);
    QVERIFY(b > a);
    QVERIFY(b >= a);
    QVERIFY(!(b < a));
    QVERIFY(!(a >= b));
    QVERIFY(a != b);
}

void TestVersion::equalityIgnoresText()
{
    const SwVersion a(0x05020107u, "beta"), b(0x05020107u, "final");
    QVERIFY(a == b);
    QVERIFY(a <= b && a >= b);
    QVERIFY(SwVersion(0x05020107u) != SwVersion(0x05020108u));
}

int RunVersionTests(int argc, char **argv)
{
    TestVersion test;
    return QTest::qExec(&test, argc, argv);
}

#include "VersionTest.moc"
