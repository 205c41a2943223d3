// Data directories and the identity EEPROM, inside a throwaway root: the EEPROM is a
// stand-in file at the kernel's sysfs path, the data directories land in the root.
#include "DataDirectories.h"
#include "IdentityEeprom.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtTest>

#include <cstring>
#include <sys/stat.h>

namespace {

const QString EepromPath = QStringLiteral("/sys/bus/i2c/devices/0-0050/eeprom");

// A recognisable byte at every offset.
QByteArray DeviceImage(int size)
{
    QByteArray image(size, '\0');
    for (int i = 0; i < size; ++i)
        image[i] = char((i * 7 + 3) & 0xff);
    return image;
}

const QStringList DataDirectories = {
    QStringLiteral("/home/data/log_data"), QStringLiteral("/home/data/objects"), QStringLiteral("/home/data/cropsensor"),
    QStringLiteral("/home/data/userlists"), QStringLiteral("/home/data/reference"),
};

const QFile::Permissions OwnerBits = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

} // namespace

class IdentityTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVB_REQUIRE_THROWAWAY_ROOT(); }
    void init();

    void read_data();
    void read();
    void readWithoutDevice();
    void boardFields_data();
    void boardFields();

    void write_data();
    void write();
    void writeWithoutDevice();
    void writeToReadOnlyDevice();

    void clearIdentityRecordTouchesTwelveBytes();

    void dataDirectoriesAreCreated();
    void dataDirectoriesAreLeftAsTheyAre();
};

void IdentityTest::init()
{
    QDir(QStringLiteral("/sys")).removeRecursively();
    QDir(QStringLiteral("/home/data")).removeRecursively();
}

void IdentityTest::read_data()
{
    QTest::addColumn<int>("deviceSize");
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("complete");
    QTest::addColumn<int>("bytesRead");

    QTest::newRow("protected area") << 256 << 0 << 128 << true << 128;
    QTest::newRow("writable area") << 256 << 200 << 56 << true << 56;
    QTest::newRow("up to the end") << 256 << 250 << 6 << true << 6;
    QTest::newRow("past the end") << 256 << 250 << 10 << false << 6;
    QTest::newRow("beyond the end") << 256 << 300 << 4 << false << 0;
    QTest::newRow("nothing") << 256 << 10 << 0 << true << 0;
    QTest::newRow("empty device") << 0 << 0 << 1 << false << 0;
}

void IdentityTest::read()
{
    QFETCH(int, deviceSize);
    QFETCH(int, offset);
    QFETCH(int, count);
    QFETCH(bool, complete);
    QFETCH(int, bytesRead);

    const QByteArray image = DeviceImage(deviceSize);
    QVERIFY(TestSupport::WriteFile(EepromPath, image));
    QByteArray buffer(count + 8, '\xee');
    QCOMPARE(ReadEeprom(buffer.data(), unsigned(count), offset), complete);
    QCOMPARE(buffer.left(bytesRead), image.mid(offset, bytesRead));
    // Nothing is written beyond what was read.
    QCOMPARE(buffer.mid(count), QByteArray(8, '\xee'));
    QCOMPARE(TestSupport::ReadFile(EepromPath), image);
}

void IdentityTest::readWithoutDevice()
{
    char buffer[16] = {};
    QVERIFY(!ReadEeprom(buffer, 4, 0));
    QVERIFY(!ReadBoardIdentifier(buffer));
    QVERIFY(!ReadBoardAddress(buffer));
    // A directory at the device's place cannot be read either.
    QVERIFY(QDir().mkpath(EepromPath));
    QVERIFY(!ReadEeprom(buffer, 4, 0));
}

void IdentityTest::boardFields_data()
{
    QTest::addColumn<int>("deviceSize");
    QTest::addColumn<bool>("identifier");
    QTest::addColumn<bool>("address");

    QTest::newRow("whole device") << 256 << true << true;
    QTest::newRow("both fields exactly") << 73 << true << true;
    QTest::newRow("address field cut") << 72 << true << false;
    QTest::newRow("identifier exactly") << 17 << true << false;
    QTest::newRow("identifier cut") << 16 << false << false;
    QTest::newRow("empty") << 0 << false << false;
}

void IdentityTest::boardFields()
{
    QFETCH(int, deviceSize);
    QFETCH(bool, identifier);
    QFETCH(bool, address);

    const QByteArray image = DeviceImage(deviceSize);
    QVERIFY(TestSupport::WriteFile(EepromPath, image));

    QByteArray id(11, '\0');
    QCOMPARE(ReadBoardIdentifier(id.data()), identifier);
    if (identifier)
        QCOMPARE(id, DeviceImage(17).mid(6));

    QByteArray mac(6, '\0');
    QCOMPARE(ReadBoardAddress(mac.data()), address);
    if (address)
        QCOMPARE(mac, DeviceImage(73).mid(67));
}

void IdentityTest::write_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("written");

    QTest::newRow("first writable byte") << 128 << 16 << true;
    QTest::newRow("last protected byte") << 127 << 16 << false;
    QTest::newRow("start of device") << 0 << 4 << false;
    QTest::newRow("identifier field") << 6 << 11 << false;
    QTest::newRow("negative offset") << -1 << 4 << false;
    QTest::newRow("to the end") << 240 << 16 << true;
    // Only the start is checked: a write may run past the current end.
    QTest::newRow("past the end") << 250 << 10 << true;
}

void IdentityTest::write()
{
    QFETCH(int, offset);
    QFETCH(int, count);
    QFETCH(bool, written);

    const QByteArray image = DeviceImage(256);
    QVERIFY(TestSupport::WriteFile(EepromPath, image));
    const QByteArray data(count, '\x5a');
    QCOMPARE(WriteEeprom(data.constData(), unsigned(count), offset), written);

    QByteArray expected = image;
    if (written)
        expected.replace(offset, count, data);
    QCOMPARE(TestSupport::ReadFile(EepromPath), expected);
    if (written) {
        QByteArray back(count, '\0');
        QVERIFY(ReadEeprom(back.data(), unsigned(count), offset));
        QCOMPARE(back, data);
    }
}

void IdentityTest::writeWithoutDevice()
{
    const char data[4] = {1, 2, 3, 4};
    QVERIFY(!WriteEeprom(data, 4, 128));
    // The device is opened for update, never created.
    QVERIFY(!QFileInfo::exists(EepromPath));
}

void IdentityTest::writeToReadOnlyDevice()
{
    const QByteArray image = DeviceImage(256);
    QVERIFY(TestSupport::WriteFile(EepromPath, image));
    QVERIFY(QFile::setPermissions(EepromPath, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
    QFile probe(EepromPath);
    QVERIFY2(!probe.open(QIODevice::ReadWrite), "permission bits are not enforced in this root");

    const char data[4] = {1, 2, 3, 4};
    QVERIFY(!WriteEeprom(data, 4, 128));
    QCOMPARE(TestSupport::ReadFile(EepromPath), image);
    char back[4] = {};
    QVERIFY(ReadEeprom(back, 4, 128));
}

void IdentityTest::clearIdentityRecordTouchesTwelveBytes()
{
    unsigned char block[14];
    memset(block, 0xff, sizeof block);
    ClearIdentityRecord(block + 1);
    QCOMPARE(block[0], static_cast<unsigned char>(0xff));
    for (int i = 1; i <= 12; ++i)
        QCOMPARE(block[i], static_cast<unsigned char>(0));
    QCOMPARE(block[13], static_cast<unsigned char>(0xff));
}

void IdentityTest::dataDirectoriesAreCreated()
{
    QVERIFY(!QFileInfo::exists(QStringLiteral("/home/data")));
    EnsureDataDirectories();
    for (const QString &directory : DataDirectories)
        QVERIFY2(QFileInfo(directory).isDir(), qPrintable(directory));
    QCOMPARE(QDir(QStringLiteral("/home/data")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(),
             5);
}

void IdentityTest::dataDirectoriesAreLeftAsTheyAre()
{
    // Some exist with contents and their own modes, others are missing.
    QVERIFY(TestSupport::WriteFile(QStringLiteral("/home/data/objects/{x}/image.png"), "png"));
    QVERIFY(QDir().mkpath(QStringLiteral("/home/data/reference")));
    QVERIFY(QFile::setPermissions(QStringLiteral("/home/data/reference"), QFile::ReadOwner | QFile::ExeOwner));
    struct stat before {};
    QCOMPARE(stat("/home/data/objects", &before), 0);

    EnsureDataDirectories();
    for (const QString &directory : DataDirectories)
        QVERIFY2(QFileInfo(directory).isDir(), qPrintable(directory));
    QCOMPARE(TestSupport::ReadFile(QStringLiteral("/home/data/objects/{x}/image.png")), QByteArray("png"));
    QCOMPARE(QFile::permissions(QStringLiteral("/home/data/reference")) & OwnerBits,
             QFile::ReadOwner | QFile::ExeOwner);

    struct stat after {};
    QCOMPARE(stat("/home/data/objects", &after), 0);
    QCOMPARE(after.st_ino, before.st_ino);
    QCOMPARE(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);

    // A second run changes nothing.
    struct stat data1 {};
    QCOMPARE(stat("/home/data", &data1), 0);
    EnsureDataDirectories();
    struct stat data2 {};
    QCOMPARE(stat("/home/data", &data2), 0);
    QCOMPARE(data2.st_mtim.tv_sec, data1.st_mtim.tv_sec);
    QCOMPARE(data2.st_mtim.tv_nsec, data1.st_mtim.tv_nsec);
    QCOMPARE(QFile::permissions(QStringLiteral("/home/data/reference")) & OwnerBits,
             QFile::ReadOwner | QFile::ExeOwner);
    QFile::setPermissions(QStringLiteral("/home/data/reference"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

QTEST_GUILESS_MAIN(IdentityTest)
#include "tst_identity.moc"
