#pragma once
// Unpacks an archive stored in a file from a given byte offset onto a destination
// directory, on the job's own thread, with percentage progress from the file position.
// A failed run says why: GetFailureReason() in words, GetFailureError() the system's
// error number behind it, for the owner's trail.
// Every format and compression libarchive reads is accepted; bodies that need seeking
// (zip, 7-Zip, ISO 9660) work at any offset. Entry names are read and written as UTF-8
// whatever locale the process runs in. Optionally the body is checked against an
// expected MD5 digest while it is read.

#include "ArchiveProcess.h"

#include <QByteArray>

#include <atomic>

namespace Archive {

namespace Detail {
class BodySource;
class WrittenFileSystems;
}

class ExtractArchive : public ArchiveProcess
{
    Q_OBJECT

public:
    explicit ExtractArchive(QObject *parent = nullptr);
    ExtractArchive(const QString &destinationDirectory, const QString &archivePath,
                   qint64 startOffset, QObject *parent = nullptr);
    ~ExtractArchive() override;

    // Stores the path and takes the progress divisor from the file's size right now.
    // Unlike the other setters it is not limited to a job that has not started.
    void SetArchivePath(const QString &path) override;

    // These take effect only while the job has not started.
    void SetStartOffset(qint64 offset);
    // Walk the archive and skip every entry's data instead of extracting it; the current
    // directory is then left alone and no progress is reported.
    void SetSkipData(bool skip);
    // The body's MD5 digest as stored in the backup header, possibly shorter than 16
    // bytes (only that many leading bytes are compared) or empty (no check). When the
    // body's digest differs the run ends with ReadFailed.
    void SetExpectedDigest(const QByteArray &digest);

    qint64 GetStartOffset() const;
    bool GetSkipData() const;
    QByteArray GetExpectedDigest() const;
    // File size / 100, at least 1: the divisor of the percentages.
    qint64 GetProgressStep() const;

    // Why the last run ended in failure, empty after a success; read after finished().
    QString GetFailureReason() const;
    // The system's error number behind that failure (ENOSPC, EIO, EROFS...), 0 where
    // none was involved (a damaged archive, a digest that differs).
    int GetFailureError() const;

    // libarchive's extraction progress callback; `job` is the ExtractArchive, null is ignored.
    static void ReportProgress(void *job);

protected:
    void run() override;

private:
    // What one step of a run gives back (defined with the steps).
    struct Step;
    struct Tally;
    void EmitProgress();
    Step OpenBody(int *fd, qint64 *bodySize);
    Step UnpackEntries(Detail::BodySource &source, bool staged, Tally &tally);
    Step CheckDigest(Detail::BodySource &source);
    Step FlushWritten(const Detail::WrittenFileSystems &written);
    void Conclude(const Step &step, const Tally &tally, qint64 elapsedMs);

    qint64 startOffset = 0;
    bool skipData = false;
    std::atomic<qint64> progressStep {1};
    QByteArray expectedDigest;
    int lastPercent = -1;
    QString failureReason;
    int failureError = 0;
    const Detail::BodySource *body = nullptr; // the body being read, during the run
};

} // namespace Archive
