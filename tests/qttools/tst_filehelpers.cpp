// File-system helpers, run inside a throwaway root (the object store is the fixed
// "/home/data/objects/") with real "mv", "cp" and "sh". Root inside obeys permission bits
// (CAP_DAC_OVERRIDE is dropped), so unreadable and unwritable files behave as on a display.
#include "FileHelpers.h"
#include "Guid.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegExp>
#include <QTemporaryDir>
#include <QtTest>

#include <ctime>
#include <sys/stat.h>
#include <utime.h>

namespace {

const QString kObjects = QStringLiteral("/home/data/objects");
const char kFirst[] = "{00112233-4455-6677-8899-aabbccddeeff}";
const char kSecond[] = "{ffeeddcc-bbaa-9988-7766-554433221100}";
const QFile::Permissions kReadOnly = QFile::ReadOwner | QFile::ExeOwner;
const QFile::Permissions kWritable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

Guid MakeGuid(const char *text)
{
    Guid guid;
    guid.FromString(text);
    return guid;
}

// Where an object's directory really is (single slash).
QString ObjectPath(const char *uuid, const QString &name = QString())
{
    return kObjects + '/' + uuid + (name.isEmpty() ? QString() : '/' + name);
}

bool Write(const QString &path, int size = 1)
{
    return TestSupport::WriteFile(path, QByteArray(size, 'x'));
}

QStringList Names(const QString &directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

mode_t ModeOf(const QString &path)
{
    struct stat status {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : mode_t(-1);
}

} // namespace

class FileHelpersTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVB_REQUIRE_THROWAWAY_ROOT(); }

    void init()
    {
        QDir::setCurrent("/");
        QDir("/home/data").removeRecursively();
        QVERIFY(QDir().mkpath(kObjects));
        QVERIFY(QDir().mkpath("/home/data/readonly") && Write("/home/data/plain"));
        QVERIFY(QFile::setPermissions("/home/data/readonly", kReadOnly));
    }

    void cleanup() { QFile::setPermissions("/home/data/readonly", kWritable); }

    void touchFile()
    {
        const QString marker = "/home/data/qvb-restore-in-progress";
        QVERIFY(TestSupport::WriteFile(marker, "contents stay"));
        QVERIFY(QFile::setPermissions(marker, QFile::ReadOwner));
        const utimbuf old{1000, 2000};
        QCOMPARE(utime(QFile::encodeName(marker).constData(), &old), 0);
        const time_t before = time(nullptr);
        QVERIFY(TouchFile(marker));
        QCOMPARE(TestSupport::ReadFile(marker), QByteArray("contents stay"));
        QVERIFY(QFileInfo(marker).lastModified().toSecsSinceEpoch() >= before);
        QCOMPARE(ModeOf(marker), mode_t(0400));

        QVERIFY(QFile::remove(marker));
        QVERIFY(TouchFile(marker));
        QCOMPARE(QFileInfo(marker).size(), 0);
        QCOMPARE(ModeOf(marker), mode_t(0)); // created without permissions
    }

    void touchFileFailures_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("result");
        QTest::newRow("missing directory") << "/home/data/missing/marker" << false;
        QTest::newRow("read-only directory") << "/home/data/readonly/marker" << false;
        QTest::newRow("empty path") << "" << false;
        // Errors other than a missing file count as success without creating anything.
        QTest::newRow("file used as directory") << "/home/data/plain/marker" << true;
        QTest::newRow("name too long") << "/home/data/" + QString(300, 'n') << true;
    }

    void touchFileFailures()
    {
        QFETCH(QString, path);
        QFETCH(bool, result);
        QCOMPARE(TouchFile(path), result);
        QVERIFY(!QFileInfo::exists(path));
    }

    // A tree with files of known sizes, hidden entries, a pipe and a link to a file elsewhere.
    void sizesCollectionAndRemoval()
    {
        QTemporaryDir root, outside;
        const QString tree = root.filePath("tree"), target = outside.filePath("target");
        QVERIFY(Write(tree + "/a", 10) && Write(tree + "/sub/b", 20) && Write(tree + "/sub/deeper/c", 30));
        QVERIFY(Write(tree + "/.hidden", 1000) && Write(tree + "/sub/.hidden dir/d", 2000));
        QVERIFY(QDir().mkpath(tree + "/empty") && Write(target, 400) && QFile::link(target, tree + "/link"));
        QCOMPARE(mkfifo(QFile::encodeName(tree + "/pipe").constData(), 0644), 0);

        // a, b, c and the linked target; hidden entries and the pipe are not listed.
        QCOMPARE(DirectorySize(tree, false), quint64(460));
        quint64 directories = 0;
        for (const char *d : {"", "/sub", "/sub/deeper", "/empty"})
            directories += quint64(QFileInfo(tree + d).size());
        QCOMPARE(DirectorySize(tree, true), 460 + directories);
        QCOMPARE(DirectorySize(tree + "/empty", false), quint64(0));
        QCOMPARE(DirectorySize(tree + "/missing", true), quint64(0));
        QCOMPARE(DirectorySize(tree + "/a", true), quint64(10));

        QStringList files{"kept"};
        QCOMPARE(CollectFiles(tree, files), quint64(460));
        QStringList expected;
        for (const QString &f : {tree + "/a", tree + "/sub/b", tree + "/sub/deeper/c", target})
            expected << QFileInfo(f).canonicalFilePath();
        QCOMPARE(files.takeFirst(), QString("kept"));
        files.sort();
        expected.sort();
        QCOMPARE(files, expected);
        files.clear();
        const QStringList paths{tree + "/sub/deeper/c", tree + "/missing", tree + "/a"};
        QCOMPARE(CollectFilesOfList(paths, files), quint64(40));
        QCOMPARE(files, QStringList({QFileInfo(tree + "/sub/deeper/c").canonicalFilePath(),
                                     QFileInfo(tree + "/a").canonicalFilePath()}));

        RemoveRecursively(QFileInfo(tree));
        // Whatever was listed is gone; the hidden entries and the pipe keep their directories.
        QCOMPARE(Names(tree), QStringList({".hidden", "pipe", "sub"}));
        QCOMPARE(Names(tree + "/sub"), QStringList({".hidden dir"}));
        QVERIFY(QFileInfo::exists(target)); // the link went, not what it points to
        RemoveRecursively(QFileInfo(tree + "/.hidden"));
        QCOMPARE(Names(tree), QStringList({"pipe", "sub"}));
    }

    void makePath_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("result");
        QTest::addColumn<bool>("isDirectory");
        QTest::newRow("existing file") << "/home/data/plain" << 0 << false;
        QTest::newRow("new nested") << "/home/data/a/b/c" << 0 << true;
        QTest::newRow("relative") << "rel/x/y" << 0 << true;
        QTest::newRow("under a file") << "/home/data/plain/x/y" << -1 << false;
        QTest::newRow("in read-only directory") << "/home/data/readonly/x" << -1 << false;
        QTest::newRow("empty") << "" << -1 << false;
    }

    void makePath()
    {
        QFETCH(QString, path);
        QFETCH(int, result);
        QFETCH(bool, isDirectory);
        QVERIFY(QDir::setCurrent("/home/data"));
        const mode_t oldMask = umask(0);
        const int made = MakePath(path.toStdString());
        umask(oldMask);
        QCOMPARE(made, result);
        QCOMPARE(QFileInfo(QDir("/home/data").absoluteFilePath(path)).isDir() && !path.isEmpty(), isDirectory);
        if (path.contains("/a/"))
            QCOMPARE(ModeOf("/home/data/a/b"), mode_t(0775));
    }

    void moveAndCopy()
    {
        QTemporaryDir temp;
        const QString source = temp.filePath("field map; v2 (final).bin");
        const QString moved = temp.filePath("moved 'name'.bin");
        QVERIFY(TestSupport::WriteFile(source, "map data"));
        QVERIFY(CopyFile(source, temp.filePath("copy \"of\" it")));
        QCOMPARE(TestSupport::ReadFile(temp.filePath("copy \"of\" it")), QByteArray("map data"));
        QVERIFY(MoveFile(source, moved));
        QCOMPARE(TestSupport::ReadFile(moved), QByteArray("map data"));
        QVERIFY(!QFileInfo::exists(source));
        QVERIFY(Write(temp.filePath("dir/inner")));
        QVERIFY(MoveFile(temp.filePath("dir"), temp.filePath("dir2"))); // a directory moves whole
        QVERIFY(QFileInfo::exists(temp.filePath("dir2/inner")));

        // The exit code decides: a missing source, "cp" of a directory, a locked target.
        QVERIFY(!MoveFile(temp.filePath("missing"), temp.filePath("x")));
        QVERIFY(!CopyFile(temp.filePath("dir2"), temp.filePath("dir copy")));
        QVERIFY(!MoveFile(moved, "/home/data/readonly/file"));
        QVERIFY(QFileInfo::exists(moved) && !QFileInfo::exists(temp.filePath("dir copy")));

        // When "mv" or "cp" cannot be started the exit code reads 0: success, nothing done.
        QTemporaryDir emptyBin;
        const QByteArray oldPath = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(emptyBin.path()));
        const bool movedAnyway = MoveFile(moved, temp.filePath("new"));
        const bool copiedAnyway = CopyFile(moved, temp.filePath("new"));
        qputenv("PATH", oldPath);
        QVERIFY(movedAnyway && copiedAnyway);
        QVERIFY(QFileInfo::exists(moved) && !QFileInfo::exists(temp.filePath("new")));
    }

    void cleanedNames_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("sanitized");
        QTest::addColumn<QString>("escaped");
        QTest::newRow("example") << "it's (a b)" << "it's (a b)" << "it\\'s\\ \\(a\\ b\\)";
        QTest::newRow("mixed") << "a:b/c?d" << "a_b_c_d" << "a\\:b/c\\?d";
        QTest::newRow("all nine") << "/\\:*?\"<>|" << "_________" << "/\\\\\\:\\*\\?\\\"\\<\\>\\|";
        QTest::newRow("no trimming") << "  a;b'c&d$e[f] . " << "  a;b'c&d$e[f] . "
                                     << "\\ \\ a\\;b\\'c\\&d\\$e\\[f\\]\\ .\\ ";
        QTest::newRow("adjacent, backslash once") << "??\\" << "___" << "\\?\\?\\\\";
        QTest::newRow("line break, plain") << "a\nb+=%@^-_1.txt" << "a\nb+=%@^-_1.txt" << "a\nb+=%@^-_1.txt";
        QTest::newRow("non-ASCII") << QString::fromUtf8("Süd/Nord") << QString::fromUtf8("Süd_Nord")
                                   << QString::fromUtf8("Süd/Nord");
        const QString specials = QString::fromLatin1("?*[]!<>'\"~`#$&(){};\\|,: \t");
        QString all;
        for (const QChar c : specials)
            all += '\\' + QString(c);
        QTest::newRow("every special") << specials << "__[]!__'_~`#$&(){};__,_ \t" << all;
    }

    void cleanedNames()
    {
        QFETCH(QString, text);
        QFETCH(QString, sanitized);
        QFETCH(QString, escaped);
        QCOMPARE(SanitizeFileName(text), sanitized);
        QCOMPARE(ShellEscape(text), escaped);
    }

    void shellEscapedNameIsOneWord()
    {
        QTemporaryDir temp;
        QVERIFY(QDir::setCurrent(temp.path()));
        for (const QString &name : {QString("$(echo no) `echo no` ${HOME} * ? [ab] > out < in | cat & ;"),
                                    QString("\"double\" 'single' !event ~user #comment\ttab"),
                                    QString::fromUtf8("Feld Süd, Mais: 2024")}) {
            QByteArray output;
            QCOMPARE(TestSupport::Run("/bin/sh", {"-c", "printf '%s|' " + ShellEscape(name)}, &output), 0);
            QCOMPARE(QString::fromUtf8(output), name + '|');
        }
        QCOMPARE(Names(temp.path()), QStringList()); // nothing redirected or run
    }

    void guidPattern_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("matches");
        QTest::newRow("generated") << QString::fromStdString(Guid().Generate().ToString()) << true;
        QTest::newRow("upper case") << QString(kFirst).toUpper() << false;
        QTest::newRow("no braces") << QString(kFirst).mid(1, 36) << false;
        QTest::newRow("round brackets") << "(00112233-4455-6677-8899-aabbccddeeff)" << false;
        QTest::newRow("short group") << "{0011223-4455-6677-8899-aabbccddeeff}" << false;
    }

    void guidPattern()
    {
        QFETCH(QString, text);
        QFETCH(bool, matches);
        QCOMPARE(QRegExp(GuidPattern()).exactMatch(text), matches);
    }

    // ---- per-object directories ----

    void objectDirectoryPaths()
    {
        const Guid first = MakeGuid(kFirst);
        const QString doubled = "/home/data/objects//" + QString(kFirst) + '/';
        QCOMPARE(ObjectFilePath(first, "data.bin", false), doubled + "data.bin");
        QVERIFY(!QFileInfo::exists(ObjectPath(kFirst)));
        QCOMPARE(ObjectDirectory(first, true), doubled);
        QVERIFY(Write(ObjectPath(kFirst, "data.bin"), 5));
        CreateObjectDirectory(first); // leaves what is there
        QCOMPARE(QFileInfo(ObjectPath(kFirst, "data.bin")).size(), 5);
        QVERIFY(QDir(kObjects).removeRecursively());
        CreateObjectDirectory(first); // makes the parents too
        QVERIFY(QFileInfo(ObjectPath(kFirst)).isDir());

        QVERIFY(Write(ObjectPath(kFirst, "a")) && Write(ObjectPath(kFirst, "b")));
        QVERIFY(RemoveObjectFile(first, "a"));
        QVERIFY(!RemoveObjectFile(first, "a"));
        QCOMPARE(Names(ObjectPath(kFirst)), QStringList({"b"}));
        QVERIFY(RemoveObjectFile(first, "b"));
        QVERIFY(!QFileInfo::exists(ObjectPath(kFirst))); // emptied: gone too
        CreateObjectDirectory(first);
        QVERIFY(!RemoveObjectFile(first, "none")); // a missing file still lets it go
        QVERIFY(!QFileInfo::exists(ObjectPath(kFirst)));
    }

    void removeFileAndObjectDirectory_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("removePath");
        QTest::addColumn<bool>("result");
        QTest::addColumn<bool>("directoryGone");
        const QString last = ObjectPath(kFirst, "last"), uuid = kFirst;
        QTest::newRow("single slash") << last << last << true << true;
        // The doubled-slash form ObjectDirectory gives does not match: its directory stays.
        QTest::newRow("doubled slash") << last << "/home/data/objects//" + uuid + "/last" << true << false;
        QTest::newRow("relative") << last << "home/data/objects/" + uuid + "/last" << true << false;
        QTest::newRow("the form further in") << "/home/data/copy" + last << "/home/data/copy" + last << true << false;
        QTest::newRow("missing file") << last << ObjectPath(kFirst, "none") << false << false;
    }

    void removeFileAndObjectDirectory()
    {
        QFETCH(QString, file);
        QFETCH(QString, removePath);
        QFETCH(bool, result);
        QFETCH(bool, directoryGone);
        QVERIFY(QDir().mkpath(ObjectPath(kFirst)) && Write(file));
        QCOMPARE(RemoveFileAndObjectDirectory(removePath), result);
        QCOMPARE(QFileInfo::exists(file), !result);
        QCOMPARE(QFileInfo::exists(ObjectPath(kFirst)), !directoryGone);
    }

    void renameObjectDirectory()
    {
        const Guid first = MakeGuid(kFirst), second = MakeGuid(kSecond);
        QVERIFY(Write(ObjectPath(kFirst, "sub/data"), 7));
        RenameObjectDirectory(first, second);
        QCOMPARE(Names(kObjects), QStringList({kSecond}));
        QCOMPARE(QFileInfo(ObjectPath(kSecond, "sub/data")).size(), 7);
        // A non-empty directory in the way stays, and so does the source.
        QVERIFY(Write(ObjectPath(kFirst, "other")));
        RenameObjectDirectory(first, second);
        QCOMPARE(Names(ObjectPath(kFirst)), QStringList({"other"}));
        QCOMPARE(Names(ObjectPath(kSecond)), QStringList({"sub"}));
    }

    void mergeObjectDirectory()
    {
        const Guid from = MakeGuid(kFirst), to = MakeGuid(kSecond);
        MergeObjectDirectory(from, to); // no source: nothing, not even the target
        QCOMPARE(Names(kObjects), QStringList());

        for (const char *path : {"only in source/data", "in both/source data", ".hidden dir/data", "plain file"})
            QVERIFY(Write(ObjectPath(kFirst, path)));
        QVERIFY(Write(ObjectPath(kSecond, "in both/target data")) && Write(ObjectPath(kSecond, "linked/x")));
        QVERIFY(QFile::link(ObjectPath(kSecond, "linked"), ObjectPath(kFirst, "linked")));
        MergeObjectDirectory(from, to);
        // Moved: the sub-directory the target lacked. Removed: the clashing link (a file).
        // Kept in the source: the clashing sub-directory, the hidden one, the plain file
        // and the source directory itself.
        QCOMPARE(Names(ObjectPath(kSecond)), QStringList({"in both", "linked", "only in source"}));
        QCOMPARE(Names(ObjectPath(kSecond, "in both")), QStringList({"target data"}));
        QVERIFY(QFileInfo::exists(ObjectPath(kSecond, "only in source/data")));
        QCOMPARE(Names(ObjectPath(kFirst)), QStringList({".hidden dir", "in both", "plain file"}));

        // Into a missing target: created; the emptied source still stays.
        QVERIFY(QDir(kObjects).removeRecursively() && Write(ObjectPath(kFirst, "last/data")));
        MergeObjectDirectory(from, to);
        QVERIFY(QFileInfo::exists(ObjectPath(kSecond, "last/data")));
        QCOMPARE(Names(ObjectPath(kFirst)), QStringList());
        QVERIFY(QFileInfo(ObjectPath(kFirst)).isDir());
    }

    void objectImagePath_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("chosen");
        QTest::newRow("png preferred") << QStringList({"image.jpg", "image.png"}) << "image.png";
        QTest::newRow("upper-case name only") << QStringList({"IMAGE.PNG"}) << "IMAGE.PNG";
        QTest::newRow("upper-case suffix loses") << QStringList({"Image.PNG", "image.png"}) << "image.png";
        QTest::newRow("name order ignores case") << QStringList({"IMAGE.JPG", "image.bmp"}) << "image.bmp";
        QTest::newRow("complete suffix png") << QStringList({"image.a.png", "image.png"}) << "image.png";
        QTest::newRow("other names ignored") << QStringList({"images.png", "my image.png", "image.jpg"})
                                             << "image.jpg";
        // Each of these would come first by name if it were not filtered out.
        QTest::newRow("links, read-only, unreadable, directories ignored")
            << QStringList({"image.jpg", "link:image.a", "readonly:image.b", "unreadable:image.c",
                            "dir:image.d"})
            << "image.jpg";
    }

    void objectImagePath()
    {
        QFETCH(QStringList, files);
        QFETCH(QString, chosen);
        QVERIFY(Write(ObjectPath(kFirst, "elsewhere")));
        for (const QString &entry : files) {
            const QString kind = entry.section(':', -2, -2), path = ObjectPath(kFirst, entry.section(':', -1));
            if (kind == "link")
                QVERIFY(QFile::link(ObjectPath(kFirst, "elsewhere"), path));
            else if (kind == "dir")
                QVERIFY(QDir().mkpath(path));
            else
                QVERIFY(Write(path));
            if (kind == "readonly" || kind == "unreadable")
                QVERIFY(QFile::setPermissions(path, kind == "readonly" ? QFile::ReadOwner : QFile::WriteOwner));
        }
        // A canonical path: single slashes, no links.
        QCOMPARE(ObjectImagePath(MakeGuid(kFirst)), ObjectPath(kFirst, chosen));
    }

    void objectImagePathWithoutImage()
    {
        QCOMPARE(ObjectImagePath(MakeGuid(kFirst)), "/home/data/objects//" + QString(kFirst) + "/image.png");
        QVERIFY(QFileInfo(ObjectPath(kFirst)).isDir()); // the directory is made, not the image
        QCOMPARE(Names(ObjectPath(kFirst)), QStringList());
    }

    void listObjectEntries()
    {
        for (const char *name : {"b2", "a2", ".hidden"})
            QVERIFY(Write(ObjectPath(kSecond, name)));
        QVERIFY(Write(ObjectPath(kFirst, "z1")) && Write(ObjectPath(kFirst, "sub/inner")));
        QVERIFY(Write(kObjects + "/stray"));
        const auto names = [](const QFileInfoList &entries) {
            QStringList result;
            for (const QFileInfo &entry : entries)
                result << entry.fileName();
            return result;
        };
        QCOMPARE(names(ListObjectEntries(QDir::Files)), QStringList({"z1", "a2", "b2"}));
        QCOMPARE(names(ListObjectEntries(QDir::Files | QDir::Hidden)),
                 QStringList({"z1", ".hidden", "a2", "b2"}));
        QCOMPARE(names(ListObjectEntries(QDir::Dirs | QDir::NoDotAndDotDot)), QStringList({"sub"}));
    }
};

QTEST_GUILESS_MAIN(FileHelpersTest)
#include "tst_filehelpers.moc"
