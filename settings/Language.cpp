#include "Language.h"

#include "SettingsFileReader.h"

#include <QCoreApplication>
#include <QFile>
#include <QLocale>
#include <QTextStream>
#include <QTranslator>

#include <memory>
#include <vector>

namespace Language {
namespace {

const char kSettingsPath[] = "/etc/sysconfig/i18n";

struct Row
{
    const char *languageCode;
    const char *countryCode;
    const char *displayName; // UTF-8
};

// The order is the index: only the index is kept in memory and only the locale name in
// the file, so rows must never be reordered. It is not alphabetical by code.
const Row Table[kNoLanguage] = {
    {"en", "US", "English / US"},
    {"bg", "BG", "Български / България"},
    {"cs", "CZ", "Čeština / Česká Republika"},
    {"da", "DK", "Dansk / Danmark"},
    {"de", "DE", "Deutsch / Deutschland"},
    {"et", "EE", "Eesti / Eesti"},
    {"es", "AR", "Español / Argentina"},
    {"fr", "FR", "Français / France"},
    {"hr", "HR", "Hrvatske / Hrvatska"},
    {"it", "IT", "Italiano / Italia"},
    {"lt", "LT", "Lietuviu / Lietuva"},
    {"hu", "HU", "Magyar / Magyarország"},
    {"nl", "NL", "Nederlands / Nederland"},
    {"no", "NO", "Norsk / Noreg"},
    {"pl", "PL", "Polski / Polska"},
    {"pt", "BR", "Português / Brasil"},
    {"ru", "RU", "Русский / Россия"},
    {"sk", "SK", "Slovenčina / Slovensko"},
    {"sv", "SE", "Svenska / Sverige"},
};

// English / US until the file names a known language.
unsigned currentIndex = 0;
unsigned startupIndex = 0;
// Kept only to be written back unchanged by Save.
QString systemFontName;
// Translators the module installed. Once installed a translator is never removed; owning
// it here only lets it be destroyed cleanly when the process ends. Initialize runs once,
// so there is normally exactly one (none when no translation file was found).
std::vector<std::unique_ptr<QTranslator>> &InstalledTranslators()
{
    static std::vector<std::unique_ptr<QTranslator>> translators;
    return translators;
}

void ExamineLine(const QString &line)
{
    if (line.contains(QLatin1String("LANG="))) {
        const QString localeName = line.section(QLatin1Char('"'), 1, 1).section(QLatin1Char('.'), 0, 0);
        if (localeName.isEmpty())
            return;
        // Only the language decides; the country part is ignored.
        const QString language = localeName.toLower().left(2);
        for (unsigned index = 0; index < kNoLanguage; ++index) {
            if (language == QLatin1String(Table[index].languageCode)) {
                currentIndex = index;
                return;
            }
        }
    } else if (line.contains(QLatin1String("SYSFONT="))) {
        systemFontName = line.section(QLatin1Char('"'), 1, 1);
    }
}

} // namespace

void Initialize()
{
    Settings::ForEachLineButLast(QString::fromLatin1(kSettingsPath), [](const QString &line) {
        ExamineLine(line);
        return false;
    });

    if (currentIndex >= kNoLanguage) {
        startupIndex = currentIndex;
        return;
    }

    // Numbers and dates keep the US form in every language.
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));

    auto translator = std::make_unique<QTranslator>();
    // Qt tries translation_de_de.qm, translation_de_de, translation_de.qm, translation_de,
    // translation.qm and translation in that directory.
    const QString fileName = QStringLiteral("translation_") + CurrentLocaleName().toLower();
    if (translator->load(fileName, QString::fromLatin1(kTranslationDirectory))) {
        QCoreApplication::installTranslator(translator.get());
        InstalledTranslators().push_back(std::move(translator));
    }

    startupIndex = currentIndex;
}

void Save(unsigned index)
{
    if (index == startupIndex)
        return;
    if (index >= kNoLanguage)
        return;
    const QString langLine = QStringLiteral("LANG=\"%1.UTF-8\"").arg(LocaleName(index));

    QFile file(QString::fromLatin1(kSettingsPath));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return;
    {
        QTextStream out(&file);
        out << langLine << Qt::endl;
        out << QStringLiteral("SYSFONT=\"%1\"").arg(systemFontName);
    }
    file.close();

    startupIndex = index;
}

unsigned CurrentIndex()
{
    return currentIndex;
}

unsigned StartupIndex()
{
    return startupIndex;
}

QString LanguageCode(unsigned index)
{
    return QString::fromLatin1(index < kNoLanguage ? Table[index].languageCode : "en");
}

QString CountryCode(unsigned index)
{
    return QString::fromLatin1(index < kNoLanguage ? Table[index].countryCode : "US");
}

QString LocaleName(unsigned index)
{
    return LanguageCode(index) + QLatin1Char('_') + CountryCode(index);
}

QString CurrentLocaleName()
{
    return LocaleName(currentIndex);
}

unsigned IndexFromLocaleName(const QString &localeName)
{
    for (unsigned index = 0; index < kNoLanguage; ++index) {
        if (localeName == LocaleName(index))
            return index;
    }
    return kNoLanguage;
}

QStringList DisplayNames()
{
    QStringList names;
    for (const Row &row : Table)
        names << QString::fromUtf8(row.displayName);
    return names;
}

QStringList LocaleNames()
{
    QStringList names;
    for (unsigned index = 0; index < kNoLanguage; ++index)
        names << LocaleName(index);
    return names;
}

QString TranslationFilePath(unsigned index)
{
    return QString::fromLatin1(kTranslationDirectory) + QStringLiteral("/translation_") + LocaleName(index).toLower();
}

} // namespace Language
