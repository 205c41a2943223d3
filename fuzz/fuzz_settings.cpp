// The language and time-zone settings files, read at their fixed paths: whatever the
// files hold, start-up gets a language from the table and a zone name, never a crash.
// Each input is written to both "/etc/sysconfig/i18n" and "/etc/sysconfig/clock", so it
// must only ever run inside a throwaway root (tools/fuzz starts it through tools/in-root).

#include "FuzzSupport.h"
#include "Language.h"
#include "SystemClock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {


void WriteFile(const char *path, const std::uint8_t *data, std::size_t size)
{
    QFile file(QString::fromLatin1(path));
    Require(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    Require(file.write(reinterpret_cast<const char *>(data), qint64(size)) == qint64(size));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    if (!QFileInfo::exists(QStringLiteral("/.qvb-throwaway-root"))) {
        std::fprintf(stderr, "fuzz_settings writes to /etc/sysconfig; run it through tools/in-root\n");
        std::exit(1);
    }
    Require(QDir().mkpath(QStringLiteral("/etc/sysconfig")));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // A little over the readers' 64 KiB limit, so both sides of it are reached.
    if (size > 66 * 1024)
        return -1;
    WriteFile("/etc/sysconfig/i18n", data, size);
    WriteFile("/etc/sysconfig/clock", data, size);

    Language::Initialize();
    Require(Language::CurrentIndex() < Language::kNoLanguage);
    Require(Language::IndexFromLocaleName(Language::CurrentLocaleName()) == Language::CurrentIndex());

    const QString zone = SystemClock::CurrentZone();
    Require(!zone.contains(QLatin1Char('"')));
    if (size > 64 * 1024)
        Require(zone.isEmpty());
    return 0;
}
