#include "ValidateCompressedDirectoryProcess.h"

#include "Process.h"

#include <QFile>

namespace Archive {
namespace {

constexpr int kStartTimeoutMs = 30000;
// The test program's input is written through the event loop. While a synchronous
// caller waits on the cutting program alone, nothing drains that buffer; past this
// much the feeding side waits for the test program to catch up, so memory stays small
// whatever the body's size.
constexpr qint64 kMaxPendingInput = 4 * 1024 * 1024;

} // namespace

ValidateCompressedDirectoryProcess::ValidateCompressedDirectoryProcess(const QString &path,
                                                                       quint32 startPosition,
                                                                       QObject *parent)
    : QObject(parent)
    , path(path)
    , startPosition(startPosition)
    , tailProcess(new QtTools::Process(this))
    , gzipProcess(new QtTools::Process(this))
{
    qRegisterMetaType<Archive::ValidateCompressedDirectoryProcess::Result>(
        "Archive::ValidateCompressedDirectoryProcess::Result");
    qRegisterMetaType<size_t>("size_t");
    // errorOccurred is Qt 5's name for the processes' error(QProcess::ProcessError).
    connect(tailProcess, &QProcess::readyReadStandardOutput, this, &ValidateCompressedDirectoryProcess::TailReadyToRead);
    connect(tailProcess, &QProcess::errorOccurred, this, &ValidateCompressedDirectoryProcess::TailError);
    connect(gzipProcess, &QProcess::errorOccurred, this, &ValidateCompressedDirectoryProcess::GzipError);
    connect(tailProcess, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &ValidateCompressedDirectoryProcess::OnTailFinished);
    connect(gzipProcess, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &ValidateCompressedDirectoryProcess::OnGzipFinished);
}

ValidateCompressedDirectoryProcess::~ValidateCompressedDirectoryProcess()
{
    // Nothing may reach the slots while the processes go away.
    tailProcess->disconnect(this);
    gzipProcess->disconnect(this);
    KillAll();
    tailProcess->waitForFinished(5);
    delete tailProcess;
    gzipProcess->waitForFinished(5);
    delete gzipProcess;
}

void ValidateCompressedDirectoryProcess::SetWorkingDirectory(const QString &directory)
{
    tailProcess->setWorkingDirectory(directory);
    gzipProcess->setWorkingDirectory(directory);
}

bool ValidateCompressedDirectoryProcess::WaitForFinished(int msecs)
{
    if (!tailProcess->waitForFinished(msecs))
        return false;
    return gzipProcess->waitForFinished(msecs);
}

ValidateCompressedDirectoryProcess::Result ValidateCompressedDirectoryProcess::GetResult() const
{
    return result;
}

void ValidateCompressedDirectoryProcess::KillAll()
{
    tailProcess->kill();
    gzipProcess->kill();
}

void ValidateCompressedDirectoryProcess::Start()
{
    if (result == NotStarted) {
        if (!QFile::exists(path) && !QFile::exists(tailProcess->workingDirectory() + QLatin1Char('/') + path)) {
            result = FileNotFound;
            emit ErrorOccurred(result);
            return;
        }
        result = Running;
        gzipProcess->SetCommand(QStringLiteral("/bin/gzip"), {QStringLiteral("-t")});
        gzipProcess->Start();
        if (gzipProcess->waitForStarted(kStartTimeoutMs)) {
            tailProcess->SetCommand(QStringLiteral("/usr/bin/tail"),
                                    {QStringLiteral("-c"), QStringLiteral("+%1").arg(startPosition), path});
            tailProcess->Start();
            tailProcess->waitForStarted(kStartTimeoutMs);
        }
        return;
    }
    if (result == Completed)
        emit Finished();
    else if (result != Running)
        emit ErrorOccurred(result);
}

void ValidateCompressedDirectoryProcess::TailReadyToRead()
{
    const QByteArray data = tailProcess->readAllStandardOutput();
    const qint64 written = gzipProcess->write(data);
    if (written <= 0)
        KillAll();
    // A failed write (-1) lowers the count by one; kept so.
    bytesRead += static_cast<size_t>(written);
    emit ProgressChanged(bytesRead);
    if (written > 0 && gzipProcess->bytesToWrite() > kMaxPendingInput)
        gzipProcess->waitForBytesWritten(kStartTimeoutMs);
}

void ValidateCompressedDirectoryProcess::OnTailFinished()
{
    gzipProcess->closeWriteChannel();
}

void ValidateCompressedDirectoryProcess::OnGzipFinished()
{
    // The test program's exit code is not judged here (see the data check and
    // docs/behaviour.md).
    result = Completed;
    emit Finished();
}

void ValidateCompressedDirectoryProcess::Fail(Result error)
{
    if (result != Running)
        return;
    result = error;
    emit ErrorOccurred(error);
    KillAll();
}

void ValidateCompressedDirectoryProcess::TailError()
{
    Fail(TailFailed);
}

void ValidateCompressedDirectoryProcess::GzipError()
{
    Fail(GzipFailed);
}

void ValidateCompressedDirectoryProcess::Cancel()
{
    Fail(Cancelled);
}

} // namespace Archive
