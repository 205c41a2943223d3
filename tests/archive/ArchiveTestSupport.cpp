#include "ArchiveTestSupport.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QRandomGenerator>
#include <QVector>

namespace ArchiveTest {
bool MakeArchive(const QString &archive, const QString &sourceRoot, const QStringList &options,
                 const QStringList &names)
{
    qputenv("LC_ALL", "C.UTF-8"); // for bsdtar: the source names are UTF-8
    return TestSupport::Run(QStringLiteral("bsdtar"), QStringList {"-c", "-f", archive} + options
                                                          + QStringList {"-C", sourceRoot} + names)
           == 0;
}

QByteArray ArchiveOf(const QMap<QString, QByteArray> &files, const QStringList &options)
{
    QTemporaryDir dir;
    QStringList names;
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        TestSupport::WriteFile(dir.filePath("src/" + it.key()), it.value());
        if (!names.contains(it.key().section(QLatin1Char('/'), 0, 0)))
            names << it.key().section(QLatin1Char('/'), 0, 0);
    }
    const QString archive = dir.filePath(QStringLiteral("archive"));
    return MakeArchive(archive, dir.filePath("src"), options, names)
               ? TestSupport::ReadFile(archive) : QByteArray();
}

Outcome Run(Archive::ExtractArchive &job)
{
    Outcome outcome;
    QObject receiver;
    QObject::connect(&job, &Archive::ExtractArchive::PercentProgress, &receiver,
                     [&](int percent) { outcome.progress << percent; });
    QObject::connect(&job, &Archive::ExtractArchive::ErrorOccurred, &receiver,
                     [&](Archive::ArchiveProcess::Result error) { outcome.errors << error; });
    const auto openDescriptors = [] {
        return QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System).size();
    };
    const QString directory = QDir::currentPath();
    const int descriptors = openDescriptors();
    job.start();
    const bool finished = job.wait(120000);
    QCoreApplication::sendPostedEvents(&receiver);
    outcome.result = job.GetResult();
    // A file that cannot be opened is the one failure the job does not signal.
    const bool failed = outcome.result != Archive::ArchiveProcess::Ok
                        && outcome.result != Archive::ArchiveProcess::OpenFailed;
    outcome.clean = finished && QDir::currentPath() == directory
                    && openDescriptors() == descriptors
                    && outcome.errors.size() == (failed ? 1 : 0)
                    && (!failed || outcome.errors.first() == outcome.result);
    return outcome;
}

QString WriteBackup(const QString &path, const QByteArray &body, int headerLength)
{
    return TestSupport::WriteFile(path, RandomBytes(headerLength, 204) + body) ? path : QString();
}

QByteArray RandomBytes(int size, quint32 seed)
{
    QVector<quint32> words((size + 3) / 4);
    QRandomGenerator(seed).fillRange(words.data(), words.size());
    return QByteArray(reinterpret_cast<const char *>(words.constData()), size);
}

QByteArray Md5(const QByteArray &data)
{
    return QCryptographicHash::hash(data, QCryptographicHash::Md5);
}

} // namespace ArchiveTest
