#pragma once
// The display-wide user-interface language: the fixed table of the 19 languages the
// display offers, the setting in "/etc/sysconfig/i18n" and the application's translator.

#include <QString>
#include <QStringList>

namespace Language {

// Number of rows in the language table; as an index it names no language.
constexpr unsigned kNoLanguage = 19;

// Directory holding the compiled translations, "translation_" + lower-cased locale name
// + ".qm" (for example translation_de_de.qm).
constexpr const char kTranslationDirectory[] = "/home/resources/language";

// Reads "/etc/sysconfig/i18n", sets the current and start-up language and the system
// font name, sets the default locale to English / United States and installs the
// translator of the current language when its file exists. Call once, after the
// application object exists and before any window is built.
void Initialize();

// Rewrites "/etc/sysconfig/i18n" for `index` (LANG line and the unchanged SYSFONT line)
// unless it is already the start-up language or no language at all. Takes effect at the
// next start; the current language and translator stay as they are.
void Save(unsigned index);

unsigned CurrentIndex();
unsigned StartupIndex();

// Lookups by index; an index above 18 gives "en" and "US" (so "en_US").
QString LanguageCode(unsigned index);
QString CountryCode(unsigned index);
QString LocaleName(unsigned index);
QString CurrentLocaleName();

// Exact, case-sensitive match against the locale names; kNoLanguage when none matches.
unsigned IndexFromLocaleName(const QString &localeName);

// All 19 rows in table order.
QStringList DisplayNames();
QStringList LocaleNames();

// kTranslationDirectory + "/translation_" + lower-cased locale name, without suffix.
QString TranslationFilePath(unsigned index);

} // namespace Language
