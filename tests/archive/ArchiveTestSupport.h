#pragma once
// Shared by the archive job tests: real source trees with the attributes an archive must
// carry (types, modes, owners, times, links, long and non-ASCII names), real archives made
// from them by bsdtar in any format and compression, and a byte-exact comparison of an
// extracted tree with its source. Paths are handled as bytes so nothing depends on the
// locale the test runs in.

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

namespace ArchiveTest {

// What a format keeps besides names, data, modes and times.
enum Feature {
    Owners = 1,     // uid and gid
    HardLinks = 2,  // hard links come back as one inode
    LongNames = 4,  // names beyond ustar's limits
};

// Fills `root` (which must exist) with the standard tree: directories with their own
// modes and times, a file owned by 1234:2345, a hard link to it, an empty file, a
// symbolic link and a dangling one, an executable, non-ASCII names under "names/",
// binary data of mixed compressibility and, with LongNames, a path over 300 bytes.
// Returns the top-level names to hand to the archiver, or an empty list on failure.
QStringList MakeStandardTree(const QByteArray &root, int features);

// Writes a file with the given bytes, mode and modification time (POSIX calls).
bool MakeFile(const QByteArray &path, const QByteArray &data, unsigned mode, long long mtime);

// bsdtar -c -f archive <options> -C sourceRoot <names>, in a UTF-8 locale. False and the
// tool's complaint in *error when it fails.
bool MakeArchive(const QString &archive, const QString &sourceRoot, const QStringList &options,
                 const QStringList &names, QString *error = nullptr);

// Describes every difference between two trees (type, mode, owner where compared, mtime
// in seconds, size, content, link target, hard-link grouping where compared); empty when
// they agree.
QString CompareTrees(const QByteArray &expected, const QByteArray &actual, int features);

// Number of regular files below root.
int CountFiles(const QByteArray &root);

// The process's open descriptors (entries of /proc/self/fd).
int OpenDescriptorCount();

QByteArray RandomBytes(int size, quint32 seed);
QByteArray Md5(const QByteArray &data);

} // namespace ArchiveTest
