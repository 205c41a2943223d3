// The private pieces the extraction job is built from, each on its own, and the storage refusing its entries.

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

// The probe as the job makes it, from the body's offset; one that moved the descriptor found nothing.
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
    // Through the stage the reader gets every byte, or a damaged body as a fatal error in words (libarchive
    // reports a cut gzip trailer with no text at all), never a short clean stream.
    void stageDeliversEveryByteOrFails_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("payload"); // null: the body is damaged
        QTest::addColumn<int>("blockSize");
        QTest::addColumn<int>("blockCount");
        QTest::addColumn<int>("pieceSize");
        QTest::addColumn<int>("idleMs"); // slow idle work: a block or the end coming meanwhile is seen
        const auto row = [](const QByteArray &name, const QByteArray &body, const QByteArray &payload,
                            int blockSize = 4096, int blockCount = 3, int pieceSize = 10240, int idleMs = 0) {
            QTest::newRow(name.constData()) << body << payload << blockSize << blockCount << pieceSize << idleMs;
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
        row("gzip in one piece, slow idle work", sgz, small, 1 << 20, 2, sgz.size(), 50);
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
        QFETCH(int, idleMs);
        QVERIFY(payload.isNull() || IsCompressed(body));
        const Opener open = InPieces(body, std::size_t(pieceSize));
        // With idle work the body opens late, so the reader surely waits and the data comes meanwhile.
        const Opener late = [&](struct archive *reader) { std::this_thread::sleep_for(std::chrono::milliseconds(idleMs)); open(reader); };
        DecompressionStage stage(late, std::size_t(blockSize), std::size_t(blockCount)), left(open, std::size_t(blockSize), 2);
        int idleCalls = 0;
        if (idleMs > 0)
            stage.SetIdleWork([&] { ++idleCalls; std::this_thread::sleep_for(std::chrono::milliseconds(idleMs)); return false; });
        const Walk walk = WalkReader(Staged(stage), Raw);
        QVERIFY(idleMs == 0 || idleCalls > 0);
        if (payload.isNull()) {
            QCOMPARE(walk.status, ARCHIVE_FATAL);
            QVERIFY2(!walk.error.isEmpty(), "the failure is told in words");
        } else {
            QCOMPARE(walk.error, QByteArray());
            QCOMPARE(walk.status, ARCHIVE_EOF);
            QVERIFY(walk.data == payload);
        }
        // The reading side may leave at any time (end, cancel): Stop, even twice, must not wait for it.
        Reader reader(archive_read_new());
        archive_read_support_format_raw(reader.get());
        left.OpenReader(reader.get());
        struct archive_entry *entry = nullptr;
        QVERIFY(archive_read_next_header(reader.get(), &entry) == ARCHIVE_OK || payload.isNull());
        left.Stop();
        left.Stop();
        QVERIFY(payload.isNull() || left.ErrorText().isEmpty());
        { DecompressionStage idle(InPieces(body, 1)); } // never read: the destructor alone ends it
    }

    // Whatever follows the archive's stream gets bsdtar's answer, staged or not, wherever the reads end.
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

    // Plain tar and the formats that seek are read directly (compressed bodies are probed in the stage's table).
    void stageTakesOnlyCompressedBodies()
    {
        for (const QStringList &options : QList<QStringList> {{}, {"--format", "zip"}, {"--format", "7zip"}})
            QVERIFY2(!IsCompressed(ArchiveOf({{"a.txt", "field\n"}}, options)), qPrintable(options.join(' ')));
        QVERIFY(!IsCompressed(QByteArray()) && !IsCompressed(RandomBytes(4096, 9)));
    }

    // The digest takes every body byte once, in order, and nothing before it, however the reader moves.
    void bodySourceDigestsTheBodyAlone_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("readData");
        QTest::addColumn<bool>("streams");
        QTest::addColumn<bool>("whole"); // else the walk fails
        const QMap<QString, QByteArray> files {{"a/first.bin", RandomBytes(70000, 1)}, {"a/second.txt", QByteArray(50000, 's')},
                                               {"b/third.bin", RandomBytes(3000, 2)}};
        QTest::newRow("tar.gz, reading") << ArchiveOf(files, {"-z"}) << true << true << true;
        QTest::newRow("tar, skipping") << ArchiveOf(files) << false << true << true;
        QTest::newRow("zip, reading") << ArchiveOf(files, {"--format", "zip"}) << true << false << true;
        QTest::newRow("7-Zip, skipping") << ArchiveOf(files, {"--format", "7zip"}) << false << false << true;
        // A damaged start header sends the reader to the end, where it reads no more.
        QTest::newRow("7-Zip, seeks away for good")
            << QByteArray::fromHex("377abcaf271c00af27637db6d81c00033200000000002e637db6d8717eae73af") + QByteArray(65537 - 32, '\0')
            << true << false << false;
    }
    void bodySourceDigestsTheBodyAlone()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, readData);
        QFETCH(bool, streams);
        QFETCH(bool, whole);
        QTemporaryDir dir;
        const int headerLength = 4097; // not a multiple of any block size
        const FileDescriptor fd = OpenAt(WriteBackup(dir.filePath("backup"), body, headerLength), headerLength);
        QVERIFY(!body.isEmpty() && fd.IsOpen());
        BodySource source(fd.Get(), true);
        QCOMPARE(source.Position(), qint64(headerLength));
        const Walk walk = WalkBody(source, readData);
        QCOMPARE(walk.status == ARCHIVE_EOF, whole);
        QVERIFY(!whole || (walk.names.filter(QStringLiteral(".")).size() == 3 && walk.data.size() == (readData ? 123000 : 0)
                           && source.StreamIntact() == streams));
        QVERIFY(source.Position() > headerLength && source.Position() <= headerLength + body.size());
        QCOMPARE(Finish(source).second, Md5(body));
    }

    // A file that shrinks while read has not ended, the storage stopped delivering it: reader and digest fail.
    void bodySourceShrinkingFileIsReadError_data()
    {
        QTest::addColumn<bool>("gzip");
        QTest::addColumn<bool>("readData");
        QTest::newRow("plain tar") << false << true;
        QTest::newRow("tar.gz") << true << true;
        // Skipped data is still read for the digest; cuts at a run of block ends fail some skip's first read.
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
        // Cut off before it was opened, the body ends short: a skip without digest must not run past its end.
        const FileDescriptor cut = OpenAt(WriteBackup(dir.filePath("cut"), body.left(150000)), 204);
        BodySource shorter(cut.Get(), false);
        QVERIFY(cut.IsOpen() && WalkBody(shorter, false).worstSkip == ARCHIVE_FATAL);
        QCOMPARE(shorter.Position(), qint64(204 + 150000));
    }

    // Whoever digests a chunk (own thread, helper, producer on a full ring, Finish), each byte counts once, in order.
    void digestPipelineMatchesWholeDigest_data()
    {
        QTest::addColumn<QList<int>>("pieces");
        QTest::addColumn<bool>("ownThread");
        QTest::addColumn<bool>("helper");
        QTest::addColumn<int>("waiting"); // chunks handed over and left to a helper; -1: left to Finish
        const int chunk = static_cast<int>(DigestPipeline::kChunkSize);
        QList<int> many;
        for (int i = 0; i < 400; ++i)
            many << 1 + (i * 7919) % 40000;
        const struct { const char *name; QList<int> pieces; int waiting; } layouts[] {
            {"nothing", {}, 0},
            {"one byte", {1}, 0},
            {"exact chunks", QVector<int>(6, chunk).toList(), 5},
            {"odd pieces", {4096, 1, chunk - 4097, chunk, 32768, 7, chunk - 1, 100000}, 4},
            {"many small pieces", many, -1},
            // Several rings' worth: the producer catches up on its own when unhelped.
            {"three rings", QVector<int>(3 * DigestPipeline::kChunkCount, chunk).toList(), -1}};
        for (const auto &layout : layouts)
            for (const int who : {0, 1, 2, 3})
                QTest::newRow(QByteArray(layout.name) + (who & 1 ? ", own thread" : ", no thread") + (who & 2 ? ", a helper" : ""))
                    << layout.pieces << bool(who & 1) << bool(who & 2) << layout.waiting;
    }
    void digestPipelineMatchesWholeDigest()
    {
        QFETCH(QList<int>, pieces);
        QFETCH(bool, ownThread);
        QFETCH(bool, helper);
        QFETCH(int, waiting);
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
        // Handed-over chunks wait for a helper, one per call, but the one being filled is nobody's before Finish.
        int helped = 0;
        while (!ownThread && !helper && waiting >= 0 && pipeline.HelpOnce())
            ++helped;
        QCOMPARE(helped, ownThread || helper || waiting < 0 || std::thread::hardware_concurrency() <= 1 ? 0 : waiting);
        unsigned char digest[16];
        pipeline.Finish(digest);
        QCOMPARE(DigestBytes(digest), Md5(data));
    }

    // Only the guard's thread, while it lasts, reads UTF-8: the display starts everything else in the C locale.
    void utf8LocaleStaysWithItsThread()
    {
        const QByteArray before = std::setlocale(LC_ALL, nullptr);
        std::setlocale(LC_ALL, "C");
        const auto restore = qScopeGuard([&] { std::setlocale(LC_ALL, before.constData()); });
        QByteArrayList seen; // in the guard's thread, in another thread meanwhile, after the guard
        std::thread([&] {
            {
                const Archive::Detail::Utf8CharacterTypeForThisThread utf8;
                seen << nl_langinfo(CODESET);
                std::thread([&] { seen << nl_langinfo(CODESET); }).join();
            }
            seen << nl_langinfo(CODESET);
        }).join();
        const QByteArray c("ANSI_X3.4-1968");
        QCOMPARE(seen << nl_langinfo(CODESET), QByteArrayList({"UTF-8", c, c, c}));
    }

    // Full or read-only storage (a failing flash) ends the restore, but a name too long only skips its entry.
    void storageRefusals_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("target");
        QTest::addColumn<int>("error"); // 0: restored
        QTest::newRow("full, tar.gz") << QStringList {"-z"} << "/full" << ENOSPC;
        QTest::newRow("full, zip") << QStringList {"--format", "zip"} << "/full" << ENOSPC;
        QTest::newRow("read-only, tar") << QStringList {} << "/readonly" << EROFS;
        QTest::newRow("name too long, tar.gz") << QStringList {"-z", "-s", "|a/big.bin|a/" + QString(300, 'n') + "|"} << "/tmp" << 0;
    }
    void storageRefusals()
    {
        QVB_REQUIRE_THROWAWAY_ROOT();
        QFETCH(QStringList, options);
        QFETCH(QString, target);
        QFETCH(int, error);
        const QByteArray big = RandomBytes(3 << 20, 1);
        const QByteArray body = ArchiveOf({{"a/big.bin", big}, {"b/small.txt", "small\n"}}, options);
        // Nothing can be made on the read-only file system: it is the destination itself.
        QTemporaryDir scratch, writable(target + QStringLiteral("/restore-XXXXXX"));
        const QDir destination(error == EROFS ? target : writable.path());
        QVERIFY(!body.isEmpty() && (error == EROFS || writable.isValid()));
        Archive::ExtractArchive job(destination.path(), WriteBackup(scratch.filePath("b"), body), 204);
        job.SetExpectedDigest(Md5(body)); // the digest is checked as well
        const Outcome outcome = Run(job);
        QVERIFY(outcome.clean && TestSupport::ReadFile(destination.filePath("a/big.bin")) != big);
        QCOMPARE(outcome.result, error ? Archive::ArchiveProcess::ReadFailed : Archive::ArchiveProcess::Ok);
        // The owner learns why: the storage's own error, at the first entry it refused.
        const QString reason = job.GetFailureReason();
        QVERIFY2(error ? job.GetFailureError() == error && reason.contains("could not write") && reason.contains(std::strerror(error))
                       : reason.isEmpty() && TestSupport::ReadFile(destination.filePath("b/small.txt")) == "small\n",
                 qPrintable(reason));
    }

    // Closed once, by its last owner, since a number handed out again must survive the old ones.
    void descriptorClosedOnceByItsOwner()
    {
        const auto isOpen = [](int fd) { return fcntl(fd, F_GETFD) != -1; };
        int raw = -1;
        {
            FileDescriptor first(::open("/dev/null", O_RDONLY | O_CLOEXEC)), last;
            raw = first.Get();
            FileDescriptor second(std::move(first));
            last = std::move(second);
            QVERIFY(isOpen(raw));
            last.Close();
            QVERIFY(!isOpen(raw));
            QCOMPARE(::open("/dev/null", O_RDONLY | O_CLOEXEC), raw);
            last.Close();
        }
        QVERIFY(isOpen(raw));
        ::close(raw);
    }
};

QTEST_GUILESS_MAIN(TestExtractParts)
#include "tst_extract_parts.moc"
