#pragma once
// Base of the long-running archive jobs. A job is a thread object: the owner configures
// it while it has not been started, starts it, listens to PercentProgress and
// ErrorOccurred (emitted from the job's thread) and reads GetResult() after finished().

#include <QMetaType>
#include <QString>
#include <QThread>

#include <atomic>

namespace Archive {

class ArchiveProcess : public QThread
{
    Q_OBJECT

public:
    // The numbering has gaps on purpose: the missing values are reserved.
    enum Result : qint32 {
        Ok = 0,           // ended without error, also after stopping on a cancel request
        NotStarted = 1,   // the only state in which the setters take effect
        Running = 2,
        OpenFailed = 3,   // the archive file exists but cannot be opened
        FileNotFound = 5,
        ReadFailed = 9,   // the archive is damaged, truncated or not an archive at all
        Cancelled = 13,   // set once Cancel() has returned
    };

    explicit ArchiveProcess(QObject *parent = nullptr);
    ~ArchiveProcess() override;

    Result GetResult() const;

    virtual void SetArchivePath(const QString &path);
    virtual void SetDestinationDirectory(const QString &directory);

    QString GetArchivePath() const;
    QString GetDestinationDirectory() const;

signals:
    void PercentProgress(int percent);
    void ErrorOccurred(Archive::ArchiveProcess::Result error);

public slots:
    // Asks the run to stop at its next polling point, waits for the thread at most
    // 5000 ms and then marks the job Cancelled, whatever the run had reached.
    void Cancel();

protected:
    void run() override = 0;

    // True while the job may still be configured: not started and not yet running.
    bool IsConfigurable() const;
    void SetResult(Result value);
    bool IsCancelRequested() const;

    std::atomic<qint32> result {NotStarted};
    QString destinationDirectory;
    QString archivePath;
    std::atomic<int> fileDescriptor {-1};
    std::atomic<bool> cancelRequested {false};
};

} // namespace Archive

Q_DECLARE_METATYPE(Archive::ArchiveProcess::Result)
