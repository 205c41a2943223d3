#pragma once
// Shared by the archive tests: real archives made by bsdtar, backup-shaped files, and runs of the extraction job.

#include "ExtractArchive.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QMap>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QVector>

namespace ArchiveTest {

// bsdtar -c -f archive <options> -C sourceRoot <names> in a UTF-8 locale (the names are UTF-8).
inline bool MakeArchive(const QString &archive, const QString &sourceRoot, const QStringList &options,
                        const QStringList &names)
{
    qputenv("LC_ALL", "C.UTF-8");
    return TestSupport::Run("bsdtar", QStringList {"-c", "-f", archive} + options + QStringList {"-C", sourceRoot} + names) == 0;
}

// The bytes of an archive of `files` (relative path -> content) made with `options`.
inline QByteArray ArchiveOf(const QMap<QString, QByteArray> &files, const QStringList &options = {})
{
    QTemporaryDir dir;
    QStringList names;
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        TestSupport::WriteFile(dir.filePath("src/" + it.key()), it.value());
        names << it.key().section(QLatin1Char('/'), 0, 0);
    }
    names.removeDuplicates();
    const QString archive = dir.filePath(QStringLiteral("archive"));
    return MakeArchive(archive, dir.filePath("src"), options, names) ? TestSupport::ReadFile(archive) : QByteArray();
}

inline QByteArray RandomBytes(int size, quint32 seed)
{
    QVector<quint32> words((size + 3) / 4);
    QRandomGenerator(seed).fillRange(words.data(), words.size());
    return QByteArray(reinterpret_cast<const char *>(words.constData()), size);
}

// A backup-shaped file: random bytes where the header would be, then the body.
inline QString WriteBackup(const QString &path, const QByteArray &body, int headerLength = 204)
{
    return TestSupport::WriteFile(path, RandomBytes(headerLength, 204) + body) ? path : QString();
}

inline QByteArray Md5(const QByteArray &data)
{
    return QCryptographicHash::hash(data, QCryptographicHash::Md5);
}

inline QByteArray DigestBytes(const unsigned char digest[16])
{
    return QByteArray(reinterpret_cast<const char *>(digest), 16);
}

// A run of the extraction job to its end, its signals queued as the restore driver gets them.
struct Outcome
{
    Archive::ArchiveProcess::Result result = Archive::ArchiveProcess::NotStarted;
    QList<int> progress;
    bool clean = false; // finished, failure signalled once, directory and descriptors kept
};

inline Outcome Run(Archive::ExtractArchive &job)
{
    Outcome outcome;
    QList<Archive::ArchiveProcess::Result> errors;
    QObject receiver;
    QObject::connect(&job, &Archive::ExtractArchive::PercentProgress, &receiver,
                     [&](int percent) { outcome.progress << percent; });
    QObject::connect(&job, &Archive::ExtractArchive::ErrorOccurred, &receiver,
                     [&](Archive::ArchiveProcess::Result error) { errors << error; });
    const auto openDescriptors = [] { return QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System).size(); };
    const QString directory = QDir::currentPath();
    const int descriptors = openDescriptors();
    job.start();
    const bool finished = job.wait(120000);
    QCoreApplication::sendPostedEvents(&receiver);
    outcome.result = job.GetResult();
    // A file that cannot be opened is the one failure the job does not signal.
    const bool failed = outcome.result != Archive::ArchiveProcess::Ok && outcome.result != Archive::ArchiveProcess::OpenFailed;
    outcome.clean = finished && QDir::currentPath() == directory && openDescriptors() == descriptors
                    && errors == (failed ? QList<Archive::ArchiveProcess::Result> {outcome.result}
                                         : QList<Archive::ArchiveProcess::Result> {});
    return outcome;
}

} // namespace ArchiveTest
