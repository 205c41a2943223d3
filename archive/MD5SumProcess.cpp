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
constexpr std::size_t kChunkSize = 4096;
constexpr std::size_t kReadSize = 8 * kChunkSize;

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
    int lastPercent = std::numeric_limits<int>::min();
    // A read that fails ends the digest as the end of the file does.
    MD5UpdateToEnd(context, {[&](unsigned char *buffer, std::size_t size) {
                                 return file.read(reinterpret_cast<char *>(buffer), static_cast<qint64>(size));
                             },
                             kReadSize, kChunkSize,
                             [&](std::uint64_t digested) {
                                 const int percent = static_cast<int>(static_cast<qint64>(digested) / divisor);
                                 if (percent != lastPercent) {
                                     lastPercent = percent;
                                     emit PercentProgress(percent);
                                 }
                                 return !cancelRequested.load(std::memory_order_relaxed);
                             }});

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
