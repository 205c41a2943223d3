// The private pieces the extraction job is built from, each on its own.

#include "ArchiveTestSupport.h"
#include "BodySource.h"
#include "DecompressionStage.h"
#include "DigestPipeline.h"
#include "SystemFiles.h"
#include "ThreadLocale.h"

#include <archive.h>
#include <archive_entry.h>

#include <QFile>
#include <QScopeGuard>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <clocale>
#include <cstring>
#include <numeric>
#include <thread>

#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

using namespace ArchiveTest;
using Archive::Detail::BodySource;
using Archive::Detail::DecompressionStage;
using Archive::Detail::DigestPipeline;
using Archive::Detail::Reader;
using QtTools::FileDescriptor;
using Opener = DecompressionStage::BodyOpener;

namespace {

// `data` squeezed by an external compressor (`gzip -c`, `xz -c`, ...).
QByteArray Compressed(const QByteArray &data, const QStringList &command)
{
    QTemporaryDir dir;
    QByteArray output;
    const QString input = dir.filePath(QStringLiteral("input"));
    return TestSupport::WriteFile(input, data)
                   && TestSupport::Run(command.first(), command.mid(1) + QStringList {input}, &output) == 0
               ? output : QByteArray();
}

// The file at `path`, its descriptor standing at `at`; not open if either step failed.
FileDescriptor OpenAt(const QString &path, off_t at)
{
    FileDescriptor fd(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC));
    return fd.IsOpen() && ::lseek(fd.Get(), at, SEEK_SET) == at ? std::move(fd) : FileDescriptor();
}

// The probe as the job makes it: on a backup-shaped file, from the body's offset. A probe
// that moved the descriptor counts as having found nothing.
bool IsCompressed(const QByteArray &body)
{
    QTemporaryDir dir;
    const FileDescriptor fd = OpenAt(WriteBackup(dir.filePath(QStringLiteral("backup")), body, 188), 0);
    return fd.IsOpen() && DecompressionStage::IsCompressed(fd.Get(), 188) && ::lseek(fd.Get(), 0, SEEK_CUR) == 0;
}

// Gives a reader `body` in reads of exactly `pieceSize` bytes, as from a file read in blocks.
Opener InPieces(const QByteArray &body, std::size_t pieceSize)
{
    return [&body, pieceSize](struct archive *reader) {
        archive_read_open_memory2(reader, body.constData(), static_cast<std::size_t>(body.size()), pieceSize);
    };
}

Opener Staged(DecompressionStage &stage)
{
    return [&stage](struct archive *reader) { stage.OpenReader(reader); };
}

// What a reader walking every entry sees (data read whole or skipped), and how it ended.
struct Walk
{
    int status = ARCHIVE_OK;
    int worstSkip = ARCHIVE_OK;
    QStringList names;
    QByteArray data;
    QByteArray error;
};

// Filtered: the reader takes compression off itself. Raw: the stage's plain bytes as one entry.
enum Formats { Filtered, Unfiltered, Raw };

Walk WalkReader(const Opener &open, Formats formats = Filtered, bool readData = true)
{
    Walk walk;
    Reader reader(archive_read_new());
    if (formats == Filtered)
        archive_read_support_filter_all(reader.get());
    if (formats == Raw)
        archive_read_support_format_raw(reader.get());
    else
        archive_read_support_format_all(reader.get());
    open(reader.get());
    struct archive_entry *entry = nullptr;
    while ((walk.status = archive_read_next_header(reader.get(), &entry)) == ARCHIVE_OK) {
        walk.names << QString::fromUtf8(archive_entry_pathname_utf8(entry));
        char buffer[8192];
        la_ssize_t count;
        while (readData && (count = archive_read_data(reader.get(), buffer, sizeof buffer)) > 0)
            walk.data.append(buffer, static_cast<int>(count));
        if (readData && count < 0) { // the raw format would answer the next header with its end
            walk.status = static_cast<int>(count);
            break;
        }
        if (!readData)
            walk.worstSkip = std::min(walk.worstSkip, archive_read_data_skip(reader.get()));
    }
    if (walk.status != ARCHIVE_EOF)
        walk.error = archive_error_string(reader.get());
    return walk;
}

Walk WalkBody(BodySource &source, bool readData)
{
    return WalkReader([&source](struct archive *reader) { source.Open(reader); }, Filtered, readData);
}

// Finish's verdict and, when it is Complete, the digest.
std::pair<BodySource::DigestOutcome, QByteArray> Finish(BodySource &source, bool cancel = false)
{
    unsigned char digest[16];
    const std::atomic<bool> cancelled {cancel};
    const BodySource::DigestOutcome outcome = source.Finish(digest, cancelled);
    return {outcome, outcome == BodySource::DigestOutcome::Complete ? DigestBytes(digest) : QByteArray()};
}

} // namespace

class TestExtractParts : public QObject
{
    Q_OBJECT

private slots:
    // Through the stage the reader gets every byte, whatever the compression, ring or reads;
    // a damaged body reaches it as a fatal error in words, never as a short clean stream
    // (libarchive's gzip filter reports a cut trailer with no text at all).
    void stageDeliversEveryByteOrFails_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("payload"); // null: the body is damaged
        QTest::addColumn<int>("blockSize");
        QTest::addColumn<int>("blockCount");
        QTest::addColumn<int>("pieceSize");
        const auto row = [](const QByteArray &name, const QByteArray &body, const QByteArray &payload,
                            int blockSize = 4096, int blockCount = 3, int pieceSize = 10240) {
            QTest::newRow(name.constData()) << body << payload << blockSize << blockCount << pieceSize;
        };
        const QByteArray payload = RandomBytes(300 * 1024, 3) + QByteArray(700 * 1024, 'z') + RandomBytes(12345, 4);
        for (const QStringList &compressor : QList<QStringList> {{"gzip", "-c"}, {"bzip2", "-c"}, {"xz", "-c"},
                                                                 {"zstd", "-q", "-c"}, {"lz4", "-q", "-c"}}) {
            const QByteArray body = Compressed(payload, compressor);
            row(compressor.first().toUtf8() + ", default ring", body, payload, 64 * 1024, 8);
            // Odd block sizes straddle the library's pieces; two blocks keep the producer waiting.
            row(compressor.first().toUtf8() + ", tiny ring", body, payload, 1000, 2);
        }
        const QByteArray gz = Compressed(payload, {"gzip", "-c"});
        // The header, each deflate block and the trailer arrive split anywhere.
        row("gzip, body in 7-byte pieces", gz, payload, 4096, 3, 7);
        // Members one after the other make one stream (as gzip appends), an empty one too.
        const QByteArray more = RandomBytes(5000, 6);
        row("three gzip members", gz + Compressed(more, {"gzip", "-c"}) + Compressed({}, {"gzip", "-c"}), payload + more);
        row("tar.gz inside xz", Compressed(gz, {"xz", "-c"}), payload);

        const QByteArray small = RandomBytes(200 * 1024, 5);
        const QByteArray sgz = Compressed(small, {"gzip", "-c"});
        const QByteArray xz = Compressed(small, {"xz", "-c"});
        const QByteArray bz2 = Compressed(small, {"bzip2", "-c"});
        // The first deflate block (after a nameless member's 10-byte header) of the reserved type.
        QByteArray badBlock = Compressed(small, {"gzip", "-c", "-n"});
        badBlock[10] = char(badBlock.at(10) | 0x06);
        row("gzip cut in the middle", sgz.left(sgz.size() / 2), {});
        row("gzip with a reserved block type", badBlock, {});
        row("second gzip member cut", sgz + sgz.left(sgz.size() / 2), {});
        row("gzip cut in its trailer", sgz.left(sgz.size() - 3), {});
        row("gzip cut in its trailer, inside xz", Compressed(sgz.left(sgz.size() - 3), {"xz", "-c"}), {});
        row("xz cut in the middle", xz.left(xz.size() / 2), {});
        row("xz without its last bytes", xz.left(xz.size() - 4), {});
        row("bzip2 cut in the middle", bz2.left(bz2.size() / 2), {});
    }
    void stageDeliversEveryByteOrFails()
    {
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, payload);
        QFETCH(int, blockSize);
        QFETCH(int, blockCount);
        QFETCH(int, pieceSize);
        QVERIFY(payload.isNull() || IsCompressed(body));
        DecompressionStage stage(InPieces(body, std::size_t(pieceSize)), std::size_t(blockSize), std::size_t(blockCount));
        const Walk walk = WalkReader(Staged(stage), Raw);
        if (payload.isNull()) {
            QCOMPARE(walk.status, ARCHIVE_FATAL);
            QVERIFY2(!walk.error.isEmpty(), "the failure is told in words");
        } else {
            QCOMPARE(walk.error, QByteArray());
            QCOMPARE(walk.status, ARCHIVE_EOF);
            QVERIFY(walk.data == payload);
        }
    }

    // A block or the end that comes during slow idle work is seen, not waited for.
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
        const Walk walk = WalkReader(Staged(stage), Raw);
        QVERIFY(walk.status == ARCHIVE_EOF && walk.data == payload && idleCalls > 0);
    }

    // Whatever follows a gzip member, or a stream damaged only after the archive's end, gets
    // bsdtar's answer, through the stage or read directly, wherever the body's reads end.
    void trailingBytesAfterTheArchive_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("edge"); // where the archive's own stream ends
        const QMap<QString, QByteArray> files {{"a/one.bin", RandomBytes(30000, 1)}, {"b/two.txt", "two\n"}};
        const QByteArray member = ArchiveOf(files, {"-z"});
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
        QByteArray lz4 = ArchiveOf(files, {"--lz4"});
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
            const Walk direct = WalkReader(InPieces(body, std::size_t(piece)));
            QCOMPARE(direct.status == ARCHIVE_EOF, bsdtarRestores);
            DecompressionStage stage(InPieces(body, std::size_t(piece)), 4096, 3);
            const Walk staged = WalkReader(Staged(stage), Unfiltered);
            QCOMPARE(staged.status == ARCHIVE_EOF, bsdtarRestores);
            QCOMPARE(staged.names, direct.names);
            if (bsdtarRestores)
                QCOMPARE(staged.data, direct.data);
        }
    }

    // The parsing side may stop at any time (end, cancel): the stage lets go of the body and
    // ends without waiting for a reader that is gone.
    void stageStopsWhenReaderLeaves()
    {
        const QByteArray body = Compressed(QByteArray(8 * 1024 * 1024, 'x'), {"gzip", "-c"});
        int opened = 0;
        {
            DecompressionStage stage([&](struct archive *reader) { ++opened; InPieces(body, std::size_t(body.size()))(reader); }, 4096, 2);
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

    // Plain tar and the formats that seek are read directly (every compressed body of
    // stageDeliversEveryByteOrFails is probed there).
    void stageTakesOnlyCompressedBodies()
    {
        for (const QStringList &options : QList<QStringList> {{}, {"--format", "zip"}, {"--format", "7zip"}})
            QVERIFY2(!IsCompressed(ArchiveOf({{"a.txt", "field\n"}}, options)), qPrintable(options.join(' ')));
        QVERIFY(!IsCompressed(QByteArray()) && !IsCompressed(RandomBytes(4096, 9)));
    }

    // Every body byte reaches the digest once, in order, and nothing before the body does,
    // whether the reader streams, skips, or jumps around (zip and 7-Zip read their end first).
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
        const QByteArray body = ArchiveOf({{"a/first.bin", RandomBytes(70000, 1)}, {"a/second.txt", QByteArray(50000, 's')},
                                           {"b/third.bin", RandomBytes(3000, 2)}}, options);
        QTemporaryDir dir;
        const int headerLength = 4097; // not a multiple of any block size
        const FileDescriptor fd = OpenAt(WriteBackup(dir.filePath("backup"), body, headerLength), headerLength);
        QVERIFY(!body.isEmpty() && fd.IsOpen());
        BodySource source(fd.Get(), true);
        QCOMPARE(source.Position(), qint64(headerLength));
        const Walk walk = WalkBody(source, readData);
        QCOMPARE(walk.status, ARCHIVE_EOF);
        QCOMPARE(walk.names.filter(QStringLiteral(".")).size(), 3);
        QCOMPARE(walk.data.size(), readData ? 70000 + 50000 + 3000 : 0);
        QCOMPARE(source.StreamIntact(), streams);
        QVERIFY(source.Position() > headerLength && source.Position() <= headerLength + body.size());
        QCOMPARE(Finish(source).second, Md5(body));
    }

    // A reader that seeks away and reads no more (a damaged 7-Zip start header sends it to
    // the end) still leaves the whole body in the digest.
    void bodySourceDigestAfterTrailingSeek()
    {
        const QByteArray body = QByteArray::fromHex("377abcaf271c00af27637db6d81c00033200000000002e637db6d871"
                                                    "7eae73af") + QByteArray(65537 - 32, '\0');
        QTemporaryDir dir;
        const FileDescriptor fd = OpenAt(WriteBackup(dir.filePath("backup"), body), 204);
        BodySource source(fd.Get(), true);
        QVERIFY(fd.IsOpen() && WalkBody(source, true).status < ARCHIVE_OK);
        QCOMPARE(Finish(source).second, Md5(body));
    }

    // A skip must not run past the end of a cut-off body: a missing end is no skipped data.
    void bodySourceSkipStopsAtEndOfFile()
    {
        const QByteArray body = ArchiveOf({{"big.bin", RandomBytes(200000, 3)}, {"z.txt", "end\n"}});
        QTemporaryDir dir;
        const FileDescriptor fd = OpenAt(WriteBackup(dir.filePath("backup"), body.left(100000), 188), 188);
        QVERIFY(fd.IsOpen());
        BodySource source(fd.Get(), false);
        const Walk walk = WalkBody(source, false);
        QCOMPARE(walk.names, QStringList {"big.bin"});
        QCOMPARE(walk.worstSkip, ARCHIVE_FATAL);
        QCOMPARE(source.Position(), qint64(188 + 100000));
    }

    // A file that shrinks while read has not ended: the storage stopped delivering it. The
    // reader meets EIO where the data stops, the digest fails too; a cancel in the digest's
    // last stretch is told as such.
    void bodySourceShrinkingFileIsReadError_data()
    {
        QTest::addColumn<bool>("gzip");
        QTest::addColumn<bool>("readData");
        QTest::newRow("plain tar") << false << true;
        QTest::newRow("tar.gz") << true << true;
        // Skipped data (an entry the storage refused) is still read for the digest; cut at a
        // run of block ends, so that some skip fails on its very first read.
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
            const FileDescriptor fd = OpenAt(WriteBackup(path, body), 204);
            BodySource source(fd.Get(), true, block);
            QVERIFY(fd.IsOpen() && ::truncate(QFile::encodeName(path).constData(), cutAt) == 0);
            const Walk walk = WalkBody(source, readData);
            QVERIFY2(walk.status == ARCHIVE_FATAL, qPrintable(QString::number(walk.status)));
            QVERIFY(walk.names.size() < files.size());
            QCOMPARE(source.ReadError(), EIO);
            QVERIFY(source.Position() <= cutAt);
            QVERIFY(Finish(source).first != BodySource::DigestOutcome::Complete);
            if (readData)
                break; // one cut tells for reading; skipping needs the run of them
        }
        // The whole file again, the reader done with it at once: a cancel ends the digest.
        const FileDescriptor again = OpenAt(WriteBackup(dir.filePath("again"), body), 204);
        BodySource cancelled(again.Get(), true, BodySource::kStreamingBlockSize);
        QVERIFY(again.IsOpen() && Finish(cancelled, true).first == BodySource::DigestOutcome::Cancelled);
    }

    // Pieces of every size, many times round the ring: whoever digests a chunk (own thread,
    // helper, the producer when the ring is full, Finish), every byte counts once, in order.
    void digestPipelineMatchesWholeDigest_data()
    {
        QTest::addColumn<QList<int>>("pieces");
        QTest::addColumn<bool>("ownThread");
        QTest::addColumn<bool>("helper");
        const int chunk = static_cast<int>(DigestPipeline::kChunkSize);
        QList<int> many;
        for (int i = 0; i < 400; ++i)
            many << 1 + (i * 7919) % 40000;
        const QList<QPair<QByteArray, QList<int>>> layouts {
            {"nothing", {}},
            {"one byte", {1}},
            {"exact chunks", QVector<int>(6, chunk).toList()},
            {"odd pieces", {4096, 1, chunk - 4097, chunk, 32768, 7, chunk - 1, 100000}},
            {"many small pieces", many},
            // Several rings' worth: the producer catches up on its own when unhelped.
            {"three rings", QVector<int>(3 * DigestPipeline::kChunkCount, chunk).toList()}};
        for (const auto &layout : layouts)
            for (const int who : {0, 1, 2, 3})
                QTest::newRow(layout.first + (who & 1 ? ", own thread" : ", no thread") + (who & 2 ? ", a helper" : ""))
                    << layout.second << bool(who & 1) << bool(who & 2);
    }
    void digestPipelineMatchesWholeDigest()
    {
        QFETCH(QList<int>, pieces);
        QFETCH(bool, ownThread);
        QFETCH(bool, helper);
        const QByteArray data = RandomBytes(std::accumulate(pieces.cbegin(), pieces.cend(), 0), 11);
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
            std::memcpy(pipeline.Reserve(std::size_t(piece)), data.constData() + at, std::size_t(piece));
            pipeline.Commit(std::size_t(piece));
            at += piece;
        }
        producing = false;
        if (helping.joinable())
            helping.join();
        unsigned char digest[16];
        pipeline.Finish(digest);
        QCOMPARE(DigestBytes(digest), Md5(data));
    }

    // Without a thread of its own, handed-over chunks wait for a helper, one at a time;
    // the chunk still being filled is nobody's to digest before Finish.
    void digestHelperTakesWaitingChunks()
    {
        if (std::thread::hardware_concurrency() <= 1)
            QSKIP("on a single core every chunk is digested as it is handed over");
        const QByteArray data = RandomBytes(int(2 * DigestPipeline::kChunkSize + 1000), 13);
        DigestPipeline pipeline(false);
        for (int at = 0; at < data.size(); at += 1000) {
            const std::size_t piece = std::size_t(std::min(1000, data.size() - at));
            std::memcpy(pipeline.Reserve(piece), data.constData() + at, piece);
            pipeline.Commit(piece);
        }
        QVERIFY(pipeline.HelpOnce() && pipeline.HelpOnce() && !pipeline.HelpOnce());
        unsigned char digest[16];
        pipeline.Finish(digest);
        QCOMPARE(DigestBytes(digest), Md5(data));
    }

    // The guard's thread reads UTF-8; the process and other threads keep the C locale (the
    // display starts without LANG or LC_*), and the thread gets it back after the guard.
    void utf8LocaleStaysWithItsThread()
    {
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
                std::thread([&] { elsewhere = nl_langinfo(CODESET); }).join();
            }
            after = nl_langinfo(CODESET);
        });
        worker.join();
        QVERIFY2(active, "a UTF-8 locale is installed (C.UTF-8 comes with the C library)");
        QCOMPARE(inside, QByteArray("UTF-8"));
        const QByteArray c("ANSI_X3.4-1968");
        QVERIFY(elsewhere == c && after == c && QByteArray(nl_langinfo(CODESET)) == c);
    }

    // Closed exactly once, by whoever owns it last.
    void descriptorClosedOnceByItsOwner()
    {
        const auto IsOpenDescriptor = [](int fd) { return fcntl(fd, F_GETFD) != -1; };
        int raw = -1;
        {
            FileDescriptor first(::open("/dev/null", O_RDONLY | O_CLOEXEC));
            raw = first.Get();
            QVERIFY(IsOpenDescriptor(raw));
            FileDescriptor second(std::move(first));
            QVERIFY(!first.IsOpen() && second.Get() == raw);
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
