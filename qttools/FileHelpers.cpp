#include "FileHelpers.h"

#include "Guid.h"
#include "Process.h"

#include <QRegExp>

#include <cerrno>
#include <cstdio>
#include <vector>

#include <fcntl.h>
#include <libgen.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

namespace {

// The object store, with its trailing slash.
const char *const ObjectBase = "/home/data/objects/";

QString Base()
{
    return QString::fromLatin1(ObjectBase);
}

QString Text(const Guid &uuid)
{
    return QString::fromStdString(uuid.ToString());
}

// A regular-expression class of exactly the given characters.
QRegExp CharacterClass(const QString &characters)
{
    return QRegExp(QLatin1Char('[') + QRegExp::escape(characters) + QLatin1Char(']'), Qt::CaseSensitive,
                   QRegExp::RegExp);
}

const QDir::Filters EverythingListed = QDir::Dirs | QDir::Files | QDir::Drives | QDir::NoDotAndDotDot;

} // namespace

bool TouchFile(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    if (utime(name.constData(), nullptr) == 0)
        return true;
    // Only a missing file is something to repair; any other failure (no permission, a
    // read-only file system) leaves the marker as it is and still counts as success
    // (see docs/behaviour.md).
    if (errno != ENOENT)
        return true;
    const int fd = ::open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0);
    if (fd < 0)
        return false;
    return ::close(fd) == 0;
}

quint64 DirectorySize(const QString &path, bool countDirectories)
{
    const QFileInfo info(path);
    if (!info.isDir())
        return info.exists() ? quint64(info.size()) : 0;
    quint64 total = 0;
    const QFileInfoList entries = QDir(path).entryInfoList(EverythingListed);
    for (const QFileInfo &entry : entries)
        total += DirectorySize(entry.absoluteFilePath(), countDirectories);
    if (countDirectories)
        total += quint64(info.size());
    return total;
}

quint64 CollectFiles(const QString &path, QStringList &files)
{
    const QFileInfo info(path);
    if (!info.isDir()) {
        if (!info.exists())
            return 0;
        if (info.isFile())
            files << info.canonicalFilePath();
        return quint64(info.size());
    }
    quint64 total = 0;
    const QFileInfoList entries = QDir(path).entryInfoList(EverythingListed);
    for (const QFileInfo &entry : entries)
        total += CollectFiles(entry.absoluteFilePath(), files);
    return total;
}

quint64 CollectFilesOfList(const QStringList &paths, QStringList &files)
{
    quint64 total = 0;
    for (const QString &path : paths)
        total += CollectFiles(path, files);
    return total;
}

void RemoveRecursively(const QFileInfo &info)
{
    // A link is an entry of the tree like any other: it goes, and what it points to stays,
    // even when that is a directory elsewhere (see docs/behaviour.md).
    if (info.isSymLink() || !info.isDir()) {
        QDir().remove(info.absoluteFilePath());
        return;
    }
    QDir directory(info.absoluteFilePath());
    directory.setFilter(directory.filter() | QDir::NoDotAndDotDot);
    const QFileInfoList entries = directory.entryInfoList();
    for (const QFileInfo &entry : entries)
        RemoveRecursively(entry);
    QDir().rmdir(info.absoluteFilePath());
}

int MakePath(const std::string &path)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0)
        return 0;
    // dirname may write into its argument.
    std::vector<char> copy(path.begin(), path.end());
    copy.push_back('\0');
    const std::string parent = ::dirname(copy.data());
    // "/" and "." are their own parents; stop there even if they cannot be examined.
    if (parent != path)
        MakePath(parent);
    return ::mkdir(path.c_str(), 0775);
}

bool MoveFile(const QString &source, const QString &destination)
{
    QtTools::Process move(QStringLiteral("mv"), {source, destination}, 0, nullptr);
    move.Execute();
    return move.exitCode() == 0;
}

bool CopyFile(const QString &source, const QString &destination)
{
    QtTools::Process copy(QStringLiteral("cp"), {source, destination}, 0, nullptr);
    copy.Execute();
    return copy.exitCode() == 0;
}

QString SanitizeFileName(const QString &text)
{
    QString cleaned = text;
    cleaned.replace(CharacterClass(QStringLiteral("/\\:*?\"<>|")), QStringLiteral("_"));
    return cleaned;
}

QString ShellEscape(const QString &text)
{
    // The question mark stands in the set twice; that is harmless.
    static const char special[] = "?*[]!<>'\"~`#$&(){};\\|?,: \t";
    const QRegExp specials = CharacterClass(QString::fromLatin1(special, 26));
    QString escaped = text;
    int position = 0;
    while ((position = specials.indexIn(escaped, position)) != -1) {
        escaped.insert(position, QLatin1Char('\\'));
        position += 2;
    }
    return escaped;
}

QString GuidPattern()
{
    return QStringLiteral("\\{[a-f0-9]{8}-[a-f0-9]{4}-[a-f0-9]{4}-[a-f0-9]{4}-[a-f0-9]{12}\\}");
}

bool RemoveFileAndObjectDirectory(const QString &path)
{
    if (std::remove(path.toUtf8().constData()) != 0)
        return false;
    // Only the single-slash form is recognised; paths from ObjectDirectory (doubled
    // slash) keep their directory.
    QRegExp objectDirectory(QLatin1Char('(') + Base() + GuidPattern() + QStringLiteral(").*"), Qt::CaseSensitive,
                            QRegExp::RegExp);
    if (objectDirectory.indexIn(path) == 0)
        QDir().rmdir(objectDirectory.cap(1));
    return true;
}

QString ObjectDirectory(const Guid &uuid, bool create)
{
    const QString path = QStringLiteral("%1/%2/").arg(Base(), Text(uuid));
    if (create && !QDir(path).exists())
        QDir().mkpath(path);
    return path;
}

QString ObjectFilePath(const Guid &uuid, const QString &fileName, bool create)
{
    return ObjectDirectory(uuid, create) + fileName;
}

void CreateObjectDirectory(const Guid &uuid)
{
    ObjectDirectory(uuid, true);
}

bool RemoveObjectFile(const Guid &uuid, const QString &fileName)
{
    const QString path = ObjectDirectory(uuid, false);
    const bool removed = QDir(path).remove(fileName);
    // Goes only when nothing is left in it.
    QDir().rmdir(path);
    return removed;
}

void RenameObjectDirectory(const Guid &oldUuid, const Guid &newUuid)
{
    QDir base(Base());
    const QString oldName = Text(oldUuid);
    if (base.exists(oldName))
        base.rename(oldName, Text(newUuid));
}

void MergeObjectDirectory(const Guid &fromUuid, const Guid &toUuid)
{
    const QString fromName = Text(fromUuid);
    QDir source(QStringLiteral("%1/%2").arg(Base(), fromName));
    if (!source.exists())
        return;
    const QDir destination(ObjectDirectory(toUuid, true));

    const QFileInfoList entries = source.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QFileInfo &entry : entries) {
        const QString name = entry.fileName();
        if (destination.exists(name))
            source.remove(name); // removes files only: a clashing sub-directory stays
        else
            MoveFile(entry.absoluteFilePath(), destination.absoluteFilePath(name));
    }
    // A file removal: the source directory itself is left in place.
    QDir(Base()).remove(fromName);
}

QString ObjectImagePath(const Guid &uuid)
{
    const QDir directory(ObjectDirectory(uuid, true));
    const QFileInfoList images =
        directory.entryInfoList({QStringLiteral("image.*")},
                                QDir::Files | QDir::NoSymLinks | QDir::Readable | QDir::Writable,
                                QDir::Name | QDir::IgnoreCase);
    if (images.isEmpty())
        return directory.filePath(QStringLiteral("image.png"));
    for (const QFileInfo &image : images) {
        if (image.completeSuffix() == QLatin1String("png"))
            return image.canonicalFilePath();
    }
    return images.first().canonicalFilePath();
}

QFileInfoList ListObjectEntries(QDir::Filters filters)
{
    QFileInfoList entries;
    const QFileInfoList objects = QDir(Base()).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QFileInfo &object : objects)
        entries << QDir(object.absoluteFilePath()).entryInfoList(filters);
    return entries;
}
