#include "DataAreas.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

namespace DataAreas {
namespace {

QStringList EntriesOf(const char *directory)
{
    // Dirs | Files | Drives | NoDotAndDotDot without Hidden or System: entries whose names
    // begin with a full stop (and sockets, pipes, dangling links) are deliberately kept.
    const QDir::Filters filter = QDir::Dirs | QDir::Files | QDir::Drives | QDir::NoDotAndDotDot;
    QStringList paths;
    const QFileInfoList entries = QDir(QString::fromLatin1(directory)).entryInfoList(filter, QDir::Unsorted);
    for (const QFileInfo &entry : entries)
        paths << entry.absoluteFilePath();
    return paths;
}

} // namespace

QStringList DataAreaEntries()
{
    QStringList paths = EntriesOf(HomeDataDirectory);
    paths << EntriesOf(OemDataDirectory);
    paths << QString::fromLatin1(ConfigurationDatabase);
    return paths;
}

void ClearDataAreas()
{
    // Each path is one argument: a name with blanks, quotes or semicolons is removed whole
    // and nothing outside the data areas can be named by a piece of it. Absolute paths
    // begin with "/", so a name with a leading dash is never taken for an option.
    const QStringList paths = DataAreaEntries();
    for (const QString &path : paths)
        QProcess::execute(QStringLiteral("rm"), {QStringLiteral("-rf"), path});
}

} // namespace DataAreas
