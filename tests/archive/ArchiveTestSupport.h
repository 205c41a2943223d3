#pragma once
// Shared by the archive job tests: real archives made by bsdtar, backup-shaped files, and a
// run of the extraction job as the restore driver sees it.

#include "ExtractArchive.h"
#include "TestSupport.h"

#include <QMap>
#include <QTemporaryDir>

namespace ArchiveTest {

// bsdtar -c -f archive <options> -C sourceRoot <names> in a UTF-8 locale.
bool MakeArchive(const QString &archive, const QString &sourceRoot, const QStringList &options,
                 const QStringList &names);

// The bytes of an archive of `files` (relative path -> content) made with `options`.
QByteArray ArchiveOf(const QMap<QString, QByteArray> &files, const QStringList &options = {});

// A run of the extraction job to its end, its signals queued as the restore driver gets them.
struct Outcome
{
    Archive::ArchiveProcess::Result result = Archive::ArchiveProcess::NotStarted;
    QList<int> progress;
    QList<Archive::ArchiveProcess::Result> errors;
    bool clean = false; // finished, failure signalled once, directory and descriptors kept
};
Outcome Run(Archive::ExtractArchive &job);

// A backup-shaped file: random bytes where the header would be, then the body.
QString WriteBackup(const QString &path, const QByteArray &body, int headerLength = 204);

QByteArray RandomBytes(int size, quint32 seed);
QByteArray Md5(const QByteArray &data);

} // namespace ArchiveTest
