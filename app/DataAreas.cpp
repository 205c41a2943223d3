#include "DataAreas.h"

#include "FileHelpers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <fcntl.h>
#include <unistd.h>

namespace DataAreas {
namespace {

QStringList EntriesOf(const char *directory)
{
    // Dirs | Files | Drives | NoDotAndDotDot without Hidden or System: entries whose names
    // begin with a full stop (and sockets, pipes, dangling links) are deliberately kept
    // (see docs/behaviour.md).
    const QDir::Filters filter = QDir::Dirs | QDir::Files | QDir::Drives | QDir::NoDotAndDotDot;
    QStringList paths;
    const QFileInfoList entries = QDir(QString::fromLatin1(directory)).entryInfoList(filter, QDir::Unsorted);
    for (const QFileInfo &entry : entries)
        paths << entry.absoluteFilePath();
    return paths;
}

// fsync of whatever `path` names (a file or a directory), without following a link or
// waiting on a special file.
bool Flush(const QByteArray &path)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
    if (fd < 0)
        return false;
    const bool flushed = ::fsync(fd) == 0;
    return ::close(fd) == 0 && flushed;
}

QByteArray MarkerDirectory()
{
    return QFile::encodeName(QFileInfo(QString::fromLatin1(kRestoreMarker)).absolutePath());
}

} // namespace

QStringList DataAreaEntries()
{
    QStringList paths = EntriesOf(kHomeDataDirectory);
    paths << EntriesOf(kOemDataDirectory);
    paths << QString::fromLatin1(kConfigurationDatabase);
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

bool SetRestoreMarker()
{
    const bool touched = TouchFile(QString::fromLatin1(kRestoreMarker));
    // The file's own data and the directory entry naming it are flushed separately.
    return touched && Flush(kRestoreMarker) && Flush(MarkerDirectory());
}

void RemoveRestoreMarker()
{
    QFile::remove(QString::fromLatin1(kRestoreMarker));
    Flush(MarkerDirectory());
}

} // namespace DataAreas
