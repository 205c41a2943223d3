#include "ArchiveProcess.h"

#include "CancelRequest.h"

namespace Archive {

ArchiveProcess::ArchiveProcess(QObject *parent)
    : QThread(parent)
{
    // Queued delivery of ErrorOccurred to the owner's thread needs the type registered
    // under the name the signal's signature spells.
    qRegisterMetaType<Archive::ArchiveProcess::Result>("Archive::ArchiveProcess::Result");
}

ArchiveProcess::~ArchiveProcess() = default;

ArchiveProcess::Result ArchiveProcess::GetResult() const
{
    return static_cast<Result>(result.load());
}

bool ArchiveProcess::IsConfigurable() const
{
    // QThread::start() marks the thread running before it returns, so a setter called
    // right after start() is refused even before run() has set Running.
    return result.load() == NotStarted && !isRunning() && !isFinished();
}

void ArchiveProcess::SetArchivePath(const QString &path)
{
    if (IsConfigurable())
        archivePath = path;
}

void ArchiveProcess::SetDestinationDirectory(const QString &directory)
{
    if (IsConfigurable())
        destinationDirectory = directory;
}

QString ArchiveProcess::GetArchivePath() const
{
    return archivePath;
}

QString ArchiveProcess::GetDestinationDirectory() const
{
    return destinationDirectory;
}

void ArchiveProcess::SetResult(Result value)
{
    result.store(value);
}

bool ArchiveProcess::IsCancelRequested() const
{
    return cancelRequested.load(std::memory_order_relaxed);
}

void ArchiveProcess::Cancel()
{
    Detail::CancelAndMark(*this, cancelRequested, 5000, result, Cancelled);
}

} // namespace Archive
