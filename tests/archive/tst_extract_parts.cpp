// The private pieces the extraction job is built from, each on its own.

#include "ArchiveTestSupport.h"
#include "DecompressionStage.h"

#include <archive.h>
#include <archive_entry.h>

#include <QTemporaryDir>

#include <memory>

#include <fcntl.h>
#include <unistd.h>

using namespace ArchiveTest;
using Archive::Detail::DecompressionStage;

namespace {

// `data` squeezed by an external compressor (`gzip -c`, `xz -c`, ...).
QByteArray Compressed(const QByteArray &data, const QStringList &command)
{
    QTemporaryDir dir;
    const QString input = dir.filePath(QStringLiteral("input"));
    QByteArray output;
    if (!TestSupport::WriteFile(input, data)
        || TestSupport::Run(command.first(), command.mid(1) + QStringList {input}, &output) != 0)
        return QByteArray();
    return output;
}

// The probe as the job makes it: on a backup-shaped file, from the body's offset.
bool IsCompressed(const QByteArray &body)
{
    QTemporaryDir dir;
    const QString path = WriteBackup(dir.filePath(QStringLiteral("backup")), body, 188);
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool compressed = DecompressionStage::IsCompressed(fd, 188);
    const bool positionKept = ::lseek(fd, 0, SEEK_CUR) == 0;
    ::close(fd);
    return compressed && positionKept;
}

struct ReaderDeleter
{
    void operator()(struct archive *reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<struct archive, ReaderDeleter>;

// What a reader fed by the stage gets to see: every byte, or the error that stopped it.
struct Drained
{
    QByteArray data;
    int status = ARCHIVE_OK;
    QByteArray error;
};

Drained DrainThroughStage(const QByteArray &body, std::size_t blockSize, std::size_t blockCount)
{
    DecompressionStage stage(
        [&body](struct archive *reader) {
            archive_read_open_memory(reader, body.constData(), static_cast<std::size_t>(body.size()));
        },
        blockSize, blockCount);
    Drained drained;
    Reader reader(archive_read_new());
    archive_read_support_format_raw(reader.get());
    stage.OpenReader(reader.get());
    struct archive_entry *entry = nullptr;
    drained.status = archive_read_next_header(reader.get(), &entry);
    while (drained.status == ARCHIVE_OK) {
        const void *block = nullptr;
        std::size_t size = 0;
        la_int64_t offset = 0;
        drained.status = archive_read_data_block(reader.get(), &block, &size, &offset);
        if (drained.status == ARCHIVE_OK)
            drained.data.append(static_cast<const char *>(block), static_cast<int>(size));
    }
    if (drained.status != ARCHIVE_EOF)
        drained.error = archive_error_string(reader.get());
    return drained;
}

} // namespace

class TestExtractParts : public QObject
{
    Q_OBJECT

private slots:
    void stageDeliversEveryByte_data()
    {
        QTest::addColumn<QStringList>("compressor");
        QTest::addColumn<int>("blockSize");
        QTest::addColumn<int>("blockCount");
        const QList<QStringList> compressors {{"gzip", "-c"}, {"bzip2", "-c"}, {"xz", "-c"},
                                              {"zstd", "-q", "-c"}, {"lz4", "-q", "-c"}};
        for (const QStringList &compressor : compressors) {
            const QByteArray name = compressor.first().toUtf8();
            QTest::newRow(name + ", default ring") << compressor << 64 * 1024 << 8;
            // Odd block sizes straddle the library's own pieces; two blocks make the
            // producer wait for the reader all the time.
            QTest::newRow(name + ", tiny ring") << compressor << 1000 << 2;
        }
    }
    void stageDeliversEveryByte()
    {
        QFETCH(QStringList, compressor);
        QFETCH(int, blockSize);
        QFETCH(int, blockCount);
        const QByteArray payload = RandomBytes(300 * 1024, 3) + QByteArray(700 * 1024, 'z')
                                   + RandomBytes(12345, 4);
        const QByteArray body = Compressed(payload, compressor);
        QVERIFY(!body.isEmpty());
        QVERIFY(IsCompressed(body));
        const Drained drained = DrainThroughStage(body, blockSize, blockCount);
        QCOMPARE(drained.status, ARCHIVE_EOF);
        QVERIFY(drained.data == payload);
    }

    // A damaged or cut-off compressed body must reach the parsing reader as a fatal error
    // with the decompressor's words, never as a short but clean stream.
    void stageFailsOnDamagedBody_data()
    {
        QTest::addColumn<QByteArray>("body");
        const QByteArray payload = RandomBytes(200 * 1024, 5);
        const QByteArray gz = Compressed(payload, {"gzip", "-c"});
        const QByteArray xz = Compressed(payload, {"xz", "-c"});
        const QByteArray bz2 = Compressed(payload, {"bzip2", "-c"});
        // The gzip filter does not check the trailer's CRC; a flipped byte is the tar
        // reader's or the digest's to find, so only cut-off streams are the stage's.
        QTest::newRow("gzip cut in the middle") << gz.left(gz.size() / 2);
        QTest::newRow("xz cut in the middle") << xz.left(xz.size() / 2);
        QTest::newRow("xz without its last bytes") << xz.left(xz.size() - 4);
        QTest::newRow("bzip2 cut in the middle") << bz2.left(bz2.size() / 2);
    }
    void stageFailsOnDamagedBody()
    {
        QFETCH(QByteArray, body);
        const Drained drained = DrainThroughStage(body, 4096, 3);
        QCOMPARE(drained.status, ARCHIVE_FATAL);
        QVERIFY2(!drained.error.isEmpty(), "the library's error text is handed on");
    }

    // The parsing side may stop at any time (end of archive, cancel): the stage must then
    // let go of the body and end without waiting for a reader that is gone.
    void stageStopsWhenReaderLeaves()
    {
        const QByteArray body = Compressed(QByteArray(8 * 1024 * 1024, 'x'), {"gzip", "-c"});
        int opened = 0;
        {
            DecompressionStage stage(
                [&](struct archive *reader) {
                    ++opened;
                    archive_read_open_memory(reader, body.constData(), static_cast<std::size_t>(body.size()));
                },
                4096, 2);
            QVERIFY(stage.Started());
            Reader reader(archive_read_new());
            archive_read_support_format_raw(reader.get());
            stage.OpenReader(reader.get());
            struct archive_entry *entry = nullptr;
            QCOMPARE(archive_read_next_header(reader.get(), &entry), ARCHIVE_OK);
            stage.Stop();
            stage.Stop();
            QVERIFY(stage.ErrorText().isEmpty());
        }
        // Never opened at all: the destructor alone ends the stage.
        { DecompressionStage idle([](struct archive *reader) { archive_read_open_memory(reader, "", 0); }); }
        QCOMPARE(opened, 1);
    }

    void stageTakesOnlyCompressedBodies_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("compressed");
        const QByteArray tar = ArchiveOf({{"a.txt", "field\n"}});
        QTest::newRow("tar") << tar << false;
        QTest::newRow("zip") << ArchiveOf({{"a.txt", "field\n"}}, {"--format", "zip"}) << false;
        QTest::newRow("7-Zip") << ArchiveOf({{"a.txt", "field\n"}}, {"--format", "7zip"}) << false;
        QTest::newRow("empty") << QByteArray() << false;
        QTest::newRow("random bytes") << RandomBytes(4096, 9) << false;
        QTest::newRow("tar.gz") << ArchiveOf({{"a.txt", "field\n"}}, {"-z"}) << true;
        QTest::newRow("tar.bz2") << ArchiveOf({{"a.txt", "field\n"}}, {"-j"}) << true;
        QTest::newRow("tar.xz") << ArchiveOf({{"a.txt", "field\n"}}, {"-J"}) << true;
        QTest::newRow("tar.zst") << ArchiveOf({{"a.txt", "field\n"}}, {"--zstd"}) << true;
    }
    void stageTakesOnlyCompressedBodies()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, compressed);
        QCOMPARE(IsCompressed(body), compressed);
    }
};

QTEST_GUILESS_MAIN(TestExtractParts)
#include "tst_extract_parts.moc"
