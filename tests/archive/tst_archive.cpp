// The archive jobs on real archives: extraction, MD5 code and job, and the backup data check with its gzip test.

#include "ArchiveTestSupport.h"
#include "FileHeader.h"
#include "MD5.h"
#include "MD5SumProcess.h"
#include "ValidateCompressedDirectoryProcess.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QScopeGuard>
#include <QSignalSpy>

#include <atomic>
#include <clocale>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Archive;
using namespace ArchiveTest;
using Check = ValidateCompressedDirectoryProcess;

namespace {

constexpr int kHeaderLength = 204;
constexpr ArchiveProcess::Result Ok = ArchiveProcess::Ok;
constexpr ArchiveProcess::Result ReadFailed = ArchiveProcess::ReadFailed;

// What a format keeps besides names, data, modes and times.
enum Feature { Owners = 1, HardLinks = 2, LongNames = 4 };

bool SetTime(const QByteArray &path, long long mtime)
{
    const timespec times[2] = {{mtime, 0}, {mtime, 0}};
    return utimensat(AT_FDCWD, path.constData(), times, AT_SYMLINK_NOFOLLOW) == 0;
}

bool MakeDirectory(const QByteArray &path, unsigned mode)
{
    return mkdir(path.constData(), 0700) == 0 && chmod(path.constData(), mode) == 0;
}

// Qt names files in UTF-8 whatever the locale, so QString paths are safe in these helpers.
bool MakeFile(const QByteArray &path, const QByteArray &data, unsigned mode, long long mtime)
{
    return TestSupport::WriteFile(QString::fromUtf8(path), data)
           && chmod(path.constData(), mode) == 0 && SetTime(path, mtime);
}

// Everything an archive must carry back; returns the top-level names to archive.
QStringList MakeStandardTree(const QByteArray &root, int features)
{
    const long long t = 1262304000;
    const QByteArray r = root + '/';
    const QByteArray text = RandomBytes(3000, 8).toBase64();
    const QByteArray deep = r + "deep/" + QByteArray(120, 'd');
    const bool ok = MakeDirectory(root, 0755) && MakeDirectory(r + "dir", 0750)
        && MakeDirectory(r + "dir/sub", 0700) && MakeDirectory(r + "names", 0755)
        && MakeDirectory(r + "names/Łąka", 0775) && MakeFile(r + "empty", "", 0600, t + 44)
        && MakeFile(r + "dir/file.txt", "hello, field\n", 0640, t + 11)
        && chown(r + "dir/file.txt", 1234, 2345) == 0
        && (!(features & HardLinks) || link(r + "dir/file.txt", r + "dir/hard") == 0)
        && MakeFile(r + "dir/sub/mixed.bin", RandomBytes(7000, 7) + text.repeated(9), 0604, t + 22)
        && MakeFile(r + "exec.sh", "#!/bin/sh\necho run\n", 0755, t + 55)
        && symlink("dir/file.txt", r + "link") == 0 && symlink("nowhere/else", r + "dangling") == 0
        && MakeFile(r + "names/Feld Süd – Mais.txt", "Süd\n", 0644, t + 77)
        && MakeFile(r + "names/Łąka/日本語.txt", text, 0644, t + 88)
        && (!(features & LongNames)
            || (MakeDirectory(r + "deep", 0755) && MakeDirectory(deep, 0755)
                && MakeFile(deep + '/' + QByteArray(200, 'n'), "deep\n", 0644, t + 111)
                && SetTime(deep, t + 122) && SetTime(r + "deep", t + 133)))
        // Directory times last, once nothing more is created inside them.
        && SetTime(r + "names/Łąka", t + 144) && SetTime(r + "names", t + 155)
        && SetTime(r + "dir/sub", t + 166) && SetTime(r + "dir", t + 177);
    const QStringList names {"dir", "empty", "exec.sh", "link", "dangling", "names"};
    return !ok ? QStringList() : (features & LongNames) ? names + QStringList {"deep"} : names;
}

// "path: type, mode, time[, owner], content or link target[, links]", sorted by path.
QStringList Snapshot(const QString &root, int features)
{
    QStringList entries;
    QDirIterator it(root, QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        struct stat s;
        char target[4096];
        const ssize_t length = readlink(path.toUtf8().constData(), target, sizeof target);
        if (lstat(path.toUtf8().constData(), &s) != 0)
            continue;
        QString line = QString("%1 t=%2").arg(s.st_mode & 07777, 0, 8).arg(s.st_mtim.tv_sec);
        if (features & Owners)
            line += QStringLiteral(" %1:%2").arg(s.st_uid).arg(s.st_gid);
        if (S_ISLNK(s.st_mode))
            line = "link to " + QString::fromUtf8(target, int(qMax<ssize_t>(length, 0)));
        else if (S_ISREG(s.st_mode))
            line = "file " + Md5(TestSupport::ReadFile(path)).toHex() + ' ' + line;
        if (S_ISREG(s.st_mode) && (features & HardLinks))
            line += QStringLiteral(" links=%1").arg(s.st_nlink);
        entries << path.mid(root.size() + 1) + ": " + line;
    }
    entries.sort();
    return entries;
}

// A file of `bodyAt` zero bytes (a hole, no disk), then `body`, then zeros up to `size`.
QString WriteSparse(const QString &path, const QByteArray &body, qint64 bodyAt, qint64 size = -1)
{
    QFile file(path);
    const bool ok = file.open(QIODevice::WriteOnly) && file.resize(bodyAt) && file.seek(bodyAt)
                    && file.write(body) == body.size() && (size < 0 || file.resize(size));
    return ok ? path : QString();
}

} // namespace

class TestArchive : public QObject
{
    Q_OBJECT

private slots:
    void extractFormats_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<int>("features");
        QTest::addColumn<int>("offset");
        const auto row = [](const char *name, const char *options, int features, int offset = kHeaderLength) {
            QTest::newRow(name) << QString::fromLatin1(options).split(' ') << features << offset;
        };
        const int all = Owners | HardLinks | LongNames;
        row("ustar gzip", "--format ustar -z", Owners | HardLinks);
        row("pax bzip2", "--format pax -j", all);
        row("pax xz", "--format pax -J", all);
        row("pax lzma", "--format pax --lzma", all);
        row("pax zstd", "--format pax --zstd", all);
        row("pax lz4", "--format pax --lz4", all);
        row("gnutar gzip", "--format gnutar -z", all);
        row("cpio newc", "--format newc", all);
        // These readers seek with offsets counted from the archive's start, not the file's.
        row("zip at 0", "--format zip", Owners | LongNames, 0);
        row("zip at 4097", "--format zip", Owners | LongNames, 4097);
        row("7-zip at 4097", "--format 7zip", LongNames, 4097);
        row("iso9660 at 4097", "--format iso9660 --options iso9660:rockridge=strict", all, 4097);
    }

    void extractFormats()
    {
        QFETCH(QStringList, options);
        QFETCH(int, features);
        QFETCH(int, offset);
        QTemporaryDir scratch;
        const QString source = scratch.filePath(QStringLiteral("src"));
        const QStringList names = MakeStandardTree(source.toUtf8(), features);
        QVERIFY(!names.isEmpty() && MakeArchive(scratch.filePath("body"), source, options, names));
        const QByteArray body = TestSupport::ReadFile(scratch.filePath("body"));
        const QString backup = WriteBackup(scratch.filePath("backup"), body, offset);
        // As the display starts the tool: no locale at all, yet the UTF-8 names must come back.
        const QByteArray savedLocale = std::setlocale(LC_ALL, nullptr);
        std::setlocale(LC_ALL, "C");
        const auto restore = qScopeGuard([&] { std::setlocale(LC_ALL, savedLocale.data()); });
        // Plainly, and with the body's digest checked (after the run where the reader sought).
        for (const QByteArray &digest : {QByteArray(), Md5(body)}) {
            QTemporaryDir destination;
            ExtractArchive job(destination.path(), backup, offset);
            job.SetExpectedDigest(digest);
            const Outcome outcome = Run(job);
            QVERIFY(outcome.result == Ok && outcome.clean && !outcome.progress.isEmpty());
            QCOMPARE(Snapshot(destination.path(), features), Snapshot(source, features));
        }
        QCOMPARE(QByteArray(std::setlocale(LC_ALL, nullptr)), QByteArray("C")); // left alone
    }

    void extractBadInput_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<qint64>("offset");
        QTest::addColumn<ArchiveProcess::Result>("expected");
        const auto row = [](const char *name, const char *kind, const QByteArray &content, qint64 offset,
                            ArchiveProcess::Result expected) {
            QTest::newRow(name) << kind << content << offset << expected;
        };
        const QByteArray tgz = ArchiveOf({{"big.log", RandomBytes(300000, 1).toHex()}, {"end.txt", "end\n"}}, {"-z"});
        const QByteArray backup = RandomBytes(kHeaderLength, 2) + tgz;
        row("missing file", "missing", {}, 0, ArchiveProcess::FileNotFound);
        row("empty path", "empty path", {}, 0, ArchiveProcess::FileNotFound);
        // Only a regular file is opened, never with a wait: a FIFO without a writer would block for good.
        row("directory as archive", "directory", {}, 0, ArchiveProcess::OpenFailed);
        row("FIFO as archive", "fifo", {}, 0, ArchiveProcess::OpenFailed);
        // A body with no byte in it restores nothing: a failure, not an empty success.
        row("empty file", "file", QByteArray(), 0, ReadFailed);
        row("header with nothing after it", "file", backup.left(kHeaderLength), kHeaderLength, ReadFailed);
        row("offset past the end", "file", backup, backup.size() + 1000, ReadFailed);
        row("offset not at an archive", "file", backup, kHeaderLength + 100, ReadFailed);
        row("random bytes", "file", RandomBytes(200000, 4), 0, ReadFailed);
        row("tar.gz truncated in an entry", "file", tgz.left(tgz.size() / 2), 0, ReadFailed);
        row("gzip stream damaged part way", "file",
            QByteArray(tgz).replace(tgz.size() / 3, 4096, RandomBytes(4096, 3)), 0, ReadFailed);
        // The library's warning is no success: a pax record one byte longer than it is.
        QByteArray pax = ArchiveOf({{QString(120, 'n'), "hi\n"}}, {"--format", "pax"});
        const int record = pax.indexOf(" path=");
        pax.replace(record - 3, 3, QByteArray::number(pax.mid(record - 3, 3).toInt() + 1));
        row("pax record of a wrong length", "file", pax, 0, ReadFailed);
    }

    void extractBadInput()
    {
        QFETCH(QString, kind);
        QFETCH(QByteArray, content);
        QFETCH(qint64, offset);
        QFETCH(ArchiveProcess::Result, expected);
        QTemporaryDir scratch;
        const QString path = kind == "empty path" ? QString() : scratch.filePath("input");
        QVERIFY(kind != "file" || TestSupport::WriteFile(path, content));
        QVERIFY(kind != "directory" || QDir().mkpath(path));
        QVERIFY(kind != "fifo" || ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0);
        ExtractArchive job(scratch.path(), path, offset);
        const Outcome outcome = Run(job);
        QCOMPARE(outcome.result, expected);
        QVERIFY(outcome.clean);
    }

    // Percentages are the position over the file's size, from the header's share to about 100, each sent once.
    void extractProgress_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<qint64>("headerLength");
        QTest::addColumn<int>("first");
        QTest::addColumn<int>("last");
        // Only in a file of megabytes do 64 KiB reads leave the first report within a percent of the header's share.
        QTest::newRow("tar, header 60 %") << QStringList() << qint64(6000000) << 60 << 99;
        // Offsets, divisor and positions all need 64 bits (the header is sparse).
        QTest::newRow("tar.gz at 4.5 GiB") << QStringList("-z") << (qint64(9) << 29) << 99 << 100;
    }

    void extractProgress()
    {
        QFETCH(QStringList, options);
        QFETCH(qint64, headerLength);
        QFETCH(int, first);
        QFETCH(int, last);
        const QByteArray body = ArchiveOf({{"data.bin", RandomBytes(4000000, 5)}}, options);
        QTemporaryDir scratch;
        ExtractArchive job(scratch.path(), WriteSparse(scratch.filePath("backup"), body, headerLength), headerLength);
        job.SetExpectedDigest(Md5(body));
        const Outcome outcome = Run(job);
        QVERIFY(outcome.result == Ok && !outcome.progress.isEmpty());
        QVERIFY2(qAbs(outcome.progress.first() - first) <= 1, qPrintable(QString::number(outcome.progress.first())));
        QVERIFY(outcome.progress.last() >= last && outcome.progress.last() <= 100);
        for (int i = 1; i < outcome.progress.size(); ++i)
            QVERIFY(outcome.progress[i] > outcome.progress[i - 1]);
    }

    // The progress report, on the job's thread, holds the writing up: stuck in an entry, Cancel gives up after 5 s.
    void extractCancel_data()
    {
        QTest::addColumn<int>("pauseMs");
        QTest::newRow("slow writing") << 20;
        QTest::newRow("stuck in an entry") << -1;
    }

    void extractCancel()
    {
        QFETCH(int, pauseMs);
        QMap<QString, QByteArray> files;
        for (int i = 0; i < 400; ++i)
            files.insert(QString::number(1000 + i), RandomBytes(3000, i));
        QTemporaryDir scratch, target;
        ExtractArchive job(target.path(), WriteBackup(scratch.filePath(QStringLiteral("backup")), ArchiveOf(files)), 204);
        QList<ArchiveProcess::Result> errors;
        connect(&job, &ExtractArchive::ErrorOccurred, this, [&](ArchiveProcess::Result error) { errors << error; });
        std::atomic<bool> released {false};
        std::atomic<int> percentNow {0};
        connect(&job, &ExtractArchive::PercentProgress, this, [&](int percent) {
            percentNow = percent;
            do
                std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs < 0 ? 10 : pauseMs));
            while (pauseMs < 0 && percent >= 20 && !released);
        }, Qt::DirectConnection);
        const auto release = qScopeGuard([&] { released = true; job.wait(); });
        const QString directory = QDir::currentPath();
        job.start();
        QTRY_VERIFY_WITH_TIMEOUT(percentNow >= 20, 30000);
        QVERIFY(Snapshot(target.path(), 0).filter(": file ").size() >= 5);
        QElapsedTimer timer;
        timer.start();
        job.Cancel();
        const qint64 elapsed = timer.elapsed();
        QCOMPARE(job.GetResult(), ArchiveProcess::Cancelled);
        QVERIFY2(elapsed < (pauseMs < 0 ? 6500 : 3000), qPrintable(QString::number(elapsed)));
        if (pauseMs < 0) {
            QVERIFY2(elapsed >= 4900 && !job.isFinished(), qPrintable(QString::number(elapsed)));
            released = true;
            QVERIFY(job.wait(30000));
            QCOMPARE(job.GetResult(), Ok);
        }
        QVERIFY(job.isFinished());
        QCoreApplication::sendPostedEvents(this);
        QVERIFY(errors.isEmpty() && Snapshot(target.path(), 0).filter(": file ").size() < 400);
        QCOMPARE(QDir::currentPath(), directory);
    }

    // Each body is damaged where the library does not notice: only the digest tells.
    void extractDigestDecides_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<int>("damageAt"); // from the end; 0: in the random file's data
        const auto row = [](const char *name, const char *options, int damageAt) {
            QTest::newRow(name) << QString::fromLatin1(options).split(' ') << damageAt;
        };
        row("tar.gz, stored block of incompressible data", "--format pax -z", 0);
        row("tar.gz, gzip trailer's CRC", "--format pax -z", 6);
        row("tar, padding after the end marker", "--format ustar -b 128", 1);
        row("zip, stored entry (reader seeks)", "--format zip --options zip:compression=store", 0);
        row("iso9660, file data", "--format iso9660 --options iso9660:rockridge=strict", 0);
    }

    void extractDigestDecides()
    {
        QFETCH(QStringList, options);
        QFETCH(int, damageAt);
        const QByteArray random = RandomBytes(3 * 1024 * 1024 + 123, 21);
        const QByteArray good = ArchiveOf({{"map.bin", random}, {"notes.txt", "keep\n"}}, options);
        // Incompressible data lies in the body as it is (gzip keeps it in stored blocks).
        const QByteArray piece = random.mid(2 * 1024 * 1024, 24);
        const int at = damageAt > 0 ? good.size() - damageAt : good.indexOf(piece) + 10;
        QVERIFY(at > 10 && (damageAt > 0 || good.indexOf(piece, at) < 0));
        QByteArray bad = good;
        bad[at] = char(bad[at] ^ 0x5A);
        QTemporaryDir scratch;
        const QString backup = WriteBackup(scratch.filePath(QStringLiteral("backup")), bad);
        const QList<QPair<QByteArray, ArchiveProcess::Result>> cases {
            {QByteArray(), Ok}, // without a digest the damage goes through
            {Md5(good), ReadFailed},
            {Md5(bad), Ok},
            // A stored digest may be shorter: only its length is compared.
            {Md5(good).left(4), ReadFailed},
            {Md5(bad).left(4), Ok},
            {Md5(bad) + "x", ReadFailed},
        };
        for (const auto &c : cases) {
            QTemporaryDir destination;
            ExtractArchive job(destination.path(), backup, kHeaderLength);
            job.SetExpectedDigest(c.first);
            const Outcome outcome = Run(job);
            // Whatever the verdict, the entries were written as the library read them.
            QVERIFY2(outcome.result == c.second && outcome.clean
                         && TestSupport::ReadFile(destination.filePath("notes.txt")) == "keep\n",
                     c.first.toHex());
        }
    }

    // Our own MD5 against Qt's: every length around the padding rule, and awkward pieces from an odd address.
    void md5MatchesQtDigest()
    {
        const auto digest = [](const QByteArray &data, const QList<int> &pieces, int skip = 0) {
            MD5Context context;
            MD5Init(context);
            for (qint64 at = skip, i = 0; at < data.size(); at += pieces[int(i++ % pieces.size())])
                MD5Update(context, data.constData() + at, size_t(std::min<qint64>(pieces[int(i % pieces.size())], data.size() - at)));
            unsigned char bytes[16];
            MD5Final(context, bytes);
            return DigestBytes(bytes);
        };
        const QByteArray data = RandomBytes(100000, 1);
        for (int length = 0; length <= 300; ++length)
            QVERIFY2(digest(data.left(length), {INT_MAX}) == Md5(data.left(length)), qPrintable(QString::number(length)));
        QCOMPARE(digest(data, {0, 1, 3, 55, 56, 63, 64, 65, 127, 128, 4096, 5000}, 1), Md5(data.mid(1)));
    }

    void md5Job_data()
    {
        QTest::addColumn<qint64>("size"); // -1: no file at all
        QTest::addColumn<qint64>("offset");
        QTest::addColumn<QList<int>>("progress");
        QList<int> upTo100;
        for (int i = 0; i <= 100; ++i)
            upTo100 << i;
        // Bytes digested over (file size / 100), each value once.
        QTest::newRow("after a version-2 header") << qint64(1000000) << qint64(204) << upTo100.mid(0, 100);
        // Past 2 GiB digested the count no longer fits 32 bits (sparse: zeros, no disk).
        QTest::newRow("2.3 GiB") << (Q_INT64_C(2300) << 20) << qint64(0) << upTo100;
        // Under 10000 bytes the "percentage" is the count of bytes digested so far.
        QTest::newRow("9999 bytes from 1000") << qint64(9999) << qint64(1000) << QList<int> {4096, 8192, 8999};
        QTest::newRow("missing file") << qint64(-1) << qint64(0) << QList<int>();
        // Cancelled at its first report, a job over 64 GiB of holes stops at once.
        QTest::newRow("cancelled") << (Q_INT64_C(64) << 30) << qint64(0) << QList<int>();
    }

    void md5Job()
    {
        QFETCH(qint64, size);
        QFETCH(qint64, offset);
        QFETCH(QList<int>, progress);
        QTemporaryDir dir;
        const QByteArray data = size >= 0 && size < (1 << 30) ? RandomBytes(int(size), 5) : QByteArray();
        const QString path = size < 0 ? dir.filePath("missing") : WriteSparse(dir.filePath("backup"), data, 0, size);
        QVERIFY(!path.isEmpty());
        MD5SumProcess job(path, offset);
        QList<int> values;
        connect(&job, &MD5SumProcess::PercentProgress, this, [&](int p) { values << p; });
        job.start();
        if (size > (Q_INT64_C(8) << 30)) {
            QTRY_VERIFY_WITH_TIMEOUT(!values.isEmpty(), 30000);
            QElapsedTimer timer;
            timer.start();
            job.Cancel();
            QVERIFY2(timer.elapsed() < 2000 && job.isFinished(), qPrintable(QString::number(timer.elapsed())));
            QVERIFY(job.GetDigest() != QByteArray(16, '\xFF')); // of what was read before the stop
        } else {
            QVERIFY(job.wait(300000));
            QCoreApplication::sendPostedEvents(this);
            QCOMPARE(values, progress);
            QCOMPARE(job.GetResult(), size < 0 ? MD5SumProcess::OpenFailed : MD5SumProcess::Done);
            QVERIFY(size < 0 ? job.GetDigest() == QByteArray(16, '\xFF')
                             : data.isEmpty() || job.GetDigest() == Md5(data.mid(int(offset))));
        }
        job.Cancel(); // after the end too it marks the job cancelled
        QCOMPARE(job.GetResult(), MD5SumProcess::Cancelled);
    }

    void backupDataCheck_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<QByteArray>("checksum"); // as written; empty: sixteen 0xFF bytes
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("intact");
        const QByteArray body = RandomBytes(300000, 3);
        const QByteArray other = body.left(299999) + "x";
        const QByteArray gzip = ArchiveOf({{"data", RandomBytes(1000000, 1).toHex()}}, {"-z"});
        QTest::newRow("v1, gzip stream") << 1 << QByteArray() << gzip << true;
        // The gzip test's exit code is not judged: a stream cut short passes.
        QTest::newRow("v1, cut short") << 1 << QByteArray() << gzip.left(gzip.size() - 9) << true;
        QTest::newRow("v2, digest matches") << 2 << Md5(body) << body << true;
        QTest::newRow("v2, body changed") << 2 << Md5(body) << other << false;
        // A stored digest is compared over its stored length.
        QTest::newRow("v2, short digest matches") << 2 << Md5(body).left(5) << body << true;
        QTest::newRow("v2, short digest, changed") << 2 << Md5(body).left(5) << other << false;
        // Sixteen 0xFF bytes read back as no checksum, which any completed digest matches.
        QTest::newRow("v2, no checksum") << 2 << QByteArray() << other << true;
    }

    void backupDataCheck()
    {
        QFETCH(int, version);
        QFETCH(QByteArray, checksum);
        QFETCH(QByteArray, body);
        QFETCH(bool, intact);
        Backup::FileHeader header;
        header.SetProduct("Talon 10");
        header.SetProductCode(4711);
        header.SetVariant("cab");
        header.SetMinimumSoftwareVersion(0x05020000);
        DataFileHeader record = Backup::FileHeader::NewBackupRecord(version);
        if (!checksum.isEmpty())
            record.SetChecksum(std::vector<std::uint8_t>(checksum.begin(), checksum.end()));
        QTemporaryDir dir;
        QFile file(dir.filePath("backup"));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QCOMPARE(header.WriteFileHeader(&file, record), Backup::FileHeader::Ok);
        QVERIFY(file.write(body) == body.size() && file.seek(0));
        // Checked with the header as read back from the file, as a caller has it.
        Backup::FileHeader readBack;
        QCOMPARE(Backup::ReadFileHeader(readBack, &file), Backup::FileHeader::Ok);
        file.close();
        QCOMPARE(readBack.HeaderVersion(), version);
        QCOMPARE(readBack.VerifyData(file.fileName()), intact);
        QVERIFY(!readBack.VerifyData(dir.filePath("missing")));
        // What a gzip test's own owner is told besides: the running total, then one ending signal.
        for (const QString &path : version == 1 ? QStringList {file.fileName(), dir.filePath("missing")} : QStringList()) {
            Check check(path, quint32(readBack.HeaderLength() + 1));
            QSignalSpy progress(&check, &Check::ProgressChanged), finished(&check, &Check::Finished), errors(&check, &Check::ErrorOccurred);
            check.Start();
            QVERIFY(check.GetResult() != Check::Running || check.WaitForFinished(30000));
            const bool found = path == file.fileName();
            QCOMPARE(progress.isEmpty() ? 0 : progress.last().at(0).value<size_t>(), size_t(found ? body.size() : 0));
            QCOMPARE(finished.count() + errors.count(), 1);
            QCOMPARE(errors.value(0).value(0).value<Check::Result>(), found ? Check::Completed : Check::FileNotFound);
        }
    }
};

QTEST_GUILESS_MAIN(TestArchive)
#include "tst_archive.moc"
