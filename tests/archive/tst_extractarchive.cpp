// Archive::ExtractArchive on real archives: every format and compression the display may
// meet, bodies behind a header, bad and damaged input, progress, skip mode, cancelling,
// the body digest check and UTF-8 names in a process without a locale.

#include "ArchiveTestSupport.h"
#include "ExtractArchive.h"
#include "TestSupport.h"

#include <QElapsedTimer>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <archive.h>
#include <archive_entry.h>

#include <atomic>
#include <clocale>
#include <cstring>
#include <locale.h>
#include <memory>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using Archive::ArchiveProcess;
using Archive::ExtractArchive;
using namespace ArchiveTest;

namespace {

constexpr int kHeaderLength = 204;

// What a run left behind, with its signals delivered to the test's thread the way the
// restore driver receives them (queued).
struct Outcome
{
    bool finished = false;
    ArchiveProcess::Result result = ArchiveProcess::NotStarted;
    QList<int> progress;
    QList<ArchiveProcess::Result> errors;
    bool directoryKept = false;
    bool descriptorsKept = false;
};

class Recorder : public QObject
{
public:
    explicit Recorder(ExtractArchive &job)
    {
        connect(&job, &ExtractArchive::PercentProgress, this, [this](int percent) { progress << percent; });
        connect(&job, &ExtractArchive::ErrorOccurred, this,
                [this](ArchiveProcess::Result error) { errors << error; });
    }
    QList<int> progress;
    QList<ArchiveProcess::Result> errors;
};

Outcome Run(ExtractArchive &job, int timeoutMs = 120000)
{
    Recorder recorder(job);
    const QString directoryBefore = QDir::currentPath();
    const int descriptorsBefore = OpenDescriptorCount();
    job.start();
    Outcome outcome;
    outcome.finished = job.wait(timeoutMs);
    QCoreApplication::sendPostedEvents(&recorder);
    outcome.result = job.GetResult();
    outcome.progress = recorder.progress;
    outcome.errors = recorder.errors;
    outcome.directoryKept = QDir::currentPath() == directoryBefore;
    outcome.descriptorsKept = OpenDescriptorCount() == descriptorsBefore;
    return outcome;
}

QByteArray Prefix(int length = kHeaderLength)
{
    return RandomBytes(length, 204);
}

QByteArray Body(const QString &archive)
{
    return TestSupport::ReadFile(archive);
}

QByteArray Utf8(const QString &path)
{
    return path.toUtf8();
}

// A backup-shaped file: `prefix` where the header would be, then the body.
QString WriteBackup(const QString &path, const QByteArray &prefix, const QByteArray &body)
{
    return TestSupport::WriteFile(path, prefix + body) ? path : QString();
}

// Feeds an archive into a FIFO from a second thread, piece by piece, so the job reads
// entries as they arrive. `stallAfter` bytes are written quickly; then the writer goes on
// every `pauseMs` milliseconds, or, with pauseMs < 0, waits until released.
class FifoFeeder
{
public:
    FifoFeeder(const QByteArray &fifoPath, const QByteArray &data, int stallAfter, int pauseMs)
    {
        worker = std::thread([=] {
            // Without a reader a non-blocking open fails; keep trying so a test that
            // never starts its job cannot leave this thread blocked for good.
            int fd = -1;
            while (fd < 0 && !stop.load()) {
                fd = ::open(fifoPath.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
                if (fd < 0)
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
            if (fd < 0)
                return;
            ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
            int at = 0;
            while (at < data.size() && !stop.load()) {
                if (at >= stallAfter) {
                    if (pauseMs < 0) {
                        while (!released.load() && !stop.load())
                            std::this_thread::sleep_for(std::chrono::milliseconds(10));
                    } else {
                        std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
                    }
                }
                const int size = std::min(4096, data.size() - at);
                const ssize_t written = ::write(fd, data.constData() + at, size_t(size));
                if (written <= 0)
                    break; // the job has closed its end
                at += int(written);
            }
            ::close(fd);
        });
    }
    ~FifoFeeder()
    {
        stop.store(true);
        worker.join();
    }
    void Release() { released.store(true); }

private:
    std::atomic<bool> stop {false};
    std::atomic<bool> released {false};
    std::thread worker;
};

// Offset of `needle` in `haystack`, which must occur exactly once.
int UniqueOffset(const QByteArray &haystack, const QByteArray &needle)
{
    const int at = haystack.indexOf(needle);
    return at >= 0 && haystack.indexOf(needle, at + 1) < 0 ? at : -1;
}

} // namespace

class TestExtractArchive : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void formatsRestoreEverything_data();
    void formatsRestoreEverything();

    void badInput_data();
    void badInput();

    void progressStartsAtHeaderShare();
    void progressOfTinyFileExceeds100();
    void progressBeyondFourGiB();
    void skipModeWalksWithoutWriting();
    void relativePathFollowsDestination();
    void configurationFixedOnceStarted();

    void cancelStopsAtNextEntry();
    void cancelReturnsWithinBoundWhenRunIsStuck();
    void cancelAfterEndStillCancels();

    void digestDecidesOutcome_data();
    void digestDecidesOutcome();
    void digestOfLargeBody();

    void utf8NamesWithoutLocale_data();
    void utf8NamesWithoutLocale();

private:
    QTemporaryDir work;
    QString Path(const QString &name) const { return work.filePath(name); }
    // A fresh standard tree under a new directory of `work`.
    QString Tree(const QString &name, int features, QStringList *names);
};

void TestExtractArchive::initTestCase()
{
    QVERIFY(work.isValid());
    qRegisterMetaType<ArchiveProcess::Result>("Archive::ArchiveProcess::Result");
    // A writer blocked on a FIFO whose reader went away must not end the test.
    std::signal(SIGPIPE, SIG_IGN);
}

QString TestExtractArchive::Tree(const QString &name, int features, QStringList *names)
{
    const QString root = Path(name);
    QDir().mkpath(root);
    *names = MakeStandardTree(Utf8(root), features);
    return names->isEmpty() ? QString() : root;
}

void TestExtractArchive::formatsRestoreEverything_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("features");
    QTest::addColumn<int>("offset");
    const int all = Owners | HardLinks | LongNames;
    const QString format = QStringLiteral("--format");
    const QStringList zip {format, "zip"};
    const QStringList sevenZip {format, "7zip"};
    const QStringList iso {format, "iso9660", "--options", "iso9660:rockridge=strict"};
    // Behind a version-2 header unless the name says otherwise. zip keeps its directory
    // at the end and 7-Zip its header; their readers seek there and back with offsets
    // counted from the archive's start, so those are also tried at other offsets.
    QTest::newRow("ustar") << QStringList {format, "ustar"} << (Owners | HardLinks) << kHeaderLength;
    QTest::newRow("ustar gzip") << QStringList {format, "ustar", "-z"} << (Owners | HardLinks) << kHeaderLength;
    QTest::newRow("pax") << QStringList {format, "pax"} << all << kHeaderLength;
    QTest::newRow("pax gzip") << QStringList {format, "pax", "-z"} << all << kHeaderLength;
    QTest::newRow("pax bzip2") << QStringList {format, "pax", "-j"} << all << kHeaderLength;
    QTest::newRow("pax xz") << QStringList {format, "pax", "-J"} << all << kHeaderLength;
    QTest::newRow("pax lzma") << QStringList {format, "pax", "--lzma"} << all << kHeaderLength;
    QTest::newRow("pax zstd") << QStringList {format, "pax", "--zstd"} << all << kHeaderLength;
    QTest::newRow("pax lz4") << QStringList {format, "pax", "--lz4"} << all << kHeaderLength;
    QTest::newRow("gnutar gzip") << QStringList {format, "gnutar", "-z"} << all << kHeaderLength;
    QTest::newRow("cpio newc xz") << QStringList {format, "newc", "-J"} << all << kHeaderLength;
    QTest::newRow("cpio odc") << QStringList {format, "odc"} << all << kHeaderLength;
    QTest::newRow("zip deflate") << zip << (Owners | LongNames) << kHeaderLength;
    QTest::newRow("zip stored") << QStringList {format, "zip", "--options", "zip:compression=store"} << (Owners | LongNames) << kHeaderLength;
    QTest::newRow("7-zip") << sevenZip << int(LongNames) << kHeaderLength;
    QTest::newRow("7-zip deflate") << QStringList {format, "7zip", "--options", "7zip:compression=deflate"} << int(LongNames) << kHeaderLength;
    QTest::newRow("iso9660 rock ridge") << iso << all << kHeaderLength;
    QTest::newRow("zip at 0") << zip << (Owners | LongNames) << 0;
    QTest::newRow("zip at 4097") << zip << (Owners | LongNames) << 4097;
    QTest::newRow("7-zip at 0") << sevenZip << int(LongNames) << 0;
    QTest::newRow("7-zip at 4097") << sevenZip << int(LongNames) << 4097;
    QTest::newRow("iso9660 at 0") << iso << all << 0;
    QTest::newRow("iso9660 at 4097") << iso << all << 4097;
}

void TestExtractArchive::formatsRestoreEverything()
{
    QFETCH(QStringList, options);
    QFETCH(int, features);
    QFETCH(int, offset);
    const QString tag = QString::fromLatin1(QTest::currentDataTag()).replace(QLatin1Char(' '), QLatin1Char('-'));
    QStringList names;
    const QString source = Tree(QStringLiteral("src-") + tag, features, &names);
    QVERIFY(!source.isEmpty());
    QString error;
    const QString archive = Path(QStringLiteral("body-") + tag);
    QVERIFY2(MakeArchive(archive, source, options, names, &error), qPrintable(error));
    const QByteArray body = Body(archive);
    const QString backup = WriteBackup(Path(QStringLiteral("backup-") + tag), Prefix(offset), body);

    // Plainly, and once more with the body's digest checked on the way.
    for (bool withDigest : {false, true}) {
        QTemporaryDir destination;
        ExtractArchive job(destination.path(), backup, offset);
        if (withDigest)
            job.SetExpectedDigest(Md5(body));
        const Outcome outcome = Run(job);
        QVERIFY(outcome.finished);
        QCOMPARE(outcome.result, ArchiveProcess::Ok);
        QVERIFY(outcome.errors.isEmpty());
        QVERIFY(outcome.directoryKept);
        QVERIFY(outcome.descriptorsKept);
        QVERIFY(!outcome.progress.isEmpty());
        for (int percent : outcome.progress)
            QVERIFY2(percent >= 0 && percent <= 100, qPrintable(QString::number(percent)));
        const QString differences = CompareTrees(Utf8(source), Utf8(destination.path()), features);
        QVERIFY2(differences.isEmpty(), qPrintable(differences));
    }
}

void TestExtractArchive::badInput_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<ArchiveProcess::Result>("expected");
    QTest::addColumn<bool>("signalled");
    QTest::newRow("missing file") << "missing" << ArchiveProcess::FileNotFound << true;
    QTest::newRow("empty path") << "empty path" << ArchiveProcess::FileNotFound << true;
    QTest::newRow("directory as archive") << "directory" << ArchiveProcess::ReadFailed << true;
    QTest::newRow("cannot be opened") << "socket" << ArchiveProcess::OpenFailed << false;
    // The library reads no bytes at all as an empty archive: nothing to do, no error.
    QTest::newRow("offset past the end") << "past end" << ArchiveProcess::Ok << false;
    QTest::newRow("empty file") << "empty file" << ArchiveProcess::Ok << false;
    QTest::newRow("offset not at an archive") << "wrong offset" << ArchiveProcess::ReadFailed << true;
    QTest::newRow("random bytes") << "random" << ArchiveProcess::ReadFailed << true;
    QTest::newRow("tar truncated inside an entry") << "truncated tar" << ArchiveProcess::ReadFailed << true;
    QTest::newRow("tar.gz truncated inside an entry") << "truncated tgz" << ArchiveProcess::ReadFailed << true;
    QTest::newRow("gzip stream damaged part way") << "damaged tgz" << ArchiveProcess::ReadFailed << true;
}

void TestExtractArchive::badInput()
{
    QFETCH(QString, kind);
    QFETCH(ArchiveProcess::Result, expected);
    QFETCH(bool, signalled);

    QTemporaryDir scratch;
    QStringList names;
    const QString source = scratch.filePath(QStringLiteral("src"));
    QDir().mkpath(source);
    QVERIFY(TestSupport::WriteFile(source + "/big.log", RandomBytes(1000, 1).toHex().repeated(300)));
    QVERIFY(TestSupport::WriteFile(source + "/after.txt", "after\n"));
    names << "big.log" << "after.txt";
    const QString tar = scratch.filePath(QStringLiteral("body.tar"));
    const QString tgz = scratch.filePath(QStringLiteral("body.tgz"));
    QVERIFY(MakeArchive(tar, source, {}, names));
    QVERIFY(MakeArchive(tgz, source, {"-z"}, names));

    QString path = scratch.filePath(QStringLiteral("input"));
    qint64 offset = 0;
    std::unique_ptr<int, void (*)(int *)> socketGuard(nullptr, [](int *fd) { ::close(*fd); delete fd; });
    if (kind == "missing") {
        path = scratch.filePath(QStringLiteral("no-such-backup"));
    } else if (kind == "empty path") {
        path.clear();
    } else if (kind == "directory") {
        QVERIFY(QDir().mkpath(path));
    } else if (kind == "socket") {
        // Exists, but open() refuses it (ENXIO), whoever runs the test.
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        const QByteArray bytes = Utf8(path);
        QVERIFY(size_t(bytes.size()) < sizeof address.sun_path);
        std::memcpy(address.sun_path, bytes.constData(), size_t(bytes.size()));
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        QVERIFY(fd >= 0);
        socketGuard.reset(new int(fd));
        QCOMPARE(::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    } else if (kind == "past end") {
        QVERIFY(TestSupport::WriteFile(path, Prefix() + Body(tgz)));
        offset = QFileInfo(path).size() + 1000;
    } else if (kind == "empty file") {
        QVERIFY(TestSupport::WriteFile(path, QByteArray()));
    } else if (kind == "wrong offset") {
        QVERIFY(TestSupport::WriteFile(path, Prefix() + Body(tgz)));
        offset = kHeaderLength + 100;
    } else if (kind == "random") {
        QVERIFY(TestSupport::WriteFile(path, RandomBytes(200000, 99)));
    } else if (kind == "truncated tar") {
        QVERIFY(TestSupport::WriteFile(path, Body(tar).left(300000)));
    } else if (kind == "truncated tgz") {
        const QByteArray body = Body(tgz);
        QVERIFY(TestSupport::WriteFile(path, body.left(body.size() / 2)));
    } else if (kind == "damaged tgz") {
        QByteArray body = Body(tgz);
        body.replace(body.size() / 3, 4096, RandomBytes(4096, 3));
        QVERIFY(TestSupport::WriteFile(path, body));
    }

    QTemporaryDir destination;
    ExtractArchive job(destination.path(), path, offset);
    const Outcome outcome = Run(job, 60000);
    QVERIFY(outcome.finished);
    QCOMPARE(outcome.result, expected);
    QCOMPARE(outcome.errors, signalled ? QList<ArchiveProcess::Result> {expected} : QList<ArchiveProcess::Result> {});
    QVERIFY(outcome.directoryKept);
    QVERIFY(outcome.descriptorsKept);
    if (kind == "past end" || kind == "empty file" || kind == "wrong offset" || kind == "random")
        QCOMPARE(CountFiles(Utf8(destination.path())), 0);
}

void TestExtractArchive::progressStartsAtHeaderShare()
{
    // The percentage is the descriptor's position over the whole file: it starts at the
    // header's share and runs up to 100 as the body is read.
    QTemporaryDir scratch;
    const QString source = scratch.filePath(QStringLiteral("src"));
    QDir().mkpath(source);
    QVERIFY(TestSupport::WriteFile(source + "/data.bin", RandomBytes(400000, 5)));
    const QString archive = scratch.filePath(QStringLiteral("body.tar"));
    QVERIFY(MakeArchive(archive, source, {}, {"data.bin"}));
    const QByteArray prefix = Prefix(600000); // the "header" is 60 % of the file
    const QString backup = WriteBackup(scratch.filePath(QStringLiteral("backup")), prefix, Body(archive));
    const qint64 size = QFileInfo(backup).size();

    QTemporaryDir destination;
    ExtractArchive job(destination.path(), backup, prefix.size());
    QCOMPARE(job.GetProgressStep(), size / 100);
    const Outcome outcome = Run(job);
    QCOMPARE(outcome.result, ArchiveProcess::Ok);
    QVERIFY(outcome.progress.size() >= 10);
    QVERIFY(outcome.progress.first() >= 59 && outcome.progress.first() <= 61);
    QVERIFY(outcome.progress.last() >= 99 && outcome.progress.last() <= 100);
    for (int i = 1; i < outcome.progress.size(); ++i)
        QVERIFY(outcome.progress[i] > outcome.progress[i - 1]); // only changes are sent
}

void TestExtractArchive::progressOfTinyFileExceeds100()
{
    // Under 10000 bytes the truncated divisor lets the percentage pass 100: a 250-byte
    // file ends at 125. The progress dialog ignores what its bar cannot show.
    QTemporaryDir scratch;
    const QString source = scratch.filePath(QStringLiteral("src"));
    QDir().mkpath(source);
    QVERIFY(TestSupport::WriteFile(source + "/a.txt", "tiny\n"));
    const QString archive = scratch.filePath(QStringLiteral("body.tgz"));
    QVERIFY(MakeArchive(archive, source, {"-z"}, {"a.txt"}));
    const QByteArray body = Body(archive);
    QVERIFY(body.size() < 250);
    const QString backup = WriteBackup(scratch.filePath(QStringLiteral("backup")), Prefix(250 - body.size()), body);
    QCOMPARE(QFileInfo(backup).size(), qint64(250));

    QTemporaryDir destination;
    ExtractArchive job(destination.path(), backup, 250 - body.size());
    QCOMPARE(job.GetProgressStep(), qint64(2));
    const Outcome outcome = Run(job);
    QCOMPARE(outcome.result, ArchiveProcess::Ok);
    QCOMPARE(outcome.progress, QList<int> {125});
    QCOMPARE(TestSupport::ReadFile(destination.filePath(QStringLiteral("a.txt"))), QByteArray("tiny\n"));
}

void TestExtractArchive::progressBeyondFourGiB()
{
    // A body that starts 4.5 GiB into the file (a sparse prefix stands in for a big
    // backup): offsets, the divisor and positions all need 64 bits.
    QTemporaryDir scratch;
    const QString source = scratch.filePath(QStringLiteral("src"));
    QDir().mkpath(source);
    QVERIFY(TestSupport::WriteFile(source + "/far.txt", RandomBytes(300000, 6).toBase64()));
    const QString archive = scratch.filePath(QStringLiteral("body.tgz"));
    QVERIFY(MakeArchive(archive, source, {"-z"}, {"far.txt"}));
    const QByteArray body = Body(archive);

    const qint64 offset = Q_INT64_C(4) * 1024 * 1024 * 1024 + Q_INT64_C(512) * 1024 * 1024;
    const QString backup = scratch.filePath(QStringLiteral("backup"));
    {
        QFile file(backup);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(offset));
        QVERIFY(file.seek(offset));
        QCOMPARE(file.write(body), qint64(body.size()));
    }
    const qint64 size = offset + body.size();

    QTemporaryDir destination;
    ExtractArchive job(destination.path(), backup, offset);
    job.SetExpectedDigest(Md5(body));
    QCOMPARE(job.GetStartOffset(), offset);
    QCOMPARE(job.GetProgressStep(), size / 100);
    const Outcome outcome = Run(job);
    QCOMPARE(outcome.result, ArchiveProcess::Ok);
    QVERIFY(!outcome.progress.isEmpty());
    QVERIFY2(outcome.progress.first() >= 99 && outcome.progress.last() == 100,
             qPrintable(QStringLiteral("%1 .. %2").arg(outcome.progress.first()).arg(outcome.progress.last())));
    QCOMPARE(TestSupport::ReadFile(destination.filePath(QStringLiteral("far.txt"))), TestSupport::ReadFile(source + "/far.txt"));
}

void TestExtractArchive::skipModeWalksWithoutWriting()
{
    QTemporaryDir scratch;
    QStringList names;
    const QString source = Tree(QStringLiteral("skip-src"), HardLinks | Owners, &names);
    QVERIFY(!source.isEmpty());
    const QString archive = scratch.filePath(QStringLiteral("body.tgz"));
    QVERIFY(MakeArchive(archive, source, {"-z"}, names));
    QByteArray body = Body(archive);
    const QString backup = WriteBackup(scratch.filePath(QStringLiteral("backup")), Prefix(), body);

    // The destination is not made current in skip mode: a missing one does no harm and
    // nothing is written anywhere.
    const QString nowhere = scratch.filePath(QStringLiteral("not-there"));
    const int filesBefore = CountFiles(Utf8(QDir::currentPath()));
    ExtractArchive job(nowhere, backup, kHeaderLength);
    job.SetSkipData(true);
    QVERIFY(job.GetSkipData());
    job.SetExpectedDigest(Md5(body));
    const Outcome outcome = Run(job);
    QCOMPARE(outcome.result, ArchiveProcess::Ok);
    QVERIFY(outcome.progress.isEmpty());
    QVERIFY(outcome.errors.isEmpty());
    QVERIFY(!QFileInfo::exists(nowhere));
    QCOMPARE(CountFiles(Utf8(QDir::currentPath())), filesBefore);

    // Walking still reads every entry, so damage is found without writing anything.
    body.truncate(body.size() / 2);
    const QString damaged = WriteBackup(scratch.filePath(QStringLiteral("damaged")), Prefix(), body);
    ExtractArchive damagedJob(nowhere, damaged, kHeaderLength);
    damagedJob.SetSkipData(true);
    const Outcome damagedOutcome = Run(damagedJob);
    QCOMPARE(damagedOutcome.result, ArchiveProcess::ReadFailed);
    QCOMPARE(damagedOutcome.errors, QList<ArchiveProcess::Result> {ArchiveProcess::ReadFailed});
}

void TestExtractArchive::relativePathFollowsDestination()
{
    // A relative archive path is looked up after the destination has been made current,
    // while the progress divisor was taken where the path pointed at construction.
    QTemporaryDir scratch;
    const QString source = scratch.filePath(QStringLiteral("src"));
    QDir().mkpath(source);
    QVERIFY(TestSupport::WriteFile(source + "/r.txt", RandomBytes(50000, 11).toHex()));
    QTemporaryDir destination;
    QVERIFY(MakeArchive(destination.filePath(QStringLiteral("relative.tar")), source, {}, {"r.txt"}));

    ExtractArchive job(nullptr);
    QCOMPARE(job.GetStartOffset(), qint64(0));
    QVERIFY(!job.GetSkipData());
    job.SetDestinationDirectory(destination.path());
    job.SetArchivePath(QStringLiteral("relative.tar"));
    QCOMPARE(job.GetProgressStep(), qint64(1));
    const Outcome outcome = Run(job);
    QCOMPARE(outcome.result, ArchiveProcess::Ok);
    QVERIFY(outcome.directoryKept);
    QCOMPARE(TestSupport::ReadFile(destination.filePath(QStringLiteral("r.txt"))), TestSupport::ReadFile(source + "/r.txt"));
}

void TestExtractArchive::configurationFixedOnceStarted()
{
    QTemporaryDir scratch;
    const QString source = scratch.filePath(QStringLiteral("src"));
    QDir().mkpath(source);
    QVERIFY(TestSupport::WriteFile(source + "/c.txt", "c\n"));
    const QString archive = scratch.filePath(QStringLiteral("body.tar"));
    QVERIFY(MakeArchive(archive, source, {}, {"c.txt"}));
    QTemporaryDir destination;

    ExtractArchive job(destination.path(), archive, 0);
    job.start();
    job.SetStartOffset(77);
    job.SetSkipData(true);
    job.SetExpectedDigest("0123456789abcdef");
    job.SetDestinationDirectory(scratch.path());
    QVERIFY(job.wait(60000));
    QCOMPARE(job.GetResult(), ArchiveProcess::Ok);
    QCOMPARE(job.GetStartOffset(), qint64(0));
    QVERIFY(!job.GetSkipData());
    QVERIFY(job.GetExpectedDigest().isEmpty());
    QCOMPARE(job.GetDestinationDirectory(), destination.path());
    QVERIFY(QFileInfo::exists(destination.filePath(QStringLiteral("c.txt"))));

    // Also refused after the end; the archive path alone is taken at any time.
    job.SetStartOffset(5);
    QCOMPARE(job.GetStartOffset(), qint64(0));
    job.SetArchivePath(source + "/c.txt");
    QCOMPARE(job.GetArchivePath(), source + "/c.txt");
}

void TestExtractArchive::cancelStopsAtNextEntry()
{
    QTemporaryDir scratch;
    const QString source = scratch.filePath(QStringLiteral("src"));
    QDir().mkpath(source);
    QStringList names;
    for (int i = 0; i < 400; ++i) {
        const QString name = QStringLiteral("entry%1.txt").arg(i, 4, 10, QLatin1Char('0'));
        QVERIFY(TestSupport::WriteFile(source + '/' + name, QByteArray(3000, char('a' + i % 26))));
        names << name;
    }
    const QString archive = scratch.filePath(QStringLiteral("body.tar"));
    QVERIFY(MakeArchive(archive, source, {}, names));
    const QString fifo = scratch.filePath(QStringLiteral("slow-backup"));
    QCOMPARE(::mkfifo(Utf8(fifo).constData(), 0600), 0);

    QTemporaryDir destination;
    ExtractArchive job(destination.path(), fifo, 0);
    Recorder recorder(job);
    const QString directoryBefore = QDir::currentPath();
    FifoFeeder feeder(Utf8(fifo), Body(archive), 64 * 1024, 20);
    job.start();
    QTRY_VERIFY_WITH_TIMEOUT(CountFiles(Utf8(destination.path())) >= 5, 30000);

    QElapsedTimer timer;
    timer.start();
    job.Cancel();
    QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(job.isFinished());
    QCOMPARE(job.GetResult(), ArchiveProcess::Cancelled);
    QCoreApplication::sendPostedEvents(&recorder);
    QVERIFY(recorder.errors.isEmpty());
    QVERIFY(CountFiles(Utf8(destination.path())) < names.size());
    QCOMPARE(QDir::currentPath(), directoryBefore);
}

void TestExtractArchive::cancelReturnsWithinBoundWhenRunIsStuck()
{
    // The run polls the request between entries only. When it is stuck inside one, Cancel
    // gives up after five seconds and reports Cancelled all the same; the run, once it
    // gets going again, ends with its own result.
    QTemporaryDir scratch;
    const QString source = scratch.filePath(QStringLiteral("src"));
    QDir().mkpath(source);
    QVERIFY(TestSupport::WriteFile(source + "/one.bin", RandomBytes(200000, 12)));
    QVERIFY(TestSupport::WriteFile(source + "/two.bin", RandomBytes(200000, 13)));
    const QString archive = scratch.filePath(QStringLiteral("body.tar"));
    QVERIFY(MakeArchive(archive, source, {}, {"one.bin", "two.bin"}));
    const QString fifo = scratch.filePath(QStringLiteral("stalled-backup"));
    QCOMPARE(::mkfifo(Utf8(fifo).constData(), 0600), 0);

    QTemporaryDir destination;
    ExtractArchive job(destination.path(), fifo, 0);
    FifoFeeder feeder(Utf8(fifo), Body(archive), 100 * 1024, -1);
    job.start();
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(destination.filePath(QStringLiteral("one.bin"))), 30000);

    QElapsedTimer timer;
    timer.start();
    job.Cancel();
    const qint64 elapsed = timer.elapsed();
    QVERIFY2(elapsed >= 4900 && elapsed < 6500, qPrintable(QString::number(elapsed)));
    QVERIFY(!job.isFinished());
    QCOMPARE(job.GetResult(), ArchiveProcess::Cancelled);

    feeder.Release();
    QVERIFY(job.wait(30000));
    QCOMPARE(job.GetResult(), ArchiveProcess::Ok);
    QVERIFY(!QFileInfo::exists(destination.filePath(QStringLiteral("two.bin"))));
}

void TestExtractArchive::cancelAfterEndStillCancels()
{
    QTemporaryDir scratch;
    QTemporaryDir destination;
    ExtractArchive job(destination.path(), scratch.filePath(QStringLiteral("missing")), 0);
    const Outcome outcome = Run(job);
    QCOMPARE(outcome.result, ArchiveProcess::FileNotFound);
    QElapsedTimer timer;
    timer.start();
    job.Cancel();
    QVERIFY(timer.elapsed() < 1000);
    QCOMPARE(job.GetResult(), ArchiveProcess::Cancelled);

    // And before any start: nothing runs, the result is Cancelled.
    ExtractArchive idle(nullptr);
    idle.Cancel();
    QCOMPARE(idle.GetResult(), ArchiveProcess::Cancelled);
}

void TestExtractArchive::digestDecidesOutcome_data()
{
    // Each row damages a body in a place the library does not notice, so only the digest
    // tells a good body from a bad one.
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("damage");
    const QString format = QStringLiteral("--format");
    QTest::newRow("tar.gz, stored block of incompressible data") << QStringList {format, "pax", "-z"} << "inside";
    QTest::newRow("tar.gz, gzip trailer") << QStringList {format, "pax", "-z"} << "trailer";
    QTest::newRow("tar, padding after the end marker") << QStringList {format, "ustar", "-b", "128"} << "last byte";
    QTest::newRow("zip, stored entry (reader seeks)") << QStringList {format, "zip", "--options", "zip:compression=store"} << "inside";
    QTest::newRow("iso9660, file data") << QStringList {format, "iso9660", "--options", "iso9660:rockridge=strict"} << "inside";
}

void TestExtractArchive::digestDecidesOutcome()
{
    QFETCH(QStringList, options);
    QFETCH(QString, damage);

    QTemporaryDir scratch;
    const QString source = scratch.filePath(QStringLiteral("src"));
    QDir().mkpath(source);
    const QByteArray random = RandomBytes(3 * 1024 * 1024 + 123, 21);
    QVERIFY(TestSupport::WriteFile(source + "/map.bin", random));
    QVERIFY(TestSupport::WriteFile(source + "/notes.txt", "keep\n"));
    const QString archive = scratch.filePath(QStringLiteral("body"));
    QString error;
    QVERIFY2(MakeArchive(archive, source, options, {"map.bin", "notes.txt"}, &error), qPrintable(error));
    const QByteArray good = Body(archive);
    QByteArray bad = good;
    if (damage == "inside") {
        // A piece of the random file as it lies in the body (gzip stores incompressible
        // data as it is, in blocks with small headers between them).
        int at = -1;
        for (int from = 2 * 1024 * 1024; at < 0 && from < 2 * 1024 * 1024 + 40000; from += 1000)
            at = UniqueOffset(good, random.mid(from, 24));
        QVERIFY(at > 0);
        bad[at + 10] = char(bad[at + 10] ^ 0x5A);
    } else if (damage == "trailer") {
        bad[bad.size() - 6] = char(bad[bad.size() - 6] ^ 0x01);
    } else {
        QCOMPARE(bad.at(bad.size() - 1), '\0');
        bad[bad.size() - 1] = '\x01';
    }
    const QByteArray goodDigest = Md5(good);
    const QByteArray badDigest = Md5(bad);
    QVERIFY(goodDigest != badDigest);
    const QString backup = WriteBackup(scratch.filePath(QStringLiteral("backup")), Prefix(), bad);

    struct Case
    {
        const char *what;
        QByteArray digest;
        ArchiveProcess::Result expected;
    };
    const Case cases[] = {
        // Control: without a digest the damage goes through as a restored backup.
        {"no digest", QByteArray(), ArchiveProcess::Ok},
        {"digest of the intact body", goodDigest, ArchiveProcess::ReadFailed},
        {"digest of the body as it is", badDigest, ArchiveProcess::Ok},
        {"stored digest cut short, intact body", goodDigest.left(4), ArchiveProcess::ReadFailed},
        {"stored digest cut short, body as it is", badDigest.left(4), ArchiveProcess::Ok},
        {"longer than a digest", badDigest + "x", ArchiveProcess::ReadFailed},
    };
    for (const Case &c : cases) {
        QTemporaryDir destination;
        ExtractArchive job(destination.path(), backup, kHeaderLength);
        job.SetExpectedDigest(c.digest);
        const Outcome outcome = Run(job);
        QVERIFY2(outcome.result == c.expected, c.what);
        QVERIFY2(outcome.errors == (c.expected == ArchiveProcess::Ok ? QList<ArchiveProcess::Result> {}
                                                                     : QList<ArchiveProcess::Result> {ArchiveProcess::ReadFailed}),
                 c.what);
        QVERIFY2(outcome.descriptorsKept && outcome.directoryKept, c.what);
        // Whatever the verdict, the entries were written as the library read them.
        QVERIFY2(TestSupport::ReadFile(destination.filePath(QStringLiteral("notes.txt"))) == "keep\n", c.what);
    }
}

void TestExtractArchive::digestOfLargeBody()
{
    // Several times the digest's buffering, with a damaged byte near the very end.
    QTemporaryDir scratch;
    const QString source = scratch.filePath(QStringLiteral("src"));
    QDir().mkpath(source);
    for (int i = 0; i < 6; ++i)
        QVERIFY(TestSupport::WriteFile(source + QStringLiteral("/part%1.bin").arg(i), RandomBytes(1500000 + i, 40 + i)));
    const QString archive = scratch.filePath(QStringLiteral("body.tar"));
    QVERIFY(MakeArchive(archive, source, {}, {"part0.bin", "part1.bin", "part2.bin", "part3.bin", "part4.bin", "part5.bin"}));
    const QByteArray body = Body(archive);
    const QString backup = WriteBackup(scratch.filePath(QStringLiteral("backup")), Prefix(), body);
    QByteArray damagedBody = body;
    damagedBody[body.size() - 20000] = char(damagedBody[body.size() - 20000] ^ 0x80);
    const QString damaged = WriteBackup(scratch.filePath(QStringLiteral("damaged")), Prefix(), damagedBody);

    for (const QString &file : {backup, damaged}) {
        QTemporaryDir destination;
        ExtractArchive job(destination.path(), file, kHeaderLength);
        job.SetExpectedDigest(Md5(body));
        const Outcome outcome = Run(job);
        QCOMPARE(outcome.result, file == backup ? ArchiveProcess::Ok : ArchiveProcess::ReadFailed);
        QCOMPARE(CountFiles(Utf8(destination.path())), 6);
    }
}

void TestExtractArchive::utf8NamesWithoutLocale_data()
{
    QTest::addColumn<QString>("format");
    QTest::newRow("pax") << "pax";
    QTest::newRow("zip") << "zip";
    QTest::newRow("7-zip") << "7zip";
}

void TestExtractArchive::utf8NamesWithoutLocale()
{
    QFETCH(QString, format);
    QTemporaryDir scratch;
    const QByteArray source = Utf8(scratch.filePath(QStringLiteral("src")));
    QVERIFY(QDir().mkpath(QString::fromUtf8(source)));
    QVERIFY(QDir().mkpath(QString::fromUtf8(source) + "/names"));
    const QList<QByteArray> names {"names/Feld Süd – Mais.txt", "names/Łąka – 日本語.csv", "names/plain.txt"};
    for (const QByteArray &name : names)
        QVERIFY(MakeFile(source + '/' + name, name + '\n', 0644, 1262304000));
    const QString archive = scratch.filePath(QStringLiteral("body"));
    QVERIFY(MakeArchive(archive, QString::fromUtf8(source), {"--format", format}, {"names"}));
    const QString backup = WriteBackup(scratch.filePath(QStringLiteral("backup")), Prefix(), Body(archive));

    // The display starts the tool without LANG or LC_*: the whole process in the C locale.
    const QByteArray savedLocale = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "C");
    auto restoreLocale = qScopeGuard([&] { std::setlocale(LC_ALL, savedLocale.constData()); });

    // Control: in this locale the library itself trips over the first such name.
    {
        struct archive *reader = archive_read_new();
        archive_read_support_format_all(reader);
        archive_read_support_filter_all(reader);
        QCOMPARE(archive_read_open_filename(reader, Utf8(archive).constData(), 10240), ARCHIVE_OK);
        int worst = ARCHIVE_OK;
        struct archive_entry *entry;
        for (;;) {
            const int status = archive_read_next_header(reader, &entry);
            if (status == ARCHIVE_EOF)
                break;
            worst = std::min(worst, status);
            if (status < ARCHIVE_WARN)
                break;
        }
        archive_read_free(reader);
        QVERIFY2(worst < ARCHIVE_OK, "expected the library to complain about UTF-8 names in the C locale");
    }

    QTemporaryDir destination;
    ExtractArchive job(destination.path(), backup, kHeaderLength);
    const Outcome outcome = Run(job);
    QCOMPARE(outcome.result, ArchiveProcess::Ok);
    QVERIFY(outcome.errors.isEmpty());
    for (const QByteArray &name : names) {
        const QByteArray path = Utf8(destination.path()) + '/' + name;
        struct stat status;
        QVERIFY2(::stat(path.constData(), &status) == 0, name.constData());
        QCOMPARE(qint64(status.st_size), qint64(name.size() + 1));
    }
    // Nothing about the process's locale changed, and this thread has no locale of its own.
    QCOMPARE(QByteArray(std::setlocale(LC_ALL, nullptr)), QByteArray("C"));
    QCOMPARE(uselocale(locale_t(0)), LC_GLOBAL_LOCALE);
}

QTEST_GUILESS_MAIN(TestExtractArchive)
#include "tst_extractarchive.moc"
