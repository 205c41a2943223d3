// System settings inside a throwaway root: language and translations, time zone and
// clock, the identity EEPROM (a stand-in file at the kernel's sysfs path) and the data
// directories. "/usr/share/zoneinfo" is an empty writable stand-in; the host's zone files
// are visible read-only at "/host-zoneinfo" to copy real ones from. The clock request is
// caught below before it reaches the kernel and "hwclock" is a stand-in that records its
// arguments, so neither the machine's clock nor its hardware clock is touched.
#include "DataDirectories.h"
#include "IdentityEeprom.h"
#include "Language.h"
#include "SystemClock.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QTemporaryDir>
#include <QVector>
#include <QtTest>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <sys/stat.h>

namespace {
QVector<timespec> clockRequests;
} // namespace

// Takes the place of the C library's function for the settings code linked into this
// executable: the request is recorded and refused as the kernel refuses it without
// CAP_SYS_TIME.
extern "C" int clock_settime(clockid_t clock, const struct timespec *time) noexcept
{
    if (clock == CLOCK_REALTIME)
        clockRequests.append(*time);
    errno = EPERM;
    return -1;
}

namespace {

const QString kI18n = QStringLiteral("/etc/sysconfig/i18n");
const QString kClock = QStringLiteral("/etc/sysconfig/clock");
const QString kLocalTime = QStringLiteral("/etc/sysconfig/localtime");
const QString kZoneInfo = QStringLiteral("/usr/share/zoneinfo");
const QString kEeprom = QStringLiteral("/sys/bus/i2c/devices/0-0050/eeprom");

void Remove(const QString &path)
{
    if (QFileInfo(path).isDir() && !QFileInfo(path).isSymLink())
        QDir(path).removeRecursively();
    else
        QFile::remove(path);
}

// Puts the module into a known state: the given language, an empty font name.
void StartFrom(unsigned index)
{
    QVERIFY(TestSupport::WriteFile(kI18n, "LANG=\"" + Language::LocaleName(index).toLatin1()
                                              + ".UTF-8\"\nSYSFONT=\"\"\n\n"));
    Language::Initialize();
    QCOMPARE(Language::CurrentIndex(), index);
}

// The font name is only observable through what Save writes back.
QByteArray FontWrittenBack()
{
    Remove(kI18n);
    Language::Save((Language::StartupIndex() + 1) % Language::NoLanguage);
    const QByteArray written = TestSupport::ReadFile(kI18n);
    const int at = written.indexOf("SYSFONT=\"");
    return at < 0 || !written.endsWith('"') ? "<no SYSFONT line>" : written.mid(at + 9).chopped(1);
}

// Compiles a translation of "Backup Restored" with lrelease into the language directory.
bool InstallTranslation(const QString &fileName, const QString &context, const QString &translation)
{
    QTemporaryDir work;
    const QString ts = work.filePath("t.ts");
    const QString text = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n"
                                        "<TS version=\"2.1\"><context><name>%1</name><message><source>%2"
                                        "</source><translation>%3</translation></message></context></TS>\n")
                             .arg(context, "Backup Restored", translation);
    return TestSupport::WriteFile(ts, text.toUtf8()) && QDir().mkpath(Language::TranslationDirectory)
        && TestSupport::Run(QVB_LRELEASE, {"-silent", ts, "-qm",
                                           QString(Language::TranslationDirectory) + '/' + fileName}) == 0;
}

// Installing a translator sends LanguageChange to the application.
class LanguageChangeCounter : public QObject
{
public:
    LanguageChangeCounter() { QCoreApplication::instance()->installEventFilter(this); }
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::LanguageChange;
        return false;
    }
    int count = 0;
};

// A recognisable byte at every offset.
QByteArray DeviceImage(int size)
{
    QByteArray image(size, '\0');
    for (int i = 0; i < size; ++i)
        image[i] = char((i * 7 + 3) & 0xff);
    return image;
}

} // namespace

class SettingsTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVB_REQUIRE_THROWAWAY_ROOT();
        // Before any reading the module stands on English / US; no file keeps it there.
        QCOMPARE(Language::CurrentIndex(), 0u);
        Language::Initialize();
        QCOMPARE(Language::CurrentLocaleName(), QString("en_US"));
        // The zone files are the writable stand-in, never the host's.
        QVERIFY(QFile::exists("/host-zoneinfo/Europe/Berlin"));
        QVERIFY(TestSupport::WriteFile(kZoneInfo + "/probe", "x"));
        QVERIFY(!QFile::exists("/host-zoneinfo/probe"));
    }

    void init()
    {
        for (const QString &path : {QString("/etc/sysconfig"), QString("/sys"), QString("/home")})
            Remove(path);
        for (const QString &entry : QDir(kZoneInfo).entryList(QDir::AllEntries | QDir::NoDotAndDotDot))
            Remove(kZoneInfo + '/' + entry);
        QVERIFY(QDir().mkpath("/etc/sysconfig"));
    }

    void cleanup()
    {
        QFile::setPermissions("/home/data/objects", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        unsetenv("TZ");
        tzset();
    }

    // ---- language ----

    void languageTable()
    {
        const QStringList names = Language::DisplayNames(), locales = Language::LocaleNames();
        QCOMPARE(names.size(), 19);
        QCOMPARE(names.at(16), QString::fromUtf8("Русский / Россия"));
        QCOMPARE(names.at(10), QString("Lietuviu / Lietuva"));
        // Not alphabetical: Estonian before Spanish, Lithuanian before Hungarian.
        QCOMPARE(locales.mid(4, 3) + locales.mid(10, 2),
                 QStringList({"de_DE", "et_EE", "es_AR", "lt_LT", "hu_HU"}));
        for (unsigned index = 0; index < 19; ++index) {
            const QString locale = locales.at(int(index));
            QCOMPARE(Language::LanguageCode(index) + '_' + Language::CountryCode(index), locale);
            QCOMPARE(Language::IndexFromLocaleName(locale), index);
        }
        QCOMPARE(Language::TranslationFilePath(6), QString("/home/resources/language/translation_es_ar"));
        for (unsigned index : {19u, 0xffffffffu})
            QCOMPARE(Language::LocaleName(index), QString("en_US"));
        for (const char *name : {"en_us", "de", "de_DE.UTF-8", "pt_PT", ""})
            QCOMPARE(Language::IndexFromLocaleName(name), 19u);
    }

    void languageReading_data()
    {
        // Every row starts from Danish (3), so "keeps its value" shows as 3.
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<unsigned>("index");
        QTest::addColumn<QByteArray>("font");
        const auto row = [](const char *name, const QByteArray &contents, unsigned index,
                            const char *font = "") {
            QTest::newRow(name) << contents << index << QByteArray(font);
        };
        row("more lines after", "LANG=\"de_DE.UTF-8\"\nSYSFONT=\"Vera Sans\"\n\n", 4, "Vera Sans");
        // The last line is never examined: SYSFONT as Save writes it is lost.
        row("as Save writes it", "LANG=\"fr_FR.UTF-8\"\nSYSFONT=\"Vera Sans\"", 7);
        row("final line end adds no line", "LANG=\"fr_FR.UTF-8\"\nSYSFONT=\"Vera Sans\"\n", 7);
        row("one line only", "LANG=\"de_DE.UTF-8\"\n", 3);
        row("font before language", "SYSFONT=\"latarcyrheb-sun16\"\nLANG=\"ru_RU.UTF-8\"\nX\n", 16,
            "latarcyrheb-sun16");
        row("later LANG wins", "LANG=\"de_DE.UTF-8\"\nLANG=\"it_IT.UTF-8\"\nX\n", 9);
        row("language only, lower-cased", "LANG=\"EN_gb\"\nX\n", 0);
        row("comment counts", "# LANG=\"sv_SE.UTF-8\"\nX\n", 18);
        row("unknown language", "LANG=\"xx_YY.UTF-8\"\nX\n", 3);
        row("empty quotes", "LANG=\"\"\nX\n", 3);
        row("no quotes", "LANG=de_DE.UTF-8\nSYSFONT=Vera\nX\n", 3);
        row("empty file", "", 3);
        QByteArray largest("LANG=\"hu_HU.UTF-8\"\n");
        largest += QByteArray(64 * 1024 - largest.size() - 2, '#') + "X\n";
        row("largest accepted size", largest, 11);
        row("one byte too big", largest + '\n', 3);
    }

    void languageReading()
    {
        QFETCH(QByteArray, contents);
        QFETCH(unsigned, index);
        QFETCH(QByteArray, font);
        StartFrom(3);
        QVERIFY(TestSupport::WriteFile(kI18n, contents));
        Language::Initialize();
        QCOMPARE(Language::CurrentIndex(), index);
        QCOMPARE(Language::StartupIndex(), index);
        QCOMPARE(FontWrittenBack(), font);
    }

    void unusableSettingsFiles_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char *kind : {"missing", "directory", "unreadable", "named pipe", "oversized"})
            QTest::newRow(kind) << QString(kind);
    }

    // Language and clock readers share their reading loop and its refusals.
    void unusableSettingsFiles()
    {
        QFETCH(QString, kind);
        StartFrom(3);
        Remove(kI18n);
        const QByteArray i18n = "LANG=\"de_DE.UTF-8\"\nSYSFONT=\"Vera\"\n\n", clock = "ZONE=\"UTC\"\nX\nY";
        for (const auto &[path, contents] : {std::pair(kI18n, i18n), std::pair(kClock, clock)}) {
            if (kind == "directory") {
                QVERIFY(QDir().mkpath(path));
            } else if (kind == "unreadable") {
                QVERIFY(TestSupport::WriteFile(path, contents));
                QVERIFY(QFile::setPermissions(path, QFile::WriteOwner));
                QVERIFY2(!QFile(path).open(QIODevice::ReadOnly), "permission bits are not enforced here");
            } else if (kind == "named pipe") {
                QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0644), 0);
            } else if (kind == "oversized") {
                QVERIFY(TestSupport::WriteFile(path, contents + '\n' + QByteArray(64 * 1024, '#') + '\n'));
            }
        }
        Language::Initialize();
        QCOMPARE(Language::CurrentIndex(), 3u);
        QCOMPARE(Language::StartupIndex(), 3u);
        QCOMPARE(SystemClock::CurrentZone(), QString());
    }

    void translation_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QByteArray>("lang");
        QTest::addColumn<bool>("installed");
        QTest::newRow("exact name") << "translation_de_de.qm" << QByteArray("de_DE") << true;
        // With no translation_pt_br the loader falls back to the language alone.
        QTest::newRow("language only") << "translation_pt.qm" << QByteArray("pt_BR") << true;
        QTest::newRow("another language's file") << "translation_de_de.qm" << QByteArray("fr_FR") << false;
    }

    void translation()
    {
        QFETCH(QString, fileName);
        QFETCH(QByteArray, lang);
        QFETCH(bool, installed);
        // A context of its own per row: translators once installed stay.
        const QString context = QTest::currentDataTag();
        const QString translated = QString::fromUtf8("Sicherung wiederhergestellt");
        QVERIFY(InstallTranslation(fileName, context, translated));
        QVERIFY(TestSupport::WriteFile(kI18n, "LANG=\"" + lang + ".UTF-8\"\nX\n"));
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        LanguageChangeCounter installs;
        Language::Initialize();
        QCOMPARE(installs.count, installed ? 1 : 0);
        QCOMPARE(QCoreApplication::translate(qPrintable(context), "Backup Restored"),
                 installed ? translated : QString("Backup Restored"));
        QCOMPARE(QCoreApplication::translate("Dialog Title", "Backup Restored"), QString("Backup Restored"));
        // Numbers and dates stay in the US form in every language.
        QCOMPARE(QLocale().toString(1234.5, 'f', 1), QString("1,234.5"));
    }

    void languageSave()
    {
        QVERIFY(TestSupport::WriteFile(kI18n, "LANG=\"de_DE.UTF-8\"\nSYSFONT=\"Vera Sans\"\nX\n"));
        Language::Initialize();
        Language::Save(2);
        QCOMPARE(TestSupport::ReadFile(kI18n), QByteArray("LANG=\"cs_CZ.UTF-8\"\nSYSFONT=\"Vera Sans\""));
        QCOMPARE(Language::StartupIndex(), 2u);
        QCOMPARE(Language::CurrentIndex(), 4u); // the new language takes effect at the next start

        // Nothing is written for the start-up language or for no language at all.
        QVERIFY(TestSupport::WriteFile(kI18n, "untouched\n"));
        for (unsigned index : {2u, 19u, 1000u})
            Language::Save(index);
        QCOMPARE(TestSupport::ReadFile(kI18n), QByteArray("untouched\n"));

        // A file that cannot be written changes nothing.
        Remove(kI18n);
        QVERIFY(QDir().mkpath(kI18n));
        Language::Save(6);
        QVERIFY(QFileInfo(kI18n).isDir());
        QCOMPARE(Language::StartupIndex(), 2u);
    }

    // ---- time zone and clock ----

    void currentZone_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<QString>("zone");
        QTest::newRow("as SetZone writes it") << QByteArray("ZONE=\"Europe/Berlin\"\nUTC=true\nARC=false")
                                              << "Europe/Berlin";
        QTest::newRow("on the second line") << QByteArray("UTC=true\nZONE=\"UTC\"\nARC=false") << "UTC";
        QTest::newRow("only line") << QByteArray("ZONE=\"Europe/Berlin\"") << "";
        QTest::newRow("only line, line end") << QByteArray("ZONE=\"Europe/Berlin\"\n") << "";
        QTest::newRow("first ZONE wins") << QByteArray("ZONE=\"A\"\nZONE=\"B\"\nX") << "A";
        QTest::newRow("TIMEZONE counts") << QByteArray("TIMEZONE=\"Asia/Tokyo\"\nX") << "Asia/Tokyo";
        QTest::newRow("no quotes") << QByteArray("ZONE=UTC\nX") << "";
        QTest::newRow("empty") << QByteArray() << "";
    }

    void currentZone()
    {
        QFETCH(QByteArray, contents);
        QFETCH(QString, zone);
        QVERIFY(TestSupport::WriteFile(kClock, contents));
        QCOMPARE(SystemClock::CurrentZone(), zone);
    }

    void availableZonesOnlyDirectFiles()
    {
        QCOMPARE(SystemClock::AvailableZones(), QStringList());
        QVERIFY(TestSupport::WriteFile(kZoneInfo + "/UTC", "TZif"));
        QVERIFY(TestSupport::WriteFile(kZoneInfo + "/GMT", "TZif"));
        QVERIFY(TestSupport::WriteFile(kZoneInfo + "/Europe/Berlin", "TZif"));
        QCOMPARE(SystemClock::AvailableZones(), QStringList({"GMT", "UTC"}));
    }

    void setZone()
    {
        QVERIFY(QDir().mkpath(kZoneInfo + "/Europe"));
        QVERIFY(QFile::copy("/host-zoneinfo/Europe/Berlin", kZoneInfo + "/Europe/Berlin"));
        QVERIFY(TestSupport::WriteFile(kLocalTime, "whatever was there"));
        QVERIFY(TestSupport::WriteFile(kClock, "ZONE=\"Old/Zone\"\nUTC=false\nARC=true\nEXTRA=1\n"));
        SystemClock::SetZone("Europe/Berlin");
        QCOMPARE(TestSupport::ReadFile(kClock), QByteArray("ZONE=\"Europe/Berlin\"\nUTC=true\nARC=false"));
        QCOMPARE(SystemClock::CurrentZone(), QString("Europe/Berlin"));
        QCOMPARE(QFileInfo(kLocalTime).symLinkTarget(), QString("/usr/share/zoneinfo/Europe/Berlin"));
        QCOMPARE(TestSupport::ReadFile(kLocalTime), TestSupport::ReadFile("/host-zoneinfo/Europe/Berlin"));
        // The process follows at once: 2023-11-14 22:13:20 UTC is 23:13 in Berlin.
        QCOMPARE(qgetenv("TZ"), QByteArray(":Europe/Berlin"));
        const time_t instant = 1700000000;
        tm local{};
        QVERIFY(localtime_r(&instant, &local));
        QCOMPARE(local.tm_hour * 100 + local.tm_min, 2313);

        // A zone that is no file gives a dangling link.
        SystemClock::SetZone("Mars/Olympus_Mons");
        QVERIFY(QFileInfo(kLocalTime).isSymLink() && !QFileInfo::exists(kLocalTime));
        QCOMPARE(QFileInfo(kLocalTime).symLinkTarget(), QString("/usr/share/zoneinfo/Mars/Olympus_Mons"));
        QCOMPARE(SystemClock::CurrentZone(), QString("Mars/Olympus_Mons"));
    }

    void setZoneGoesOnAfterFailures()
    {
        QVERIFY(QDir().mkpath(kClock)); // a directory where the file belongs
        SystemClock::SetZone("UTC");
        QVERIFY(QFileInfo(kClock).isDir());
        QCOMPARE(QFileInfo(kLocalTime).symLinkTarget(), QString("/usr/share/zoneinfo/UTC"));
        QCOMPARE(qgetenv("TZ"), QByteArray(":UTC"));
    }

    void setTimeAsksClockAndHardwareClock()
    {
        // A stand-in "hwclock" first on the search path records how it was called.
        QTemporaryDir bin;
        const QString record = bin.filePath("calls"), standIn = bin.filePath("hwclock");
        QVERIFY(TestSupport::WriteFile(standIn, "#!/bin/sh\necho \"$*\" >> '" + record.toUtf8() + "'\n"));
        QVERIFY(QFile::setPermissions(standIn, QFile::ReadOwner | QFile::ExeOwner));
        const QByteArray oldPath = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(bin.path()) + ':' + oldPath);
        clockRequests.clear();
        SystemClock::SetTime(1234567890);
        SystemClock::SetTime(0);
        qputenv("PATH", oldPath);
        QCOMPARE(clockRequests.size(), 2);
        QCOMPARE(clockRequests[0].tv_sec, time_t(1234567890));
        QCOMPARE(clockRequests[0].tv_nsec, 0L);
        QCOMPARE(clockRequests[1].tv_sec, time_t(0));
        // The refused clock request does not stop the hardware clock update.
        QCOMPARE(TestSupport::ReadFile(record), QByteArray("--systohc --utc\n--systohc --utc\n"));
    }

    // ---- identity EEPROM and data directories ----

    void eepromRead_data()
    {
        QTest::addColumn<int>("deviceSize");
        QTest::addColumn<int>("offset");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("bytesRead"); // all of count: true
        QTest::newRow("protected area") << 256 << 0 << 128 << 128;
        QTest::newRow("past the end") << 256 << 250 << 10 << 6;
        QTest::newRow("beyond the end") << 256 << 300 << 4 << 0;
        QTest::newRow("empty device") << 0 << 0 << 1 << 0;
    }

    void eepromRead()
    {
        QFETCH(int, deviceSize);
        QFETCH(int, offset);
        QFETCH(int, count);
        QFETCH(int, bytesRead);
        const QByteArray image = DeviceImage(deviceSize);
        QVERIFY(TestSupport::WriteFile(kEeprom, image));
        QByteArray buffer(count + 8, '\xee');
        QCOMPARE(ReadEeprom(buffer.data(), unsigned(count), offset), bytesRead == count);
        QCOMPARE(buffer.left(bytesRead), image.mid(offset, bytesRead));
        QCOMPARE(buffer.mid(count), QByteArray(8, '\xee')); // nothing beyond the count
        QCOMPARE(TestSupport::ReadFile(kEeprom), image);
    }

    void eepromFields_data()
    {
        QTest::addColumn<int>("deviceSize");
        QTest::addColumn<bool>("identifier"); // 11 bytes at 6
        QTest::addColumn<bool>("address");    // 6 bytes at 67
        QTest::newRow("both fields exactly") << 73 << true << true;
        QTest::newRow("address cut") << 72 << true << false;
        QTest::newRow("identifier exactly") << 17 << true << false;
        QTest::newRow("identifier cut") << 16 << false << false;
    }

    void eepromFields()
    {
        QFETCH(int, deviceSize);
        QFETCH(bool, identifier);
        QFETCH(bool, address);
        QVERIFY(TestSupport::WriteFile(kEeprom, DeviceImage(deviceSize)));
        QByteArray id(11, '\0'), mac(6, '\0');
        QCOMPARE(ReadBoardIdentifier(id.data()), identifier);
        QCOMPARE(ReadBoardAddress(mac.data()), address);
        if (identifier)
            QCOMPARE(id, DeviceImage(17).mid(6));
        if (address)
            QCOMPARE(mac, DeviceImage(73).mid(67));
    }

    void eepromWrite_data()
    {
        QTest::addColumn<int>("offset");
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("written");
        QTest::newRow("first writable byte") << 128 << 16 << true;
        QTest::newRow("last protected byte") << 127 << 16 << false;
        QTest::newRow("start of device") << 0 << 4 << false;
        QTest::newRow("negative offset") << -1 << 4 << false;
        // Only the start is checked: a write may run past the current end.
        QTest::newRow("past the end") << 250 << 10 << true;
    }

    void eepromWrite()
    {
        QFETCH(int, offset);
        QFETCH(int, count);
        QFETCH(bool, written);
        QByteArray image = DeviceImage(256);
        QVERIFY(TestSupport::WriteFile(kEeprom, image));
        const QByteArray data(count, '\x5a');
        QCOMPARE(WriteEeprom(data.constData(), unsigned(count), offset), written);
        if (written)
            image.replace(offset, count, data);
        QCOMPARE(TestSupport::ReadFile(kEeprom), image);
    }

    void eepromWithoutUsableDevice()
    {
        char buffer[16] = {1, 2, 3, 4};
        QVERIFY(!ReadEeprom(buffer, 4, 0));
        QVERIFY(!ReadBoardIdentifier(buffer));
        QVERIFY(!WriteEeprom(buffer, 4, 128));
        QVERIFY(!QFileInfo::exists(kEeprom)); // opened for update, never created
        QVERIFY(QDir().mkpath(kEeprom));
        QVERIFY(!ReadEeprom(buffer, 4, 0));
        Remove(kEeprom);

        const QByteArray image = DeviceImage(256);
        QVERIFY(TestSupport::WriteFile(kEeprom, image));
        QVERIFY(QFile::setPermissions(kEeprom, QFile::ReadOwner));
        QVERIFY(!WriteEeprom(buffer, 4, 128));
        QCOMPARE(TestSupport::ReadFile(kEeprom), image);
    }

    void clearIdentityRecordTouchesTwelveBytes()
    {
        QByteArray block(14, '\xff');
        ClearIdentityRecord(block.data() + 1);
        QCOMPARE(block, '\xff' + QByteArray(12, '\0') + '\xff');
    }

    void dataDirectories()
    {
        // One exists with contents and its own mode, the others are missing.
        QVERIFY(TestSupport::WriteFile("/home/data/objects/{x}/image.png", "png"));
        QVERIFY(QFile::setPermissions("/home/data/objects", QFile::ReadOwner | QFile::ExeOwner));
        EnsureDataDirectories();
        QCOMPARE(QDir("/home/data").entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList({"cropsensor", "log_data", "objects", "reference", "userlists"}));
        QCOMPARE(TestSupport::ReadFile("/home/data/objects/{x}/image.png"), QByteArray("png"));
        QCOMPARE(QFile::permissions("/home/data/objects") & QFile::WriteOwner, QFile::Permissions());

        // A second run changes nothing.
        struct stat before {}, after {};
        QCOMPARE(stat("/home/data", &before), 0);
        EnsureDataDirectories();
        QCOMPARE(stat("/home/data", &after), 0);
        QCOMPARE(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    }
};

QTEST_GUILESS_MAIN(SettingsTest)
#include "tst_settings.moc"
