#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace TestSupport {

bool InThrowawayRoot()
{
    return QFileInfo::exists(QStringLiteral("/.qvb-throwaway-root"));
}

QByteArray ReadFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

QStringList Entries(const QString &directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::System
                                     | QDir::NoDotAndDotDot);
}

bool WriteFile(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    return file.write(data) == data.size() && file.flush();
}

int Run(const QString &program, const QStringList &arguments, QByteArray *output, int timeoutMs)
{
    QProcess process;
    process.setProcessChannelMode(output ? QProcess::SeparateChannels : QProcess::ForwardedChannels);
    process.start(program, arguments);
    if (!process.waitForStarted(timeoutMs))
        return -1;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return -1;
    }
    if (output)
        *output = process.readAllStandardOutput();
    if (process.exitStatus() != QProcess::NormalExit)
        return -1;
    return process.exitCode();
}

} // namespace TestSupport
