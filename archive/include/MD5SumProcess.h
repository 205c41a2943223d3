#pragma once
// Computes the MD5 digest of a file from a byte offset to its end on the job's own thread,
// reporting progress. The backup data check compares it with the digest a version-2
// backup header stores for its body.

#include <QByteArray>
#include <QString>
#include <QThread>

#include <atomic>
#include <mutex>

namespace Archive {

class MD5SumProcess : public QThread
{
    Q_OBJECT

public:
    // This job's own numbering; 4 is success.
    enum Result : qint32 {
        NotRun = 0,
        Running = 1,      // also left behind by a run stopped on request, until Cancel() ends
        OpenFailed = 2,
        SeekFailed = 3,
        Done = 4,
        Cancelled = 5,
    };

    MD5SumProcess(const QString &path, qint64 startOffset);
    ~MD5SumProcess() override;

    // The 16 digest bytes: all 0xFF before a run, the digest of what was read after it.
    QByteArray GetDigest() const;
    Result GetResult() const;

signals:
    // After every 4096 bytes: bytes digested so far divided by (file size / 100), or the
    // plain byte count for files under 10000 bytes.
    void PercentProgress(int percent);

public slots:
    // Asks the run to stop, waits for it at most 10000 ms, then marks the job Cancelled.
    void Cancel();

protected:
    void run() override;

private:
    const QString path;
    mutable std::mutex digestMutex;
    unsigned char digest[16];
    const qint64 startOffset;
    std::atomic<qint32> result {NotRun};
    std::atomic<bool> cancelRequested {false};
};

} // namespace Archive
