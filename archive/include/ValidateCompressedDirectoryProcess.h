#pragma once
// Tests the gzip data stored in a file after a given position: "/usr/bin/tail" cuts the
// data out and this object feeds it into "/bin/gzip -t". Event-driven in the owner's
// thread; a synchronous caller uses WaitForFinished.

#include <QObject>
#include <QString>

#include <cstddef>

namespace QtTools {
class Process;
}

namespace Archive {

class ValidateCompressedDirectoryProcess : public QObject
{
    Q_OBJECT

public:
    enum Result : qint32 {
        Completed = 0,    // the test program has ended (its exit code is not judged)
        NotStarted = 1,
        Running = 2,
        FileNotFound = 3, // neither as given nor relative to the processes' working directory
        TailFailed = 4,   // the cutting program reported a process error
        GzipFailed = 5,   // the test program reported a process error
        Cancelled = 6,
    };

    // startPosition counts from 1, as "tail -c +N" does: the header's length plus 1 starts
    // right after the header.
    ValidateCompressedDirectoryProcess(const QString &path, quint32 startPosition,
                                       QObject *parent = nullptr);
    ~ValidateCompressedDirectoryProcess() override;

    void SetWorkingDirectory(const QString &directory);
    // Waits for the cutting program, then for the test program, each up to msecs.
    bool WaitForFinished(int msecs);
    Result GetResult() const;
    void KillAll();

signals:
    void ProgressChanged(size_t bytes_read);
    void Finished();
    void ErrorOccurred(Archive::ValidateCompressedDirectoryProcess::Result error);

public slots:
    void Start();
    void Cancel();
    void TailReadyToRead();
    void TailError();
    void GzipError();
    void OnTailFinished();
    void OnGzipFinished();

private:
    void Fail(Result error);

    Result result = NotStarted;
    const QString path;
    const quint32 startPosition;
    size_t bytesRead = 0;
    QtTools::Process *tailProcess;
    QtTools::Process *gzipProcess;
};

} // namespace Archive

Q_DECLARE_METATYPE(Archive::ValidateCompressedDirectoryProcess::Result)
