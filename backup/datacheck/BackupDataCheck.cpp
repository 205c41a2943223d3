// The backup data check: the one part of the backup header that runs archive jobs.

#include "FileHeader.h"

#include "MD5.h"
#include "MD5SumProcess.h"
#include "ValidateCompressedDirectoryProcess.h"

#include <QByteArray>
#include <QString>

#include <algorithm>

namespace Backup {

bool FileHeader::VerifyData(const QString &path) const
{
    if (HeaderVersion() == 1) {
        // "tail" counts from 1: one past the header is the body's first byte.
        Archive::ValidateCompressedDirectoryProcess check(path, HeaderLength() + 1, nullptr);
        check.Start();
        if (check.GetResult() == Archive::ValidateCompressedDirectoryProcess::Running)
            check.WaitForFinished(30000);
        return check.GetResult() == Archive::ValidateCompressedDirectoryProcess::Completed;
    }

    Archive::MD5SumProcess job(path, static_cast<qint64>(HeaderLength()));
    job.start();
    job.wait();
    if (job.GetResult() != Archive::MD5SumProcess::Done)
        return false;
    const std::vector<std::uint8_t> stored = Checksum();
    const QByteArray computed = job.GetDigest();
    return computed.size() == 16
           && Archive::StoredDigestMatches(stored.data(), stored.size(),
                                           reinterpret_cast<const unsigned char *>(computed.constData()));
}

} // namespace Backup
