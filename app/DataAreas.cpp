#include "DataAreas.h"

#include "FileHelpers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

namespace DataAreas {
namespace {

QStringList EntriesOf(const char *directory)
{
    // Dirs | Files | Drives | NoDotAndDotDot without Hidden or System: entries whose names
    // begin with a full stop (and sockets, pipes, dangling links) are deliberately kept
    // (see docs/behaviour.md).
    const QDir::Filters filter = QDir::Dirs | QDir::Files | QDir::Drives | QDir::NoDotAndDotDot;
    const QString marker = QString::fromLatin1(kRestoreMarker);
    QStringList paths;
    const QFileInfoList entries = QDir(QString::fromLatin1(directory)).entryInfoList(filter, QDir::Unsorted);
    for (const QFileInfo &entry : entries) {
        // The marker stays through every clearing: it goes only once the clearing is on
        // the storage (see docs/behaviour.md).
        if (entry.absoluteFilePath() != marker)
            paths << entry.absoluteFilePath();
    }
    return paths;
}

// "rm -rf" that dies with the program: a removal left running after a crash could
// still be removing while the next restore unpacks into the same place.
class RemovalProcess : public QProcess
{
protected:
    void setupChildProcess() override { ::prctl(PR_SET_PDEATHSIG, SIGKILL); }
};

QByteArray MarkerDirectory()
{
    return QFile::encodeName(QFileInfo(QString::fromLatin1(kRestoreMarker)).absolutePath());
}

// The nearest directory at or above `path` that exists: the file system a removal there
// was made on.
QByteArray ExistingDirectoryOf(QString path)
{
    while (!QFileInfo(path).isDir() && path != QLatin1String("/"))
        path = QFileInfo(path).absolutePath();
    return QFile::encodeName(path);
}

int SetMarkerOnce()
{
    if (!TouchFile(QString::fromLatin1(kRestoreMarker)))
        return errno != 0 ? errno : EIO;
    // TouchFile takes a refusal to set the times as success; a read-only file system
    // cannot record a restore, whatever it already holds.
    const QtTools::FileDescriptor marker(::open(kRestoreMarker, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    if (!marker.IsOpen())
        return errno;
    if (const int readOnly = QtTools::ReadOnlyFileSystem(marker.Get()))
        return readOnly;
    // The file's own data and the directory entry naming it are flushed separately.
    if (::fsync(marker.Get()) != 0)
        return errno;
    return QtTools::FlushPath(MarkerDirectory().constData());
}

} // namespace

QStringList DataAreaEntries()
{
    QStringList paths = EntriesOf(kHomeDataDirectory);
    paths << EntriesOf(kOemDataDirectory);
    paths << QString::fromLatin1(kConfigurationDatabase);
    return paths;
}

QStringList ClearDataAreas()
{
    // Each path is one argument: a name with blanks, quotes or semicolons is removed whole
    // and nothing outside the data areas can be named by a piece of it. Absolute paths
    // begin with "/", so a name with a leading dash is never taken for an option.
    const QStringList paths = DataAreaEntries();
    for (const QString &path : paths) {
        RemovalProcess removal;
        removal.setProcessChannelMode(QProcess::ForwardedChannels);
        removal.start(QStringLiteral("rm"), {QStringLiteral("-rf"), path});
        removal.waitForFinished(-1);
    }
    QStringList left = DataAreaEntries();
    if (!QFileInfo(QString::fromLatin1(kConfigurationDatabase)).isSymLink()
        && !QFileInfo::exists(QString::fromLatin1(kConfigurationDatabase)))
        left.removeAll(QString::fromLatin1(kConfigurationDatabase));
    return left;
}

int FlushDataAreas()
{
    std::vector<dev_t> flushed;
    for (const char *area : {kHomeDataDirectory, kOemDataDirectory, kConfigurationDatabase}) {
        const QByteArray directory = ExistingDirectoryOf(QString::fromLatin1(area));
        struct stat status;
        if (::stat(directory.constData(), &status) != 0)
            continue;
        bool seen = false;
        for (dev_t device : flushed)
            seen = seen || device == status.st_dev;
        if (seen)
            continue;
        if (const int error = QtTools::FlushFileSystem(directory.constData()))
            return error;
        flushed.push_back(status.st_dev);
    }
    return 0;
}

MarkerOutcome SetRestoreMarker()
{
    MarkerOutcome outcome;
    outcome.error = SetMarkerOnce();
    if ((outcome.error == ENOSPC || outcome.error == EDQUOT) && ::unlink(kMarkerReserve) == 0) {
        // The reserve's room is the marker's now; nothing of the display's data was
        // touched to make it.
        outcome.reserveUsed = true;
        QtTools::FlushPath(MarkerDirectory().constData());
        outcome.error = SetMarkerOnce();
    }
    return outcome;
}

int RemoveRestoreMarker()
{
    if (::unlink(kRestoreMarker) != 0 && errno != ENOENT)
        return errno;
    return QtTools::FlushPath(MarkerDirectory().constData());
}

int KeepMarkerReserve()
{
    struct stat status;
    if (::lstat(kMarkerReserve, &status) == 0)
        return 0;
    QtTools::FileDescriptor reserve(::open(kMarkerReserve, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!reserve.IsOpen())
        return errno;
    // Real blocks, not a hole: giving up a sparse file would free no room at all.
    const std::vector<char> zeros(kMarkerReserveSize, '\0');
    const int error = QtTools::WriteAllAndClose(reserve, zeros.data(), zeros.size());
    if (error != 0)
        ::unlink(kMarkerReserve);
    QtTools::FlushPath(MarkerDirectory().constData());
    return error;
}

RestoreLock::State RestoreLock::Acquire(int *error)
{
    directory = QtTools::FileDescriptor(::open(kHomeDataDirectory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.IsOpen()) {
        *error = errno;
        return State::Unavailable;
    }
    if (::flock(directory.Get(), LOCK_EX | LOCK_NB) != 0) {
        *error = errno;
        directory.Close();
        return *error == EWOULDBLOCK ? State::Busy : State::Unavailable;
    }
    *error = 0;
    return State::Held;
}

} // namespace DataAreas
