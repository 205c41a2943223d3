// The private pieces the extraction job is built from, each on its own.

#include "ArchiveTestSupport.h"
#include "BodySource.h"
#include "DecompressionStage.h"
#include "DigestPipeline.h"
#include "Handles.h"
#include "SystemFiles.h"
#include "ThreadLocale.h"

#include <archive.h>
#include <archive_entry.h>

#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <cstring>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <langinfo.h>
#include <functional>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

using namespace ArchiveTest;
using Archive::Detail::BodySource;
using Archive::Detail::DecompressionStage;
using Archive::Detail::DigestPipeline;
using QtTools::FileDescriptor;

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

// The probe as the job makes it: on a backup-shaped file, from the body's offset. A probe
// that moved the descriptor counts as having found nothing.
bool IsCompressed(const QByteArray &body)
{
    QTemporaryDir dir;
    const QString path = WriteBackup(dir.filePath(QStringLiteral("backup")), body, 188);
    const FileDescriptor fd(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC));
    return fd.IsOpen() && DecompressionStage::IsCompressed(fd.Get(), 188) && ::lseek(fd.Get(), 0, SEEK_CUR) == 0;
}

// Gives a reader `body` in reads of exactly `pieceSize` bytes, as from a file read in blocks.
auto InPieces(const QByteArray &body, std::size_t pieceSize)
{
    return [&body, pieceSize](struct archive *reader) {
        archive_read_open_memory2(reader, body.constData(), static_cast<std::size_t>(body.size()), pieceSize);
    };
}

using Archive::Detail::Reader;

// What a reader fed by the stage gets to see: every byte, or the error that stopped it.
struct Drained
{
    QByteArray data;
    int status = ARCHIVE_OK;
    QByteArray error;
};

Drained DrainThroughStage(const QByteArray &body, std::size_t blockSize, std::size_t blockCount,
                          std::size_t pieceSize = 10240)
{
    DecompressionStage stage(InPieces(body, pieceSize), blockSize, blockCount);
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

bool IsOpenDescriptor(int fd)
{
    return fcntl(fd, F_GETFD) != -1;
}

// A reader over `source` walks every entry; skipping the data or reading it whole.
struct Walk
{
    int status = ARCHIVE_OK;
    int worstSkip = ARCHIVE_OK;
    QStringList names;
    QByteArray data;
};

// `open` gives the reader its body; with `filters` the reader takes compression off itself.
Walk WalkReader(const std::function<void(struct archive *)> &open, bool readData, bool filters = true)
{
    Walk walk;
    Reader reader(archive_read_new());
    if (filters)
        archive_read_support_filter_all(reader.get());
    archive_read_support_format_all(reader.get());
    open(reader.get());
    struct archive_entry *entry = nullptr;
    while ((walk.status = archive_read_next_header(reader.get(), &entry)) == ARCHIVE_OK) {
        walk.names << QString::fromUtf8(archive_entry_pathname_utf8(entry));
        if (!readData) {
            walk.worstSkip = std::min(walk.worstSkip, archive_read_data_skip(reader.get()));
            continue;
        }
        char buffer[8192];
        la_ssize_t count;
        while ((count = archive_read_data(reader.get(), buffer, sizeof buffer)) > 0)
            walk.data.append(buffer, static_cast<int>(count));
    }
    return walk;
}

Walk WalkBody(BodySource &source, bool readData)
{
    return WalkReader([&source](struct archive *reader) { source.Open(reader); }, readData);
}

} // namespace

class TestExtractParts : public QObject
{
    Q_OBJECT

private slots:
    void stageDeliversEveryByte_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<int>("blockSize");
        QTest::addColumn<int>("blockCount");
        QTest::addColumn<int>("pieceSize");
        const QByteArray payload = RandomBytes(300 * 1024, 3) + QByteArray(700 * 1024, 'z')
                                   + RandomBytes(12345, 4);
        const QList<QStringList> compressors {{"gzip", "-c"}, {"bzip2", "-c"}, {"xz", "-c"},
                                              {"zstd", "-q", "-c"}, {"lz4", "-q", "-c"}};
        for (const QStringList &compressor : compressors) {
            const QByteArray name = compressor.first().toUtf8();
            const QByteArray body = Compressed(payload, compressor);
            QTest::newRow(name + ", default ring") << body << payload << 64 * 1024 << 8 << 10240;
            // Odd block sizes straddle the library's own pieces; two blocks make the
            // producer wait for the reader all the time.
            QTest::newRow(name + ", tiny ring") << body << payload << 1000 << 2 << 10240;
        }
        const QByteArray gz = Compressed(payload, {"gzip", "-c"});
        // The header, each deflate block and the trailer arrive split anywhere.
        QTest::newRow("gzip, body in 7-byte pieces") << gz << payload << 4096 << 3 << 7;
        // Members one after the other make one stream (gzip itself writes them so when
        // appending); zeros after the last member are a writer's padding.
        const QByteArray more = RandomBytes(5000, 6);
        const QByteArray members = gz + Compressed(more, {"gzip", "-c"}) + Compressed(QByteArray(), {"gzip", "-c"});
        QTest::newRow("three gzip members") << members << payload + more << 4096 << 3 << 10240;
        QTest::newRow("tar.gz inside xz") << Compressed(gz, {"xz", "-c"}) << payload << 4096 << 3 << 10240;
    }
    void stageDeliversEveryByte()
    {
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, payload);
        QFETCH(int, blockSize);
        QFETCH(int, blockCount);
        QFETCH(int, pieceSize);
        QVERIFY(!body.isEmpty());
        QVERIFY(IsCompressed(body));
        const Drained drained = DrainThroughStage(body, std::size_t(blockSize), std::size_t(blockCount),
                                                  std::size_t(pieceSize));
        QCOMPARE(drained.error, QByteArray());
        QCOMPARE(drained.status, ARCHIVE_EOF);
        QVERIFY(drained.data == payload);
    }

    // A damaged or cut-off compressed body must reach the parsing reader as a fatal error
    // with words that say so, never as a short but clean stream; libarchive's gzip filter
    // reports a cut trailer with no text at all.
    void stageFailsOnDamagedBody_data()
    {
        QTest::addColumn<QByteArray>("body");
        const QByteArray payload = RandomBytes(200 * 1024, 5);
        const QByteArray gz = Compressed(payload, {"gzip", "-c"});
        const QByteArray xz = Compressed(payload, {"xz", "-c"});
        const QByteArray bz2 = Compressed(payload, {"bzip2", "-c"});
        // The first deflate block's type bits (after the 10-byte header of a member
        // without a name) set to the reserved type: a damage every inflater must see.
        QByteArray badBlock = Compressed(payload, {"gzip", "-c", "-n"});
        badBlock[10] = char(badBlock.at(10) | 0x06);
        QTest::newRow("gzip cut in the middle") << gz.left(gz.size() / 2);
        QTest::newRow("gzip with a reserved block type") << badBlock;
        QTest::newRow("second gzip member cut") << gz + gz.left(gz.size() / 2);
        QTest::newRow("gzip cut in its trailer") << gz.left(gz.size() - 3);
        QTest::newRow("gzip cut in its trailer, inside xz") << Compressed(gz.left(gz.size() - 3), {"xz", "-c"});
        QTest::newRow("xz cut in the middle") << xz.left(xz.size() / 2);
        QTest::newRow("xz without its last bytes") << xz.left(xz.size() - 4);
        QTest::newRow("bzip2 cut in the middle") << bz2.left(bz2.size() / 2);
    }
    void stageFailsOnDamagedBody()
    {
        QFETCH(QByteArray, body);
        const Drained drained = DrainThroughStage(body, 4096, 3);
        QCOMPARE(drained.status, ARCHIVE_FATAL);
        QVERIFY2(!drained.error.isEmpty(), "the failure is told in words");
    }

    // Whatever follows a gzip member (padding, garbage, what looks like the start of
    // another member, another member), or a compressed stream damaged only after the
    // archive's end, gets the answer bsdtar gives the same bytes, whether the body is
    // decompressed on a thread of its own or read directly, and wherever the reads of the
    // body happen to end.
    void trailingBytesAfterTheArchive_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("edge"); // where the archive's own stream ends
        const QByteArray member = ArchiveOf({{"a/one.bin", RandomBytes(30000, 1)}, {"b/two.txt", "two\n"}}, {"-z"});
        const auto row = [&member](const char *name, const QByteArray &trailing) {
            QTest::newRow(name) << member + trailing << int(member.size());
        };
        row("none", QByteArray());
        row("zeros", QByteArray(1000, '\0'));
        row("garbage", RandomBytes(777, 8).replace('\x1f', '\x20'));
        row("a lone 1f", QByteArray("\x1f"));
        row("1f then zeros", QByteArray("\x1f\0\0\0\0\0", 6));
        row("1f 8b, bad method", QByteArray("\x1f\x8b\x09\0\0\0\0\0\0\x03" "abc", 13));
        row("cut header", QByteArray("\x1f\x8b\x08\0", 4));
        row("second member", Compressed(RandomBytes(3000, 9), {"gzip", "-c"}));
        row("damaged second member", Compressed(RandomBytes(3000, 9), {"gzip", "-c", "-n"}).replace(10, 1, "\x07"));
        // The frame's content checksum comes after the last block: the archive is whole.
        QByteArray lz4 = ArchiveOf({{"a/one.bin", RandomBytes(30000, 1)}, {"b/two.txt", "two\n"}}, {"--lz4"});
        lz4[lz4.size() - 1] = char(lz4.at(lz4.size() - 1) ^ 0x55);
        QTest::newRow("lz4 frame with a spoilt checksum") << lz4 << int(lz4.size() - 4);
    }
    void trailingBytesAfterTheArchive()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, edge);
        QTemporaryDir dir;
        QVERIFY(TestSupport::WriteFile(dir.filePath("body"), body) && QDir().mkpath(dir.filePath("out")));
        const bool bsdtarRestores = TestSupport::Run("bsdtar", {"-xf", dir.filePath("body"), "-C", dir.filePath("out")}) == 0;
        for (const int piece : {1, 7, 512, edge - 2, edge - 1, edge, edge + 1, edge + 2, 65536}) {
            const Walk direct = WalkReader(InPieces(body, std::size_t(piece)), true);
            QCOMPARE(direct.status == ARCHIVE_EOF, bsdtarRestores);
            DecompressionStage stage(InPieces(body, std::size_t(piece)), 4096, 3);
            const Walk staged = WalkReader([&stage](struct archive *reader) { stage.OpenReader(reader); }, true, false);
            QCOMPARE(staged.status == ARCHIVE_EOF, bsdtarRestores);
            QCOMPARE(staged.names, direct.names);
            if (bsdtarRestores)
                QCOMPARE(staged.data, direct.data);
        }
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
        QTest::newRow("tar.gz.gz") << Compressed(ArchiveOf({{"a.txt", "field\n"}}, {"-z"}), {"gzip", "-c"}) << true;
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

    // Every body byte reaches the digest once and in order, whether the reader streams
    // straight through (tar), skips (tar without reading data) or jumps around the file
    // (zip and 7-Zip read their directory at the end first), and whatever stands before
    // the body in the file is never part of it.
    void bodySourceDigestsTheBodyAlone_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<bool>("readData");
        QTest::addColumn<bool>("streams");
        QTest::newRow("tar.gz, reading") << QStringList {"-z"} << true << true;
        QTest::newRow("tar, skipping") << QStringList {} << false << true;
        QTest::newRow("zip, reading") << QStringList {"--format", "zip"} << true << false;
        QTest::newRow("7-Zip, skipping") << QStringList {"--format", "7zip"} << false << false;
    }
    void bodySourceDigestsTheBodyAlone()
    {
        QFETCH(QStringList, options);
        QFETCH(bool, readData);
        QFETCH(bool, streams);
        const QMap<QString, QByteArray> files {{"a/first.bin", RandomBytes(70000, 1)},
                                               {"a/second.txt", QByteArray(50000, 's')},
                                               {"b/third.bin", RandomBytes(3000, 2)}};
        const QByteArray body = ArchiveOf(files, options);
        QVERIFY(!body.isEmpty());
        QTemporaryDir dir;
        const int headerLength = 4097; // not a multiple of any block size
        const QString path = WriteBackup(dir.filePath("backup"), body, headerLength);
        FileDescriptor fd(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC));
        QVERIFY(fd.IsOpen());
        QCOMPARE(::lseek(fd.Get(), headerLength, SEEK_SET), off_t(headerLength));

        BodySource source(fd.Get(), true);
        QCOMPARE(source.Position(), qint64(headerLength));
        const Walk walk = WalkBody(source, readData);
        QCOMPARE(walk.status, ARCHIVE_EOF);
        QCOMPARE(walk.names.filter(QStringLiteral(".")).size(), 3);
        if (readData)
            QCOMPARE(walk.data.size(), 70000 + 50000 + 3000);
        QCOMPARE(source.StreamIntact(), streams);
        QVERIFY(source.Position() > headerLength && source.Position() <= headerLength + body.size());

        unsigned char digest[16];
        const std::atomic<bool> noCancel {false};
        QVERIFY(source.Finish(digest, noCancel) == BodySource::DigestOutcome::Complete);
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(digest), 16), Md5(body));
    }

    // A reader that seeks away and reads no more (a damaged 7-Zip start header sends it to
    // the body's end) must still leave the whole body in the digest.
    void bodySourceDigestAfterTrailingSeek()
    {
        const QByteArray body = QByteArray::fromHex("377abcaf271c00af27637db6d81c00033200000000002e637db6d871"
                                                    "7eae73af") + QByteArray(65537 - 32, '\0');
        QTemporaryDir dir;
        const QString path = WriteBackup(dir.filePath("backup"), body, 204);
        FileDescriptor fd(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC));
        QVERIFY(fd.IsOpen() && ::lseek(fd.Get(), 204, SEEK_SET) == 204);
        BodySource source(fd.Get(), true);
        QVERIFY(WalkBody(source, true).status < ARCHIVE_OK);
        unsigned char digest[16];
        const std::atomic<bool> noCancel {false};
        QVERIFY(source.Finish(digest, noCancel) == BodySource::DigestOutcome::Complete);
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(digest), 16), Md5(body));
    }

    // Skipping data must not run past the end of a cut-off body, or the missing end of an
    // entry would pass for skipped data.
    void bodySourceSkipStopsAtEndOfFile()
    {
        const QByteArray body = ArchiveOf({{"big.bin", RandomBytes(200000, 3)}, {"z.txt", "end\n"}});
        QTemporaryDir dir;
        const QString path = WriteBackup(dir.filePath("backup"), body.left(100000), 188);
        FileDescriptor fd(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC));
        QVERIFY(fd.IsOpen());
        ::lseek(fd.Get(), 188, SEEK_SET);
        BodySource source(fd.Get(), false);
        const Walk walk = WalkBody(source, false);
        QCOMPARE(walk.names, QStringList {"big.bin"});
        QCOMPARE(walk.worstSkip, ARCHIVE_FATAL);
        QCOMPARE(source.Position(), qint64(188 + 100000));
    }

    // A file that ends before the size it had when reading began has not ended: the storage
    // stopped delivering it. The reader meets a read error with the storage's EIO where the
    // data stops, not an early end, and the digest fails too; a cancel during the digest's
    // last stretch is told as such.
    void bodySourceShrinkingFileIsReadError_data()
    {
        QTest::addColumn<bool>("gzip");
        QTest::addColumn<bool>("readData");
        QTest::newRow("plain tar") << false << true;
        QTest::newRow("tar.gz") << true << true;
        // Data skipped (an entry the storage refused) while the digest needs every byte:
        // the skip reads, and its read fails. Cut at each of a run of block ends, so that
        // some skip meets the failure with its very first read.
        QTest::newRow("plain tar, data skipped") << false << false;
    }
    void bodySourceShrinkingFileIsReadError()
    {
        QFETCH(bool, gzip);
        QFETCH(bool, readData);
        QMap<QString, QByteArray> files;
        for (int i = 0; i < 40; ++i)
            files.insert(QStringLiteral("f%1.bin").arg(i), RandomBytes(100000, 10 + i));
        const QByteArray body = ArchiveOf(files, gzip ? QStringList {"-z"} : QStringList {});
        QTemporaryDir dir;
        const QString path = dir.filePath("backup");
        const std::size_t block = readData ? BodySource::kStreamingBlockSize : 4096;
        for (qint64 cutAt = 204 + body.size() / 2; cutAt < 204 + body.size() / 2 + 30 * 4096; cutAt += 4096) {
            WriteBackup(path, body, 204);
            FileDescriptor fd(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC));
            QVERIFY(fd.IsOpen());
            ::lseek(fd.Get(), 204, SEEK_SET);
            BodySource source(fd.Get(), true, block);
            QCOMPARE(::truncate(QFile::encodeName(path).constData(), cutAt), 0);
            const Walk walk = WalkBody(source, readData);
            QVERIFY2(walk.status == ARCHIVE_FATAL, qPrintable(QString::number(walk.status)));
            QVERIFY(walk.names.size() < files.size());
            QCOMPARE(source.ReadError(), EIO);
            QVERIFY(source.Position() <= cutAt);
            unsigned char digest[16];
            const std::atomic<bool> noCancel {false};
            QVERIFY(source.Finish(digest, noCancel) != BodySource::DigestOutcome::Complete);
            if (readData)
                break; // one cut tells for reading; skipping needs the run of them
        }
        // The whole file again, the reader done with it at once: a cancel ends the digest.
        const QString whole = WriteBackup(dir.filePath("again"), body, 204);
        FileDescriptor again(::open(QFile::encodeName(whole).constData(), O_RDONLY | O_CLOEXEC));
        ::lseek(again.Get(), 204, SEEK_SET);
        BodySource cancelled(again.Get(), true, BodySource::kStreamingBlockSize);
        unsigned char digest[16];
        const std::atomic<bool> cancel {true};
        QVERIFY(cancelled.Finish(digest, cancel) == BodySource::DigestOutcome::Cancelled);
    }

    // Pieces of every size, across chunk boundaries and many times round the ring.
    // Whoever digests a chunk (the pipeline's thread, a helper that would otherwise wait,
    // the producer when the ring is full, Finish at the end), every byte counts once and
    // in order.
    void digestPipelineMatchesWholeDigest_data()
    {
        QTest::addColumn<QList<int>>("pieces");
        QTest::addColumn<bool>("ownThread");
        QTest::addColumn<bool>("helper");
        const int chunk = static_cast<int>(DigestPipeline::kChunkSize);
        QList<int> many;
        for (int i = 0; i < 400; ++i)
            many << 1 + (i * 7919) % 40000;
        QList<int> rings;
        for (std::size_t i = 0; i < 3 * DigestPipeline::kChunkCount; ++i)
            rings << chunk;
        const QList<QPair<QByteArray, QList<int>>> layouts {
            {"nothing", {}},
            {"one byte", {1}},
            {"exact chunks", {chunk, chunk, chunk, chunk, chunk, chunk}},
            {"odd pieces", {4096, 1, chunk - 4097, chunk, 32768, 7, chunk - 1, 100000}},
            {"many small pieces", many},
            // Several rings' worth: the producer catches up on its own when unhelped.
            {"three rings", rings}};
        for (const auto &layout : layouts) {
            QTest::newRow(layout.first + ", own thread") << layout.second << true << false;
            QTest::newRow(layout.first + ", own thread and a helper") << layout.second << true << true;
            QTest::newRow(layout.first + ", a helper") << layout.second << false << true;
            QTest::newRow(layout.first + ", no one helping") << layout.second << false << false;
        }
    }
    void digestPipelineMatchesWholeDigest()
    {
        QFETCH(QList<int>, pieces);
        QFETCH(bool, ownThread);
        QFETCH(bool, helper);
        int total = 0;
        for (int piece : pieces)
            total += piece;
        const QByteArray data = RandomBytes(total, 11);
        DigestPipeline pipeline(ownThread);
        std::atomic<bool> producing {true};
        std::thread helping;
        if (helper)
            helping = std::thread([&] {
                while (producing.load())
                    pipeline.HelpOnce();
            });
        int at = 0;
        for (int piece : pieces) {
            unsigned char *target = pipeline.Reserve(static_cast<std::size_t>(piece));
            std::memcpy(target, data.constData() + at, static_cast<std::size_t>(piece));
            pipeline.Commit(static_cast<std::size_t>(piece));
            at += piece;
        }
        producing = false;
        if (helping.joinable())
            helping.join();
        unsigned char digest[16];
        pipeline.Finish(digest);
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(digest), 16), Md5(data));
    }

    // Without a thread of its own, handed-over chunks wait for a helper, one at a time;
    // the chunk still being filled is nobody's to digest before Finish.
    void digestHelperTakesWaitingChunks()
    {
        if (std::thread::hardware_concurrency() <= 1)
            QSKIP("on a single core every chunk is digested as it is handed over");
        const std::size_t chunk = DigestPipeline::kChunkSize;
        const QByteArray data = RandomBytes(int(2 * chunk + 1000), 13);
        DigestPipeline pipeline(false);
        for (std::size_t at = 0; at < std::size_t(data.size()); at += 1000) {
            const std::size_t piece = std::min<std::size_t>(1000, std::size_t(data.size()) - at);
            std::memcpy(pipeline.Reserve(piece), data.constData() + at, piece);
            pipeline.Commit(piece);
        }
        QVERIFY(pipeline.HelpOnce());
        QVERIFY(pipeline.HelpOnce());
        QVERIFY(!pipeline.HelpOnce());
        unsigned char digest[16];
        pipeline.Finish(digest);
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(digest), 16), Md5(data));
    }

    // The reading side's idle work may take a while; a block or the end that comes
    // meanwhile must still be seen, not waited for.
    void stageSeesTheEndThatCameDuringIdleWork()
    {
        const QByteArray payload = RandomBytes(3000, 12);
        const QByteArray body = Compressed(payload, {"gzip", "-c"});
        DecompressionStage stage(InPieces(body, std::size_t(body.size())));
        int idleCalls = 0;
        stage.SetIdleWork([&idleCalls] {
            ++idleCalls;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            return false;
        });
        Reader reader(archive_read_new());
        archive_read_support_format_raw(reader.get());
        stage.OpenReader(reader.get());
        struct archive_entry *entry = nullptr;
        QCOMPARE(archive_read_next_header(reader.get(), &entry), ARCHIVE_OK);
        QByteArray data;
        const void *block = nullptr;
        std::size_t size = 0;
        la_int64_t offset = 0;
        int status;
        while ((status = archive_read_data_block(reader.get(), &block, &size, &offset)) == ARCHIVE_OK)
            data.append(static_cast<const char *>(block), static_cast<int>(size));
        QCOMPARE(status, ARCHIVE_EOF);
        QVERIFY(data == payload);
        QVERIFY(idleCalls > 0);
    }

    // The thread that holds the guard reads UTF-8; the process and other threads keep the
    // C locale, and the thread gets it back when the guard goes.
    void utf8LocaleStaysWithItsThread()
    {
        // As on the display, started by init without LANG or LC_*.
        const QByteArray before = std::setlocale(LC_ALL, nullptr);
        std::setlocale(LC_ALL, "C");
        const auto restore = qScopeGuard([&] { std::setlocale(LC_ALL, before.constData()); });
        QByteArray inside, after, elsewhere;
        bool active = false;
        std::thread worker([&] {
            {
                const Archive::Detail::Utf8CharacterTypeForThisThread utf8;
                active = utf8.Active();
                inside = nl_langinfo(CODESET);
                std::thread other([&] { elsewhere = nl_langinfo(CODESET); });
                other.join();
            }
            after = nl_langinfo(CODESET);
        });
        worker.join();
        QVERIFY2(active, "a UTF-8 locale is installed (C.UTF-8 comes with the C library)");
        QCOMPARE(inside, QByteArray("UTF-8"));
        QCOMPARE(elsewhere, QByteArray("ANSI_X3.4-1968"));
        QCOMPARE(after, QByteArray("ANSI_X3.4-1968"));
        QCOMPARE(QByteArray(nl_langinfo(CODESET)), QByteArray("ANSI_X3.4-1968"));
    }

    // Closed exactly once, by whoever owns it last.
    void descriptorClosedOnceByItsOwner()
    {
        int raw = -1;
        {
            FileDescriptor first(::open("/dev/null", O_RDONLY | O_CLOEXEC));
            raw = first.Get();
            QVERIFY(IsOpenDescriptor(raw));
            FileDescriptor second(std::move(first));
            QVERIFY(!first.IsOpen());
            QCOMPARE(second.Get(), raw);
            FileDescriptor third;
            third = std::move(second);
            QVERIFY(IsOpenDescriptor(raw));
            third.Close();
            QVERIFY(!IsOpenDescriptor(raw));
            // A descriptor number handed out again must survive the old owners.
            QCOMPARE(::open("/dev/null", O_RDONLY | O_CLOEXEC), raw);
            third.Close();
        }
        QVERIFY(IsOpenDescriptor(raw));
        ::close(raw);
    }
};

QTEST_GUILESS_MAIN(TestExtractParts)
#include "tst_extract_parts.moc"
