#include "MD5SumProcess.h"

#include "CancelRequest.h"

#include "MD5.h"

#include <QFile>

#include <cstring>
#include <limits>
#include <memory>

namespace Archive {
namespace {

// Progress and the cancel check go by 4096-byte chunks; the file is read in larger
// pieces of whole chunks, which keeps system calls few and the copy in the cache.
constexpr qint64 kChunkSize = 4096;
constexpr qint64 kReadSize = 8 * kChunkSize;

} // namespace

MD5SumProcess::MD5SumProcess(const QString &path, qint64 startOffset)
    : QThread(nullptr)
    , path(path)
    , startOffset(startOffset)
{
    std::memset(digest, 0xFF, sizeof digest);
}

MD5SumProcess::~MD5SumProcess() = default;

QByteArray MD5SumProcess::GetDigest() const
{
    std::lock_guard<std::mutex> lock(digestMutex);
    return QByteArray(reinterpret_cast<const char *>(digest), sizeof digest);
}

MD5SumProcess::Result MD5SumProcess::GetResult() const
{
    return static_cast<Result>(result.load());
}

void MD5SumProcess::Cancel()
{
    Detail::CancelAndMark(*this, cancelRequested, 10000, result, Cancelled);
}

void MD5SumProcess::run()
{
    result.store(Running);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        result.store(OpenFailed);
        return;
    }
    if (!file.seek(startOffset)) {
        result.store(SeekFailed);
        return;
    }
    // The quotient, not the size, is compared with 99: files under 10000 bytes report
    // the raw byte count. The count is made over the bytes after the offset while the
    // divisor comes from the whole file, so a run past a header ends somewhat below 100.
    const qint64 quotient = file.size() / 100;
    const qint64 divisor = quotient > 99 ? quotient : 1;

    MD5Context context;
    MD5Init(context);
    std::unique_ptr<unsigned char[]> buffer(new unsigned char[kReadSize]);
    qint64 total = 0;
    int lastPercent = std::numeric_limits<int>::min();
    bool stopped = false;
    while (!stopped) {
        const qint64 count = file.read(reinterpret_cast<char *>(buffer.get()), kReadSize);
        if (count <= 0)
            break;
        for (qint64 at = 0; at < count; at += kChunkSize) {
            if (cancelRequested.load(std::memory_order_relaxed)) {
                stopped = true;
                break;
            }
            const qint64 size = std::min(kChunkSize, count - at);
            MD5Update(context, buffer.get() + at, static_cast<std::size_t>(size));
            total += size;
            const int percent = static_cast<int>(total / divisor);
            if (percent != lastPercent) {
                lastPercent = percent;
                emit PercentProgress(percent);
            }
        }
    }

    unsigned char computed[16];
    MD5Final(context, computed);
    {
        std::lock_guard<std::mutex> lock(digestMutex);
        std::memcpy(digest, computed, sizeof digest);
    }
    if (!cancelRequested.load())
        result.store(Done);
}

} // namespace Archive
