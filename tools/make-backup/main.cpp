// qvb-make-backup: wraps an existing archive as a display data backup.
//
//   qvb-make-backup [--header-version 1|2] [--no-digest] BODY OUTPUT
//
// Writes a backup header (version 2, 204 bytes, by default; version 1, 188 bytes) and then
// the body's bytes unchanged. A version-2 header records the body's MD5 digest unless
// --no-digest is given. The body is streamed, never held in memory, so bodies of any size
// work. Prints nothing on success; an error and exit status 1 otherwise.

#include "FileHeader.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>

#include <cstdio>
#include <vector>

namespace {

constexpr qint64 kBlockSize = 1 << 20;

// The identity every backup made by this tool carries; the restore does not check it.
const char kProduct[] = "Talon";
constexpr std::uint32_t kProductCode = 1;
const char kVariant[] = "Standard";
constexpr std::uint32_t kMinimumSoftwareVersion = 0x01000000; // 1.0.0.0

const char kUsage[] = "usage: qvb-make-backup [--header-version 1|2] [--no-digest] BODY OUTPUT\n";

int Fail(const QString &message)
{
    std::fprintf(stderr, "qvb-make-backup: %s\n", qPrintable(message));
    return 1;
}

// Reads the body to its end in blocks, handing each block to `take`; false when a read
// or `take` fails.
template<typename Take>
bool ForEachBlock(QFile &body, Take take)
{
    std::vector<char> block(kBlockSize);
    while (true) {
        const qint64 got = body.read(block.data(), kBlockSize);
        if (got < 0)
            return false;
        if (got == 0)
            return true;
        if (!take(block.data(), got))
            return false;
    }
}

bool Digest(QFile &body, QByteArray &digest)
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    if (!ForEachBlock(body, [&](const char *data, qint64 size) {
            hash.addData(data, int(size));
            return true;
        }))
        return false;
    digest = hash.result();
    return true;
}

bool CopyBody(QFile &body, QFile &output)
{
    return ForEachBlock(body, [&](const char *data, qint64 size) { return output.write(data, size) == size; });
}

} // namespace

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);

    unsigned long headerVersion = 2;
    bool digest = true;
    QStringList paths;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == "--help" || argument == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (argument == "--no-digest") {
            digest = false;
        } else if (argument == "--header-version") {
            const QString value = i + 1 < arguments.size() ? arguments.at(++i) : QString();
            if (value != "1" && value != "2")
                return Fail(QString("header version must be 1 or 2, not \"%1\"").arg(value));
            headerVersion = value.toULong();
        } else if (argument.startsWith("--")) {
            std::fputs(kUsage, stderr);
            return Fail(QString("unknown option %1").arg(argument));
        } else {
            paths << argument;
        }
    }
    if (paths.size() != 2) {
        std::fputs(kUsage, stderr);
        return Fail("expected BODY and OUTPUT");
    }
    const QString bodyPath = paths.at(0);
    const QString outputPath = paths.at(1);

    const QFileInfo bodyInfo(bodyPath);
    if (!bodyInfo.isFile())
        return Fail(QString("%1 is not a regular file").arg(bodyPath));
    if (QFileInfo(outputPath).exists()
        && QFileInfo(outputPath).canonicalFilePath() == bodyInfo.canonicalFilePath())
        return Fail("BODY and OUTPUT are the same file");

    QFile body(bodyPath);
    if (!body.open(QIODevice::ReadOnly))
        return Fail(QString("cannot read %1: %2").arg(bodyPath, body.errorString()));

    DataFileHeader record = Backup::FileHeader::NewBackupRecord(headerVersion);
    if (headerVersion == 2 && digest) {
        QByteArray md5;
        if (!Digest(body, md5) || !body.seek(0))
            return Fail(QString("cannot read %1: %2").arg(bodyPath, body.errorString()));
        record.SetChecksum(std::vector<std::uint8_t>(md5.begin(), md5.end()));
    }

    QFile output(outputPath);
    if (!output.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return Fail(QString("cannot write %1: %2").arg(outputPath, output.errorString()));

    Backup::FileHeader header;
    header.SetProduct(kProduct);
    header.SetProductCode(kProductCode);
    header.SetVariant(kVariant);
    header.SetMinimumSoftwareVersion(kMinimumSoftwareVersion);
    const bool written = header.WriteFileHeader(&output, record) == Backup::FileHeader::Ok
        && CopyBody(body, output) && output.flush();
    if (!written) {
        const QString reason = output.errorString();
        output.close();
        output.remove();
        return Fail(QString("cannot write %1: %2").arg(outputPath, reason));
    }
    output.close();
    if (output.error() != QFileDevice::NoError)
        return Fail(QString("cannot write %1: %2").arg(outputPath, output.errorString()));
    return 0;
}
