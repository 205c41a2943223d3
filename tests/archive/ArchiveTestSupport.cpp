#include "ArchiveTestSupport.h"

#include <QCryptographicHash>
#include <QDir>
#include <QProcess>
#include <QRandomGenerator>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ArchiveTest {
namespace {

bool SetTimes(const QByteArray &path, long long mtime)
{
    timespec times[2];
    times[0].tv_sec = mtime;
    times[0].tv_nsec = 0;
    times[1] = times[0];
    return utimensat(AT_FDCWD, path.constData(), times, AT_SYMLINK_NOFOLLOW) == 0;
}

bool MakeDirectory(const QByteArray &path, unsigned mode)
{
    return (mkdir(path.constData(), 0700) == 0 || errno == EEXIST) && chmod(path.constData(), mode) == 0;
}

// Text that compresses well, different for each seed.
QByteArray Text(int size, quint32 seed)
{
    static const char *const words[] = {"field", "yield", "moisture", "boundary", "guidance",
                                        "rate", "seed", "swath", "headland", "section"};
    QRandomGenerator random(seed);
    QByteArray text;
    while (text.size() < size) {
        text += words[random.bounded(10)];
        text += random.bounded(8) == 0 ? '\n' : ' ';
    }
    text.truncate(size);
    return text;
}

struct Node
{
    char type = '?';
    unsigned mode = 0;
    unsigned uid = 0;
    unsigned gid = 0;
    long long mtime = 0;
    long long size = 0;
    QByteArray content;  // digest of a file's data, or a link's target
    QByteArray linkedTo; // first path of the same inode, for files with several links
};

void Walk(const QByteArray &root, const QByteArray &relative, QMap<QByteArray, Node> &nodes,
          QMap<QPair<quint64, quint64>, QByteArray> &inodes)
{
    const QByteArray directory = relative.isEmpty() ? root : root + '/' + relative;
    DIR *stream = opendir(directory.constData());
    if (!stream)
        return;
    QList<QByteArray> names;
    while (dirent *entry = readdir(stream)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..")
            names << name;
    }
    closedir(stream);
    std::sort(names.begin(), names.end());
    for (const QByteArray &name : names) {
        const QByteArray path = relative.isEmpty() ? name : relative + '/' + name;
        const QByteArray full = root + '/' + path;
        struct stat status;
        if (lstat(full.constData(), &status) != 0)
            continue;
        Node node;
        node.mode = status.st_mode & 07777;
        node.uid = status.st_uid;
        node.gid = status.st_gid;
        node.mtime = status.st_mtim.tv_sec;
        if (S_ISDIR(status.st_mode)) {
            node.type = 'd';
            Walk(root, path, nodes, inodes);
        } else if (S_ISLNK(status.st_mode)) {
            node.type = 'l';
            char target[4096];
            const ssize_t length = readlink(full.constData(), target, sizeof target);
            node.content = QByteArray(target, length < 0 ? 0 : int(length));
            node.mode = 0; // link permissions mean nothing on Linux
        } else if (S_ISREG(status.st_mode)) {
            node.type = 'f';
            node.size = status.st_size;
            const int fd = open(full.constData(), O_RDONLY | O_CLOEXEC);
            QCryptographicHash hash(QCryptographicHash::Md5);
            if (fd >= 0) {
                char buffer[65536];
                ssize_t count;
                while ((count = read(fd, buffer, sizeof buffer)) > 0)
                    hash.addData(buffer, int(count));
                close(fd);
            }
            node.content = hash.result().toHex();
            if (status.st_nlink > 1) {
                const auto key = qMakePair(quint64(status.st_dev), quint64(status.st_ino));
                if (!inodes.contains(key))
                    inodes.insert(key, path);
                node.linkedTo = inodes.value(key);
            }
        } else {
            node.type = 'o';
        }
        nodes.insert(path, node);
    }
}

QMap<QByteArray, Node> Snapshot(const QByteArray &root)
{
    QMap<QByteArray, Node> nodes;
    QMap<QPair<quint64, quint64>, QByteArray> inodes;
    Walk(root, QByteArray(), nodes, inodes);
    return nodes;
}

} // namespace

bool MakeFile(const QByteArray &path, const QByteArray &data, unsigned mode, long long mtime)
{
    const int fd = open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0)
        return false;
    const bool written = write(fd, data.constData(), size_t(data.size())) == data.size();
    close(fd);
    return written && chmod(path.constData(), mode) == 0 && SetTimes(path, mtime);
}

QStringList MakeStandardTree(const QByteArray &root, int features)
{
    const long long t = 1262304000; // 2010-01-01, whole seconds so every format keeps them
    const QByteArray r = root + '/';
    bool ok = MakeDirectory(r + "dir", 0750) && MakeDirectory(r + "dir/sub", 0700)
              && MakeDirectory(r + "names", 0755) && MakeDirectory(r + "names/Łąka", 0775);
    ok = ok && MakeFile(r + "dir/file.txt", "hello, field\n", 0640, t + 11)
         && chown((r + "dir/file.txt").constData(), 1234, 2345) == 0;
    if (features & HardLinks)
        ok = ok && link((r + "dir/file.txt").constData(), (r + "dir/hard").constData()) == 0;
    ok = ok && MakeFile(r + "dir/sub/mixed.bin", RandomBytes(70000, 7) + Text(90000, 8), 0604, t + 22)
         && MakeFile(r + "dir/sub/text.log", Text(300000, 9), 0644, t + 33)
         && MakeFile(r + "empty", QByteArray(), 0600, t + 44)
         && MakeFile(r + "exec.sh", "#!/bin/sh\necho run\n", 0755, t + 55)
         && symlink("dir/file.txt", (r + "link").constData()) == 0 && SetTimes(r + "link", t + 66)
         && symlink("nowhere/else", (r + "dangling").constData()) == 0
         && MakeFile(r + "names/Feld Süd – Mais.txt", "Süd\n", 0644, t + 77)
         && MakeFile(r + "names/Łąka/日本語.txt", Text(1000, 10), 0644, t + 88)
         && MakeFile(r + "names/Ärger übers Öl.csv", "a;b\n", 0644, t + 99);
    QStringList names {"dir", "empty", "exec.sh", "link", "dangling", "names"};
    if (features & LongNames) {
        QByteArray deep = r + "deep";
        ok = ok && MakeDirectory(deep, 0755);
        deep += '/' + QByteArray(120, 'd');
        ok = ok && MakeDirectory(deep, 0755)
             && MakeFile(deep + '/' + QByteArray(200, 'n'), "deep\n", 0644, t + 111)
             && SetTimes(deep, t + 122) && SetTimes(r + "deep", t + 133);
        names << "deep";
    }
    // Directory times last, once nothing more is created inside them.
    ok = ok && SetTimes(r + "names/Łąka", t + 144) && SetTimes(r + "names", t + 155)
         && SetTimes(r + "dir/sub", t + 166) && SetTimes(r + "dir", t + 177);
    return ok ? names : QStringList();
}

bool MakeArchive(const QString &archive, const QString &sourceRoot, const QStringList &options,
                 const QStringList &names, QString *error)
{
    QProcess tar;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    tar.setProcessEnvironment(environment);
    tar.start(QStringLiteral("bsdtar"), QStringList {QStringLiteral("-c"), QStringLiteral("-f"), archive}
                                            + options + QStringList {QStringLiteral("-C"), sourceRoot} + names);
    const bool finished = tar.waitForFinished(120000);
    const bool ok = finished && tar.exitStatus() == QProcess::NormalExit && tar.exitCode() == 0;
    if (!ok && error)
        *error = QString::fromLocal8Bit(tar.readAllStandardError());
    return ok;
}

QString CompareTrees(const QByteArray &expected, const QByteArray &actual, int features)
{
    const QMap<QByteArray, Node> want = Snapshot(expected);
    const QMap<QByteArray, Node> have = Snapshot(actual);
    QStringList differences;
    for (auto it = want.cbegin(); it != want.cend(); ++it) {
        const QString name = QString::fromUtf8(it.key());
        if (!have.contains(it.key())) {
            differences << QStringLiteral("missing: %1").arg(name);
            continue;
        }
        const Node &w = it.value();
        const Node &h = have.value(it.key());
        if (w.type != h.type) {
            differences << QStringLiteral("%1: type %2, expected %3").arg(name).arg(h.type).arg(w.type);
            continue;
        }
        if (w.mode != h.mode)
            differences << QStringLiteral("%1: mode %2, expected %3").arg(name).arg(h.mode, 0, 8).arg(w.mode, 0, 8);
        if (w.type != 'l' && w.mtime != h.mtime)
            differences << QStringLiteral("%1: mtime %2, expected %3").arg(name).arg(h.mtime).arg(w.mtime);
        if ((features & Owners) && (w.uid != h.uid || w.gid != h.gid))
            differences << QStringLiteral("%1: owner %2:%3, expected %4:%5").arg(name).arg(h.uid).arg(h.gid).arg(w.uid).arg(w.gid);
        if (w.size != h.size || w.content != h.content)
            differences << QStringLiteral("%1: content differs (%2 bytes, expected %3)").arg(name).arg(h.size).arg(w.size);
        if ((features & HardLinks) && w.linkedTo != h.linkedTo)
            differences << QStringLiteral("%1: hard link to '%2', expected '%3'").arg(name, QString::fromUtf8(h.linkedTo), QString::fromUtf8(w.linkedTo));
    }
    for (auto it = have.cbegin(); it != have.cend(); ++it) {
        if (!want.contains(it.key()))
            differences << QStringLiteral("unexpected: %1").arg(QString::fromUtf8(it.key()));
    }
    return differences.join(QLatin1Char('\n'));
}

int CountFiles(const QByteArray &root)
{
    int count = 0;
    const QMap<QByteArray, Node> nodes = Snapshot(root);
    for (const Node &node : nodes)
        count += node.type == 'f' ? 1 : 0;
    return count;
}

int OpenDescriptorCount()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

QByteArray RandomBytes(int size, quint32 seed)
{
    QRandomGenerator random(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        bytes[i] = char(random.generate() & 0xFF);
    return bytes;
}

QByteArray Md5(const QByteArray &data)
{
    return QCryptographicHash::hash(data, QCryptographicHash::Md5);
}

} // namespace ArchiveTest
