// System settings inside a throwaway root, where "/usr/share/zoneinfo" is an empty stand-in
// and the host's zone files lie read-only at "/host-zoneinfo".
#include "DataDirectories.h"
#include "IdentityEeprom.h"
#include "Language.h"
#include "SystemClock.h"
#include "TestSupport.h"

#include <QtTest> // with all of QtCore

#include <cerrno>
#include <ctime>

static timespec timeAsked{-1, -1};

// Takes the C library's place here: records the request, refuses it as without CAP_SYS_TIME.
extern "C" int clock_settime(clockid_t clock, const struct timespec *time) noexcept
{
    if (clock == CLOCK_REALTIME)
        timeAsked = *time;
    errno = EPERM;
    return -1;
}

const QString kI18n = QStringLiteral("/etc/sysconfig/i18n");
const QString kClock = QStringLiteral("/etc/sysconfig/clock");
const QString kZoneInfo = QStringLiteral("/usr/share/zoneinfo");
const QString kEeprom = QStringLiteral("/sys/bus/i2c/devices/0-0050/eeprom");

class SettingsTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVB_REQUIRE_THROWAWAY_ROOT();
        Language::Initialize(); // no file: English / US
        QCOMPARE(Language::CurrentLocaleName(), QString("en_US"));
    }

    void init()
    {
        for (const char *path : {"/etc/sysconfig", "/sys", "/home", "/usr/share/zoneinfo"})
            QDir(path).removeRecursively(); // the zone stand-in stays as mount point
    }

    void settingsFiles_data()
    {
        // The same file is put at both places; the language starts from Danish (3).
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<unsigned>("index");
        QTest::addColumn<QString>("font");
        QTest::addColumn<QString>("zone");
        const auto row = [](const char *name, const QByteArray &contents, unsigned index,
                            const char *font, const char *zone) {
            QTest::newRow(name) << contents << index << QString(font) << QString(zone);
        };
        const QByteArray full = "LANG=\"de_DE.UTF-8\"\nZONE=\"UTC\"\nSYSFONT=\"Vera\"\n\n";
        row("lines after", full, 4, "Vera", "UTC");
        // The last line is never examined: SYSFONT as Save writes it is lost.
        row("as Save writes it", "LANG=\"fr_FR.UTF-8\"\nSYSFONT=\"Vera\"", 7, "", "");
        row("one line", "ZONE=\"UTC\"\n", 3, "", "");
        row("later LANG wins", "LANG=\"de\"\nZONE=\"A\"\nLANG=\"it\"\nZONE=\"B\"\nX", 9, "", "A");
        row("EN_gb, TIMEZONE", "LANG=\"EN_gb\"\nTIMEZONE=\"Asia/Tokyo\"\nX", 0, "", "Asia/Tokyo");
        row("comments count", "# LANG=\"sv\"\n# ZONE=\"C\"\nX", 18, "", "C");
        row("unknown, unquoted", "LANG=\"xx_YY\"\nLANG=de\nSYSFONT=Vera\nZONE=UTC\nX", 3, "", "");
        row("empty", "", 3, "", "");
        row("over 64 KiB", full + QByteArray(64 * 1024 - full.size() + 1, '\n'), 3, "", "");
        for (const char *kind : {"missing", "directory", "unreadable"})
            row(kind, full, 3, "", "");
    }

    // Both readers share one reading loop and its refusals; Save shows the font read.
    void settingsFiles()
    {
        const QString kind = QTest::currentDataTag();
        QFETCH(QByteArray, contents);
        QFETCH(unsigned, index);
        QFETCH(QString, font);
        QFETCH(QString, zone);
        QVERIFY(TestSupport::WriteFile(kI18n, "LANG=\"da_DK.UTF-8\"\nSYSFONT=\"\"\n\n"));
        Language::Initialize();
        QVERIFY(QFile::remove(kI18n));
        for (const QString &path : {kI18n, kClock}) { // missing, directory, unreadable or regular
            if (kind == "directory")
                QVERIFY(QDir().mkpath(path));
            else if (kind != "missing")
                QVERIFY(TestSupport::WriteFile(path, contents));
            if (kind == "unreadable")
                QVERIFY(QFile::setPermissions(path, QFile::WriteOwner));
        }
        Language::Initialize();
        QCOMPARE(Language::CurrentIndex(), index);
        QCOMPARE(SystemClock::CurrentZone(), zone);
        // Effective at the next start; where the file cannot be written nothing changes.
        QFile::remove(kI18n);
        Language::Save(2);
        const bool saved = kind != "directory";
        QCOMPARE(Language::StartupIndex(), saved ? 2u : index);
        QCOMPARE(Language::CurrentIndex(), index);
        QCOMPARE(TestSupport::ReadFile(kI18n),
                 saved ? "LANG=\"cs_CZ.UTF-8\"\nSYSFONT=\"" + font.toUtf8() + '"' : QByteArray());
        QFile::remove(kI18n); // nothing is written for the start-up language or no language
        for (unsigned same : {Language::StartupIndex(), 19u})
            Language::Save(same);
        QVERIFY(!QFileInfo(kI18n).isFile());
    }

    // A .ts compiled by lrelease is found under the lower-cased locale name.
    void translation()
    {
        const QString directory = Language::kTranslationDirectory, ts = directory + "/t.ts";
        const QString german = QString::fromUtf8("Sicherung wiederhergestellt");
        QVERIFY(TestSupport::WriteFile(ts, QString("<!DOCTYPE TS><TS version=\"2.1\"><context>"
            "<name>Dialog</name><message><source>Backup Restored</source><translation>%1"
            "</translation></message></context></TS>\n").arg(german).toUtf8()));
        const QString qm = directory + "/translation_de_de.qm";
        QCOMPARE(TestSupport::Run(QVB_LRELEASE, {"-silent", ts, "-qm", qm}), 0);
        QVERIFY(TestSupport::WriteFile(kI18n, "LANG=\"de_DE.UTF-8\"\nX\n"));
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        Language::Initialize();
        QCOMPARE(QCoreApplication::translate("Dialog", "Backup Restored"), german);
        QCOMPARE(QLocale().toString(1234.5, 'f', 1), QString("1,234.5")); // US form always
    }

    // Every step is attempted whatever the one before did.
    void setZone()
    {
        QVERIFY(QDir().mkpath(kZoneInfo + "/Europe"));
        QVERIFY(QFile::copy("/host-zoneinfo/Europe/Berlin", kZoneInfo + "/Europe/Berlin"));
        QVERIFY(TestSupport::WriteFile(kZoneInfo + "/UTC", "TZif"));
        QCOMPARE(SystemClock::AvailableZones(), QStringList({"UTC"})); // no region directories
        for (const char *name : {"EST", "Egypt", "zulu", "GMT"})
            QVERIFY(TestSupport::WriteFile(kZoneInfo + "/" + name, "TZif"));
        QCOMPARE(SystemClock::AvailableZones(), QStringList({"Egypt", "EST", "GMT", "UTC", "zulu"}));
        QVERIFY(TestSupport::WriteFile(kClock, "ZONE=\"Old\"\nUTC=false\nARC=true\nEXTRA=1\n"));
        SystemClock::SetZone("UTC");
        QCOMPARE(TestSupport::ReadFile(kClock), "ZONE=\"UTC\"\nUTC=true\nARC=false");
        // An unwritable clock file stops neither link nor zone: 22:13:20 UTC is 23:13 in Berlin.
        QVERIFY(QFile::remove(kClock) && QDir().mkpath(kClock));
        SystemClock::SetZone("Europe/Berlin");
        QCOMPARE(QFileInfo("/etc/sysconfig/localtime").symLinkTarget(),
                 kZoneInfo + "/Europe/Berlin");
        const time_t instant = 1700000000;
        tm local{};
        QVERIFY(localtime_r(&instant, &local) && local.tm_hour == 23 && local.tm_min == 13);
    }

    // The refused clock request does not stop the hardware clock update.
    void setTime()
    {
        QVERIFY(TestSupport::WriteFile("/home/b/hwclock", "#!/bin/sh\necho \"$*\" >> /home/c\n"));
        QVERIFY(QFile::setPermissions("/home/b/hwclock", QFile::ReadOwner | QFile::ExeOwner));
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "/home/b:" + path);
        SystemClock::SetTime(1234567890);
        qputenv("PATH", path);
        QVERIFY(timeAsked.tv_sec == 1234567890 && timeAsked.tv_nsec == 0);
        QCOMPARE(TestSupport::ReadFile("/home/c"), QByteArray("--systohc --utc\n"));
    }

    // Reads are true only when all bytes came; the identifier is 11 bytes at 6, the address
    // 6 at 67. Writes never start below 128 but may run past the end.
    void eeprom()
    {
        const struct { int size, offset, count; } devices[] = {
            {-1, 0, 4}, // first: no device yet
            {256, 0, 128}, {256, 128, 16}, {256, 250, 10}, // protected area, writable, past end
            {73, 70, 3}, {72, 60, 4}, {17, 0, 17}, {16, 0, 17}, // fields exactly and cut
        };
        for (const auto &[size, offset, count] : devices) {
            const QByteArray image =
                QByteArray("0123456789abcdefghijklmnopqrstuvwxyz").repeated(8).left(size);
            QVERIFY(size < 0 || TestSupport::WriteFile(kEeprom, image));
            const int got = qBound(0, size - offset, count);
            QByteArray buffer(count + 8, '~'), id(11, '~'), address(6, '~');
            QCOMPARE(ReadEeprom(buffer.data(), unsigned(count), offset), got == count);
            QCOMPARE(buffer, image.mid(offset, got) + QByteArray(count + 8 - got, '~'));
            QCOMPARE(ReadBoardIdentifier(id.data()), size >= 17);
            QCOMPARE(ReadBoardAddress(address.data()), size >= 73);
            QVERIFY(size < 17 || id == image.mid(6, 11));
            QVERIFY(size < 73 || address == image.mid(67, 6));
            const bool writable = size >= 0 && offset >= 128;
            const QByteArray data(count, '#');
            QVERIFY(!WriteEeprom("#", 1u, 127) && !WriteEeprom("#", 1u, -1));
            QCOMPARE(WriteEeprom(data.constData(), unsigned(count), offset), writable);
            QCOMPARE(TestSupport::ReadFile(kEeprom),
                     writable ? QByteArray(image).replace(offset, count, data) : image);
            QCOMPARE(QFileInfo::exists(kEeprom), size >= 0); // opened for update, never made
        }
    }

    // The missing ones are made; the one there keeps its contents.
    void dataDirectories()
    {
        const QString objects = "/home/data/objects";
        QVERIFY(TestSupport::WriteFile(objects + "/{x}/image.png", "png"));
        EnsureDataDirectories();
        QCOMPARE(QDir("/home/data").entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList({"cropsensor", "log_data", "objects", "reference", "userlists"}));
        QCOMPARE(TestSupport::ReadFile(objects + "/{x}/image.png"), QByteArray("png"));
    }
};

QTEST_GUILESS_MAIN(SettingsTest)
#include "tst_settings.moc"
