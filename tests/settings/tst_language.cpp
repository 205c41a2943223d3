// The language module reads "/etc/sysconfig/i18n" and loads translations from
// "/home/resources/language": everything here runs inside a throwaway root.
#include "Language.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

namespace {

const QString SettingsPath = QStringLiteral("/etc/sysconfig/i18n");
const QString LanguageDirectory = QStringLiteral("/home/resources/language");

// Counts installed translators: installing one sends LanguageChange to the application.
class LanguageChangeCounter : public QObject
{
public:
    LanguageChangeCounter() { QCoreApplication::instance()->installEventFilter(this); }
    ~LanguageChangeCounter() override { QCoreApplication::instance()->removeEventFilter(this); }
    int count = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == QCoreApplication::instance() && event->type() == QEvent::LanguageChange)
            ++count;
        return false;
    }
};

void RemoveSettings()
{
    QFileInfo info(SettingsPath);
    if (info.isDir())
        QDir(SettingsPath).removeRecursively();
    else
        QFile::remove(SettingsPath);
}

void WriteSettings(const QByteArray &contents)
{
    RemoveSettings();
    QVERIFY(TestSupport::WriteFile(SettingsPath, contents));
}

// Puts the module into a known state: the given language, an empty font name.
void StartFrom(unsigned index)
{
    WriteSettings("LANG=\"" + Language::LocaleName(index).toLatin1() + ".UTF-8\"\nSYSFONT=\"\"\n\n");
    Language::Initialize();
    QCOMPARE(Language::CurrentIndex(), index);
}

// The font name is only observable through what Save writes back.
QByteArray FontWrittenBack()
{
    const unsigned other = (Language::StartupIndex() + 1) % Language::NoLanguage;
    RemoveSettings();
    Language::Save(other);
    const QByteArray written = TestSupport::ReadFile(SettingsPath);
    const int at = written.indexOf("SYSFONT=\"");
    if (at < 0 || !written.endsWith('"'))
        return "<no SYSFONT line>";
    return written.mid(at + 9, written.size() - at - 10);
}

// Compiles a one-message translation with lrelease and installs it as `fileName`.
bool InstallTranslation(const QString &fileName, const QString &context, const QString &source,
                        const QString &translation)
{
    QTemporaryDir work;
    const QString ts = work.filePath(QStringLiteral("t.ts"));
    const QString qm = work.filePath(QStringLiteral("t.qm"));
    const QString text = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                        "<!DOCTYPE TS>\n<TS version=\"2.1\" language=\"de_DE\">\n"
                                        "<context><name>%1</name><message><source>%2</source>"
                                        "<translation>%3</translation></message></context>\n</TS>\n")
                             .arg(context, source, translation);
    if (!TestSupport::WriteFile(ts, text.toUtf8()))
        return false;
    QByteArray output;
    if (TestSupport::Run(QStringLiteral(QVB_LRELEASE), {QStringLiteral("-silent"), ts, QStringLiteral("-qm"), qm},
                         &output) != 0)
        return false;
    QDir().mkpath(LanguageDirectory);
    QFile::remove(LanguageDirectory + QLatin1Char('/') + fileName);
    return QFile::copy(qm, LanguageDirectory + QLatin1Char('/') + fileName);
}

} // namespace

class LanguageTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();

    void table_data();
    void table();
    void lookupsOutOfRange_data();
    void lookupsOutOfRange();
    void indexFromLocaleName_data();
    void indexFromLocaleName();
    void translationFilePath_data();
    void translationFilePath();

    void reading_data();
    void reading();
    void unusableFileKeepsLanguage_data();
    void unusableFileKeepsLanguage();
    void oversizedFileBoundary();

    void translationIsInstalled();
    void shortenedTranslationName();
    void missingTranslationInstallsNothing();
    void localeStaysUnitedStates();

    void saveWritesLangAndFont_data();
    void saveWritesLangAndFont();
    void saveWritesNothing();
    void saveFailureChangesNothing();
};

void LanguageTest::initTestCase()
{
    QVB_REQUIRE_THROWAWAY_ROOT();
    // Before any reading the module stands on English / US, and a start without a
    // settings file keeps it there.
    QCOMPARE(Language::CurrentIndex(), 0u);
    QCOMPARE(Language::StartupIndex(), 0u);
    RemoveSettings();
    Language::Initialize();
    QCOMPARE(Language::CurrentIndex(), 0u);
    QCOMPARE(Language::StartupIndex(), 0u);
    QCOMPARE(Language::CurrentLocaleName(), QStringLiteral("en_US"));
}

void LanguageTest::cleanup()
{
    RemoveSettings();
    QDir(LanguageDirectory).removeRecursively();
}

void LanguageTest::table_data()
{
    QTest::addColumn<unsigned>("index");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("displayName");
    const char *rows[][2] = {
        {"en_US", "English / US"},
        {"bg_BG", "Български / България"},
        {"cs_CZ", "Čeština / Česká Republika"},
        {"da_DK", "Dansk / Danmark"},
        {"de_DE", "Deutsch / Deutschland"},
        {"et_EE", "Eesti / Eesti"},
        {"es_AR", "Español / Argentina"},
        {"fr_FR", "Français / France"},
        {"hr_HR", "Hrvatske / Hrvatska"},
        {"it_IT", "Italiano / Italia"},
        {"lt_LT", "Lietuviu / Lietuva"},
        {"hu_HU", "Magyar / Magyarország"},
        {"nl_NL", "Nederlands / Nederland"},
        {"no_NO", "Norsk / Noreg"},
        {"pl_PL", "Polski / Polska"},
        {"pt_BR", "Português / Brasil"},
        {"ru_RU", "Русский / Россия"},
        {"sk_SK", "Slovenčina / Slovensko"},
        {"sv_SE", "Svenska / Sverige"},
    };
    for (unsigned i = 0; i < sizeof rows / sizeof rows[0]; ++i)
        QTest::addRow("%u %s", i, rows[i][0]) << i << QString::fromLatin1(rows[i][0]) << QString::fromUtf8(rows[i][1]);
}

void LanguageTest::table()
{
    QFETCH(unsigned, index);
    QFETCH(QString, locale);
    QFETCH(QString, displayName);
    QCOMPARE(Language::DisplayNames().size(), 19);
    QCOMPARE(Language::LocaleNames().size(), 19);
    QCOMPARE(Language::DisplayNames().at(int(index)), displayName);
    QCOMPARE(Language::LocaleNames().at(int(index)), locale);
    QCOMPARE(Language::LocaleName(index), locale);
    QCOMPARE(Language::LanguageCode(index), locale.left(2));
    QCOMPARE(Language::CountryCode(index), locale.mid(3));
    QCOMPARE(Language::IndexFromLocaleName(locale), index);
}

void LanguageTest::lookupsOutOfRange_data()
{
    QTest::addColumn<unsigned>("index");
    QTest::newRow("none") << 19u;
    QTest::newRow("twenty") << 20u;
    QTest::newRow("largest") << 0xffffffffu;
}

void LanguageTest::lookupsOutOfRange()
{
    QFETCH(unsigned, index);
    QCOMPARE(Language::LanguageCode(index), QStringLiteral("en"));
    QCOMPARE(Language::CountryCode(index), QStringLiteral("US"));
    QCOMPARE(Language::LocaleName(index), QStringLiteral("en_US"));
    QCOMPARE(Language::TranslationFilePath(index), QStringLiteral("/home/resources/language/translation_en_us"));
}

void LanguageTest::indexFromLocaleName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<unsigned>("index");
    QTest::newRow("Swedish") << "sv_SE" << 18u;
    QTest::newRow("Estonian before Spanish") << "et_EE" << 5u;
    QTest::newRow("Lithuanian before Hungarian") << "lt_LT" << 10u;
    QTest::newRow("case matters") << "en_us" << 19u;
    QTest::newRow("language only") << "de" << 19u;
    QTest::newRow("with encoding") << "de_DE.UTF-8" << 19u;
    QTest::newRow("other country") << "pt_PT" << 19u;
    QTest::newRow("empty") << "" << 19u;
}

void LanguageTest::indexFromLocaleName()
{
    QFETCH(QString, name);
    QFETCH(unsigned, index);
    QCOMPARE(Language::IndexFromLocaleName(name), index);
}

void LanguageTest::translationFilePath_data()
{
    QTest::addColumn<unsigned>("index");
    QTest::addColumn<QString>("path");
    QTest::newRow("Spanish") << 6u << "/home/resources/language/translation_es_ar";
    QTest::newRow("Portuguese") << 15u << "/home/resources/language/translation_pt_br";
    QTest::newRow("German") << 4u << "/home/resources/language/translation_de_de";
}

void LanguageTest::translationFilePath()
{
    QFETCH(unsigned, index);
    QFETCH(QString, path);
    QCOMPARE(Language::TranslationFilePath(index), path);
}

void LanguageTest::reading_data()
{
    // Every row starts from Danish (3), so "keeps its value" shows as 3.
    QTest::addColumn<QByteArray>("contents");
    QTest::addColumn<unsigned>("index");
    QTest::addColumn<QByteArray>("font");

    QTest::newRow("German, more lines after") << QByteArray("LANG=\"de_DE.UTF-8\"\nSYSFONT=\"Vera Sans\"\n\n") << 4u
                                              << QByteArray("Vera Sans");
    QTest::newRow("form Save writes: SYSFONT last") << QByteArray("LANG=\"fr_FR.UTF-8\"\nSYSFONT=\"Vera Sans\"") << 7u
                                                    << QByteArray("");
    QTest::newRow("final line end does not add a line")
        << QByteArray("LANG=\"fr_FR.UTF-8\"\nSYSFONT=\"Vera Sans\"\n") << 7u << QByteArray("");
    QTest::newRow("one line only") << QByteArray("LANG=\"de_DE.UTF-8\"\n") << 3u << QByteArray("");
    QTest::newRow("unknown language") << QByteArray("LANG=\"xx_YY.UTF-8\"\nX\n") << 3u << QByteArray("");
    QTest::newRow("empty quotes") << QByteArray("LANG=\"\"\nX\n") << 3u << QByteArray("");
    QTest::newRow("no quotes") << QByteArray("LANG=de_DE.UTF-8\nSYSFONT=Vera\nX\n") << 3u << QByteArray("");
    QTest::newRow("one quote") << QByteArray("LANG=\"de_DE.UTF-8\nX\n") << 4u << QByteArray("");
    QTest::newRow("country ignored") << QByteArray("LANG=\"pt_PT.UTF-8\"\nX\n") << 15u << QByteArray("");
    QTest::newRow("language upper case") << QByteArray("LANG=\"EN_gb\"\nX\n") << 0u << QByteArray("");
    QTest::newRow("single letter") << QByteArray("LANG=\"d\"\nX\n") << 3u << QByteArray("");
    QTest::newRow("comment counts") << QByteArray("# LANG=\"sv_SE.UTF-8\"\nX\n") << 18u << QByteArray("");
    QTest::newRow("later LANG wins") << QByteArray("LANG=\"de_DE.UTF-8\"\nLANG=\"it_IT.UTF-8\"\nX\n") << 9u
                                     << QByteArray("");
    QTest::newRow("unknown later LANG keeps earlier")
        << QByteArray("LANG=\"de_DE.UTF-8\"\nLANG=\"zz_ZZ.UTF-8\"\nX\n") << 4u << QByteArray("");
    QTest::newRow("lower-case lang is not LANG") << QByteArray("lang=\"de_DE.UTF-8\"\nX\n") << 3u << QByteArray("");
    QTest::newRow("font before language") << QByteArray("SYSFONT=\"latarcyrheb-sun16\"\nLANG=\"ru_RU.UTF-8\"\nX\n")
                                          << 16u << QByteArray("latarcyrheb-sun16");
    QTest::newRow("empty font") << QByteArray("LANG=\"ru_RU.UTF-8\"\nSYSFONT=\"\"\nX\n") << 16u << QByteArray("");
    QTest::newRow("CRLF line ends") << QByteArray("LANG=\"nl_NL.UTF-8\"\r\nSYSFONT=\"F\"\r\nX\r\n") << 12u
                                    << QByteArray("F");
    QTest::newRow("empty file") << QByteArray() << 3u << QByteArray("");
    QTest::newRow("binary bytes") << QByteArray("\0\xff\x01LANG=\"\xfe\0\"\n\0\0\0\n", 17) << 3u << QByteArray("");
}

void LanguageTest::reading()
{
    QFETCH(QByteArray, contents);
    QFETCH(unsigned, index);
    QFETCH(QByteArray, font);

    StartFrom(3);
    WriteSettings(contents);
    Language::Initialize();
    QCOMPARE(Language::CurrentIndex(), index);
    QCOMPARE(Language::StartupIndex(), index);
    QCOMPARE(FontWrittenBack(), font);
}

void LanguageTest::unusableFileKeepsLanguage_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("missing") << "missing";
    QTest::newRow("directory") << "directory";
    QTest::newRow("unreadable") << "unreadable";
    QTest::newRow("named pipe") << "fifo";
    QTest::newRow("oversized") << "oversized";
}

void LanguageTest::unusableFileKeepsLanguage()
{
    QFETCH(QString, kind);
    const QByteArray german("LANG=\"de_DE.UTF-8\"\nSYSFONT=\"Vera\"\n\n");

    StartFrom(3);
    RemoveSettings();
    if (kind == QLatin1String("directory")) {
        QVERIFY(QDir().mkpath(SettingsPath));
        QVERIFY(TestSupport::WriteFile(SettingsPath + QStringLiteral("/LANG"), german));
    } else if (kind == QLatin1String("unreadable")) {
        QVERIFY(TestSupport::WriteFile(SettingsPath, german));
        QVERIFY(QFile::setPermissions(SettingsPath, QFile::WriteOwner));
        QFile probe(SettingsPath);
        QVERIFY2(!probe.open(QIODevice::ReadOnly), "permission bits are not enforced in this root");
    } else if (kind == QLatin1String("fifo")) {
        QCOMPARE(mkfifo(QFile::encodeName(SettingsPath).constData(), 0644), 0);
    } else if (kind == QLatin1String("oversized")) {
        QByteArray big = german;
        while (big.size() <= 64 * 1024)
            big += "# padding padding padding padding padding padding padding padding\n";
        QVERIFY(TestSupport::WriteFile(SettingsPath, big));
    }

    Language::Initialize();
    QCOMPARE(Language::CurrentIndex(), 3u);
    QCOMPARE(Language::StartupIndex(), 3u);
}

void LanguageTest::oversizedFileBoundary()
{
    // A file of exactly the largest accepted size is still read.
    QByteArray contents("LANG=\"hu_HU.UTF-8\"\n");
    const QByteArray tail("X\n");
    contents += QByteArray(64 * 1024 - contents.size() - tail.size(), '#');
    contents += tail;
    QCOMPARE(contents.size(), 64 * 1024);
    StartFrom(3);
    WriteSettings(contents);
    Language::Initialize();
    QCOMPARE(Language::CurrentIndex(), 11u);

    StartFrom(3);
    WriteSettings(contents + '\n');
    Language::Initialize();
    QCOMPARE(Language::CurrentIndex(), 3u);
}

void LanguageTest::translationIsInstalled()
{
    const QString german = QString::fromUtf8("Sicherung wiederhergestellt");
    QVERIFY(InstallTranslation(QStringLiteral("translation_de_de.qm"), QStringLiteral("Restore Backup"),
                               QStringLiteral("Backup Restored"), german));
    QCOMPARE(QCoreApplication::translate("Restore Backup", "Backup Restored"), QStringLiteral("Backup Restored"));

    WriteSettings("LANG=\"de_DE.UTF-8\"\nSYSFONT=\"\"\nX\n");
    LanguageChangeCounter installs;
    Language::Initialize();
    QCOMPARE(Language::CurrentIndex(), 4u);
    QCOMPARE(installs.count, 1);
    QCOMPARE(QCoreApplication::translate("Restore Backup", "Backup Restored"), german);
    // Another context keeps its source text.
    QCOMPARE(QCoreApplication::translate("Dialog Title", "Backup Restored"), QStringLiteral("Backup Restored"));
}

void LanguageTest::shortenedTranslationName()
{
    // With no translation_pt_br the loader falls back to the language alone.
    const QString portuguese = QString::fromUtf8("Restauração concluída");
    QVERIFY(InstallTranslation(QStringLiteral("translation_pt.qm"), QStringLiteral("Shortened Name"),
                               QStringLiteral("Restore done"), portuguese));
    WriteSettings("LANG=\"pt_BR.UTF-8\"\nX\n");
    LanguageChangeCounter installs;
    Language::Initialize();
    QCOMPARE(Language::CurrentIndex(), 15u);
    QCOMPARE(installs.count, 1);
    QCOMPARE(QCoreApplication::translate("Shortened Name", "Restore done"), portuguese);
}

void LanguageTest::missingTranslationInstallsNothing()
{
    // A translation for another language is not taken for this one.
    QVERIFY(InstallTranslation(QStringLiteral("translation_de_de.qm"), QStringLiteral("Wrong Language"),
                               QStringLiteral("Text"), QStringLiteral("Deutsch")));
    WriteSettings("LANG=\"fr_FR.UTF-8\"\nX\n");
    LanguageChangeCounter installs;
    Language::Initialize();
    QCOMPARE(Language::CurrentIndex(), 7u);
    QCOMPARE(installs.count, 0);
    QCOMPARE(QCoreApplication::translate("Wrong Language", "Text"), QStringLiteral("Text"));
}

void LanguageTest::localeStaysUnitedStates()
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    WriteSettings("LANG=\"de_DE.UTF-8\"\nX\n");
    Language::Initialize();
    QCOMPARE(QLocale().name(), QStringLiteral("en_US"));
    QCOMPARE(QLocale().toString(1234.5, 'f', 1), QStringLiteral("1,234.5"));
}

void LanguageTest::saveWritesLangAndFont_data()
{
    QTest::addColumn<unsigned>("index");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("English") << 0u << QByteArray("LANG=\"en_US.UTF-8\"\nSYSFONT=\"Vera Sans\"");
    QTest::newRow("Czech") << 2u << QByteArray("LANG=\"cs_CZ.UTF-8\"\nSYSFONT=\"Vera Sans\"");
    QTest::newRow("Portuguese") << 15u << QByteArray("LANG=\"pt_BR.UTF-8\"\nSYSFONT=\"Vera Sans\"");
    QTest::newRow("Swedish") << 18u << QByteArray("LANG=\"sv_SE.UTF-8\"\nSYSFONT=\"Vera Sans\"");
}

void LanguageTest::saveWritesLangAndFont()
{
    QFETCH(unsigned, index);
    QFETCH(QByteArray, expected);
    const unsigned start = index == 4 ? 3 : 4;
    WriteSettings("LANG=\"" + Language::LocaleName(start).toLatin1() + ".UTF-8\"\nSYSFONT=\"Vera Sans\"\nX\n");
    Language::Initialize();
    QCOMPARE(Language::StartupIndex(), start);

    Language::Save(index);
    QCOMPARE(TestSupport::ReadFile(SettingsPath), expected);
    QCOMPARE(Language::StartupIndex(), index);
    // The new language takes effect only at the next start.
    QCOMPARE(Language::CurrentIndex(), start);

    // The written file reads back as the saved language.
    Language::Initialize();
    QCOMPARE(Language::CurrentIndex(), index);
}

void LanguageTest::saveWritesNothing()
{
    StartFrom(5);
    const QByteArray sentinel("untouched\n");
    WriteSettings(sentinel);
    Language::Save(5);
    QCOMPARE(TestSupport::ReadFile(SettingsPath), sentinel);
    Language::Save(19);
    Language::Save(1000);
    QCOMPARE(TestSupport::ReadFile(SettingsPath), sentinel);
    QCOMPARE(Language::StartupIndex(), 5u);
}

void LanguageTest::saveFailureChangesNothing()
{
    StartFrom(5);
    RemoveSettings();
    QVERIFY(QDir().mkpath(SettingsPath));
    Language::Save(6);
    QVERIFY(QFileInfo(SettingsPath).isDir());
    QCOMPARE(Language::StartupIndex(), 5u);

    // A settings directory that cannot be written.
    QDir(SettingsPath).removeRecursively();
    QVERIFY(QFile::setPermissions(QStringLiteral("/etc/sysconfig"), QFile::ReadOwner | QFile::ExeOwner));
    Language::Save(6);
    QVERIFY(QFile::setPermissions(QStringLiteral("/etc/sysconfig"),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QVERIFY(!QFile::exists(SettingsPath));
    QCOMPARE(Language::StartupIndex(), 5u);
}

QTEST_GUILESS_MAIN(LanguageTest)
#include "tst_language.moc"
