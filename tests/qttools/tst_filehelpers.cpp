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

const QString Objects = QStringLiteral("/home/data/objects");
const char FirstText[] = "{00112233-4455-6677-8899-aabbccddeeff}";
const char SecondText[] = "{ffeeddcc-bbaa-9988-7766-554433221100}";

Guid MakeGuid(const char *text)
{
    Guid guid;
    guid.FromString(text);
    return guid;
}

// Where an object's directory really is (single slash).
QString ObjectPath(const char *text, const QString &name = QString())
{
    return Objects + QLatin1Char('/') + QLatin1String(text) + (name.isEmpty() ? QString() : QLatin1Char('/') + name);
}

bool Write(const QString &path, int size)
{
    return TestSupport::WriteFile(path, QByteArray(size, 'x'));
}

QStringList Names(const QString &directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                     QDir::Name);
}

mode_t ModeOf(const QString &path)
{
    struct stat status {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return mode_t(-1);
    return status.st_mode & 07777;
}

// A tree with files of known sizes, a hidden file, a pipe, and a link to a file elsewhere.
struct Tree
{
    QTemporaryDir root;
    QTemporaryDir outside;
    QString path;
    bool Make()
    {
        path = root.filePath(QStringLiteral("tree"));
        return Write(path + QStringLiteral("/a"), 10) && Write(path + QStringLiteral("/sub/b"), 20)
               && Write(path + QStringLiteral("/sub/deeper/c"), 30) && Write(path + QStringLiteral("/.hidden"), 1000)
               && Write(path + QStringLiteral("/sub/.hidden dir/d"), 2000) && QDir().mkpath(path + QStringLiteral("/empty"))
               && mkfifo(QFile::encodeName(path + QStringLiteral("/pipe")).constData(), 0644) == 0
               && Write(outside.filePath(QStringLiteral("target")), 400)
               && QFile::link(outside.filePath(QStringLiteral("target")), path + QStringLiteral("/link"));
    }
};

} // namespace

class FileHelpersTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();

    void touchRefreshesExistingFile();
    void touchCreatesMissingFileWithoutPermissions();
    void touchFailsOnlyWhenCreationFails_data();
    void touchFailsOnlyWhenCreationFails();

    void directorySizeOfPlainPaths();
    void directorySizeOfTree();
    void collectFiles();
    void removeRecursivelyKeepsHiddenEntries();

    void makePath_data();
    void makePath();

    void moveAndCopy();
    void moveAndCopyReportExitCode();
    void moveWithoutProgramReportsSuccess();

    void sanitizeFileName_data();
    void sanitizeFileName();
    void shellEscape_data();
    void shellEscape();
    void shellEscapedNameIsOneWord_data();
    void shellEscapedNameIsOneWord();
    void guidPattern_data();
    void guidPattern();

    void objectDirectoryPaths();
    void removeObjectFile();
    void removeFileAndObjectDirectory_data();
    void removeFileAndObjectDirectory();
    void renameObjectDirectory();
    void mergeObjectDirectory();
    void mergeIntoMissingAndFromMissing();
    void objectImagePath_data();
    void objectImagePath();
    void objectImagePathWithoutImage();
    void listObjectEntries();
};

void FileHelpersTest::initTestCase()
{
    QVB_REQUIRE_THROWAWAY_ROOT();
    // The quirky object paths only make sense if the identifiers print as expected.
    QCOMPARE(QString::fromStdString(MakeGuid(FirstText).ToString()), QString::fromLatin1(FirstText));
}

void FileHelpersTest::init()
{
    QDir(QStringLiteral("/home/data")).removeRecursively();
    QVERIFY(QDir().mkpath(Objects));
}

void FileHelpersTest::touchRefreshesExistingFile()
{
    const QString marker = QStringLiteral("/home/data/qvb-restore-in-progress");
    QVERIFY(TestSupport::WriteFile(marker, "contents stay"));
    QVERIFY(QFile::setPermissions(marker, QFile::ReadOwner));
    const utimbuf old{1000, 2000};
    QCOMPARE(utime(QFile::encodeName(marker).constData(), &old), 0);

    const time_t before = time(nullptr);
    QVERIFY(TouchFile(marker));
    QCOMPARE(TestSupport::ReadFile(marker), QByteArray("contents stay"));
    QVERIFY(QFileInfo(marker).lastModified().toSecsSinceEpoch() >= before);
    QCOMPARE(ModeOf(marker), mode_t(0400));
}

void FileHelpersTest::touchCreatesMissingFileWithoutPermissions()
{
    const QString marker = QStringLiteral("/home/data/qvb-restore-in-progress");
    QVERIFY(TouchFile(marker));
    QVERIFY(QFileInfo(marker).isFile());
    QCOMPARE(QFileInfo(marker).size(), 0);
    QCOMPARE(ModeOf(marker), mode_t(0));
    // Once there, touching it again only refreshes it.
    QVERIFY(TouchFile(marker));
    QCOMPARE(ModeOf(marker), mode_t(0));
}

void FileHelpersTest::touchFailsOnlyWhenCreationFails_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("result");
    QTest::addColumn<bool>("exists");

    QTest::newRow("missing directory") << "/home/data/missing/marker" << false << false;
    QTest::newRow("read-only directory") << "/home/data/readonly/marker" << false << false;
    QTest::newRow("empty path") << "" << false << false;
    // Errors other than a missing file count as success without creating anything.
    QTest::newRow("file used as directory") << "/home/data/plain/marker" << true << false;
    QTest::newRow("name too long") << QStringLiteral("/home/data/") + QString(300, QLatin1Char('n')) << true << false;
}

void FileHelpersTest::touchFailsOnlyWhenCreationFails()
{
    QFETCH(QString, path);
    QFETCH(bool, result);
    QFETCH(bool, exists);
    QVERIFY(Write(QStringLiteral("/home/data/plain"), 1));
    QVERIFY(QDir().mkpath(QStringLiteral("/home/data/readonly")));
    QVERIFY(QFile::setPermissions(QStringLiteral("/home/data/readonly"), QFile::ReadOwner | QFile::ExeOwner));

    QCOMPARE(TouchFile(path), result);
    QCOMPARE(QFileInfo::exists(path), exists);
    QFile::setPermissions(QStringLiteral("/home/data/readonly"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void FileHelpersTest::directorySizeOfPlainPaths()
{
    QTemporaryDir temp;
    const QString empty = temp.filePath(QStringLiteral("empty"));
    QVERIFY(QDir().mkpath(empty));
    QCOMPARE(DirectorySize(empty, false), quint64(0));
    QCOMPARE(DirectorySize(empty, true), quint64(QFileInfo(empty).size()));
    QVERIFY(QFileInfo(empty).size() > 0);
    QCOMPARE(DirectorySize(temp.filePath(QStringLiteral("missing")), true), quint64(0));
    QVERIFY(Write(temp.filePath(QStringLiteral("file")), 1234));
    QCOMPARE(DirectorySize(temp.filePath(QStringLiteral("file")), true), quint64(1234));
}

void FileHelpersTest::directorySizeOfTree()
{
    Tree tree;
    QVERIFY(tree.Make());
    // a, b, c and the linked target; hidden entries and the pipe are not listed.
    QCOMPARE(DirectorySize(tree.path, false), quint64(10 + 20 + 30 + 400));
    quint64 directories = 0;
    for (const char *d : {"", "/sub", "/sub/deeper", "/empty"})
        directories += quint64(QFileInfo(tree.path + QLatin1String(d)).size());
    QCOMPARE(DirectorySize(tree.path, true), quint64(10 + 20 + 30 + 400) + directories);
}

void FileHelpersTest::collectFiles()
{
    Tree tree;
    QVERIFY(tree.Make());
    QStringList files{QStringLiteral("kept")};
    QCOMPARE(CollectFiles(tree.path, files), quint64(460));
    QStringList expected{QStringLiteral("kept")};
    for (const char *f : {"/a", "/sub/b", "/sub/deeper/c"})
        expected << QFileInfo(tree.path + QLatin1String(f)).canonicalFilePath();
    expected << QFileInfo(tree.outside.filePath(QStringLiteral("target"))).canonicalFilePath();
    QStringList sortedFiles = files.mid(1);
    sortedFiles.sort();
    QStringList sortedExpected = expected.mid(1);
    sortedExpected.sort();
    QCOMPARE(files.first(), QStringLiteral("kept"));
    QCOMPARE(sortedFiles, sortedExpected);

    // A missing path adds nothing; a list sums its paths and appends in order.
    files.clear();
    QCOMPARE(CollectFiles(tree.path + QStringLiteral("/missing"), files), quint64(0));
    QVERIFY(files.isEmpty());
    const QStringList paths{tree.path + QStringLiteral("/sub/deeper/c"), tree.path + QStringLiteral("/missing"),
                            tree.path + QStringLiteral("/a")};
    QCOMPARE(CollectFilesOfList(paths, files), quint64(40));
    QCOMPARE(files, QStringList({QFileInfo(paths[0]).canonicalFilePath(), QFileInfo(paths[2]).canonicalFilePath()}));
}

void FileHelpersTest::removeRecursivelyKeepsHiddenEntries()
{
    Tree tree;
    QVERIFY(tree.Make());
    RemoveRecursively(QFileInfo(tree.path));
    // Whatever was listed is gone; the hidden entries and the pipe keep their directories.
    QCOMPARE(Names(tree.path), QStringList({QStringLiteral(".hidden"), QStringLiteral("pipe"), QStringLiteral("sub")}));
    QCOMPARE(Names(tree.path + QStringLiteral("/sub")), QStringList({QStringLiteral(".hidden dir")}));
    // The link was removed, not what it points to.
    QVERIFY(QFileInfo::exists(tree.outside.filePath(QStringLiteral("target"))));

    QTemporaryDir plain;
    QVERIFY(Write(plain.filePath(QStringLiteral("t/x/y")), 1));
    QVERIFY(Write(plain.filePath(QStringLiteral("single")), 1));
    RemoveRecursively(QFileInfo(plain.filePath(QStringLiteral("t"))));
    RemoveRecursively(QFileInfo(plain.filePath(QStringLiteral("single"))));
    QCOMPARE(Names(plain.path()), QStringList());
}

void FileHelpersTest::makePath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("result");
    QTest::addColumn<bool>("isDirectory");

    QTest::newRow("existing directory") << "/home/data" << 0 << true;
    QTest::newRow("existing file") << "/home/data/file" << 0 << false;
    QTest::newRow("new nested") << "/home/data/a/b/c" << 0 << true;
    QTest::newRow("trailing slash") << "/home/data/d/e/" << 0 << true;
    QTest::newRow("relative") << "rel/x/y" << 0 << true;
    QTest::newRow("under a file") << "/home/data/file/x/y" << -1 << false;
    QTest::newRow("in read-only directory") << "/home/data/readonly/x" << -1 << false;
    QTest::newRow("empty") << "" << -1 << false;
}

void FileHelpersTest::makePath()
{
    QFETCH(QString, path);
    QFETCH(int, result);
    QFETCH(bool, isDirectory);
    QVERIFY(Write(QStringLiteral("/home/data/file"), 1));
    QVERIFY(QDir().mkpath(QStringLiteral("/home/data/readonly")));
    QVERIFY(QFile::setPermissions(QStringLiteral("/home/data/readonly"), QFile::ReadOwner | QFile::ExeOwner));
    QVERIFY(QDir::setCurrent(QStringLiteral("/home/data")));

    const mode_t oldMask = umask(0);
    const int made = MakePath(path.toStdString());
    umask(oldMask);
    QDir::setCurrent(QStringLiteral("/"));
    QFile::setPermissions(QStringLiteral("/home/data/readonly"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    QCOMPARE(made, result);
    if (!path.isEmpty())
        QCOMPARE(QFileInfo(QDir(QStringLiteral("/home/data")).absoluteFilePath(path)).isDir(), isDirectory);
    if (path.startsWith(QLatin1String("/home/data/a")))
        QCOMPARE(ModeOf(QStringLiteral("/home/data/a/b")), mode_t(0775));
}

void FileHelpersTest::moveAndCopy()
{
    QTemporaryDir temp;
    const QString source = temp.filePath(QStringLiteral("field map; v2 (final).bin"));
    const QString moved = temp.filePath(QStringLiteral("moved 'name'.bin"));
    const QString copied = temp.filePath(QStringLiteral("copy \"of\" it"));
    QVERIFY(TestSupport::WriteFile(source, "map data"));

    QVERIFY(CopyFile(source, copied));
    QCOMPARE(TestSupport::ReadFile(copied), QByteArray("map data"));
    QVERIFY(QFileInfo::exists(source));

    QVERIFY(MoveFile(source, moved));
    QVERIFY(!QFileInfo::exists(source));
    QCOMPARE(TestSupport::ReadFile(moved), QByteArray("map data"));

    // A directory moves whole.
    QVERIFY(Write(temp.filePath(QStringLiteral("dir/inner")), 3));
    QVERIFY(MoveFile(temp.filePath(QStringLiteral("dir")), temp.filePath(QStringLiteral("dir2"))));
    QVERIFY(QFileInfo::exists(temp.filePath(QStringLiteral("dir2/inner"))));
}

void FileHelpersTest::moveAndCopyReportExitCode()
{
    QTemporaryDir temp;
    QVERIFY(!MoveFile(temp.filePath(QStringLiteral("missing")), temp.filePath(QStringLiteral("x"))));
    QVERIFY(!CopyFile(temp.filePath(QStringLiteral("missing")), temp.filePath(QStringLiteral("x"))));
    QVERIFY(!QFileInfo::exists(temp.filePath(QStringLiteral("x"))));
    // "cp" without options does not copy directories.
    QVERIFY(Write(temp.filePath(QStringLiteral("dir/inner")), 3));
    QVERIFY(!CopyFile(temp.filePath(QStringLiteral("dir")), temp.filePath(QStringLiteral("dir copy"))));
    QVERIFY(!QFileInfo::exists(temp.filePath(QStringLiteral("dir copy"))));
    // Into a directory that cannot be written.
    QVERIFY(Write(temp.filePath(QStringLiteral("file")), 3));
    QVERIFY(QDir().mkpath(temp.filePath(QStringLiteral("locked"))));
    QVERIFY(QFile::setPermissions(temp.filePath(QStringLiteral("locked")), QFile::ReadOwner | QFile::ExeOwner));
    QVERIFY(!MoveFile(temp.filePath(QStringLiteral("file")), temp.filePath(QStringLiteral("locked/file"))));
    QVERIFY(QFileInfo::exists(temp.filePath(QStringLiteral("file"))));
    QFile::setPermissions(temp.filePath(QStringLiteral("locked")), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void FileHelpersTest::moveWithoutProgramReportsSuccess()
{
    // When "mv" or "cp" cannot be started the exit code reads 0, so the helpers report
    // success although nothing happened.
    QTemporaryDir temp;
    QTemporaryDir emptyBin;
    QVERIFY(Write(temp.filePath(QStringLiteral("file")), 3));
    const QByteArray oldPath = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(emptyBin.path()));
    const bool moved = MoveFile(temp.filePath(QStringLiteral("file")), temp.filePath(QStringLiteral("new")));
    const bool copied = CopyFile(temp.filePath(QStringLiteral("file")), temp.filePath(QStringLiteral("new")));
    qputenv("PATH", oldPath);
    QVERIFY(moved);
    QVERIFY(copied);
    QVERIFY(QFileInfo::exists(temp.filePath(QStringLiteral("file"))));
    QVERIFY(!QFileInfo::exists(temp.filePath(QStringLiteral("new"))));
}

void FileHelpersTest::sanitizeFileName_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("cleaned");
    QTest::newRow("mixed") << "a:b/c?d" << "a_b_c_d";
    QTest::newRow("all nine") << "/\\:*?\"<>|" << "_________";
    QTest::newRow("empty") << "" << "";
    QTest::newRow("blanks kept, no trimming") << "  field 1 . " << "  field 1 . ";
    QTest::newRow("other punctuation kept") << "a;b'c&d$e[f]" << "a;b'c&d$e[f]";
    QTest::newRow("non-ASCII kept") << QString::fromUtf8("Süd/Nord") << QString::fromUtf8("Süd_Nord");
    QTest::newRow("no length limit") << QString(300, QLatin1Char('?')) << QString(300, QLatin1Char('_'));
}

void FileHelpersTest::sanitizeFileName()
{
    QFETCH(QString, text);
    QFETCH(QString, cleaned);
    QCOMPARE(SanitizeFileName(text), cleaned);
}

void FileHelpersTest::shellEscape_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("escaped");
    QTest::newRow("example") << "it's (a b)" << "it\\'s\\ \\(a\\ b\\)";
    QTest::newRow("empty") << "" << "";
    QTest::newRow("plain") << "plain-name_1.txt+=%@^" << "plain-name_1.txt+=%@^";
    QTest::newRow("adjacent specials") << "??" << "\\?\\?";
    QTest::newRow("backslash once") << "a\\b" << "a\\\\b";
    QTest::newRow("tab") << "a\tb" << "a\\\tb";
    QTest::newRow("line break not escaped") << "a\nb" << "a\nb";
    const QString specials = QString::fromLatin1("?*[]!<>'\"~`#$&(){};\\|,: \t");
    QString all;
    for (const QChar c : specials)
        all += QLatin1Char('\\') + c;
    QTest::newRow("every special") << specials << all;
}

void FileHelpersTest::shellEscape()
{
    QFETCH(QString, text);
    QFETCH(QString, escaped);
    QCOMPARE(ShellEscape(text), escaped);
}

void FileHelpersTest::shellEscapedNameIsOneWord_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blanks and brackets") << "it's (a b)";
    QTest::newRow("command substitution") << "$(echo no) `echo no` ${HOME}";
    QTest::newRow("glob and redirection") << "* ? [ab] > out < in | cat & ;";
    QTest::newRow("quotes and history") << "\"double\" 'single' !event ~user #comment";
    QTest::newRow("non-ASCII") << QString::fromUtf8("Feld Süd, Mais: 2024");
}

void FileHelpersTest::shellEscapedNameIsOneWord()
{
    QFETCH(QString, name);
    QTemporaryDir temp;
    QVERIFY(QDir::setCurrent(temp.path()));
    QByteArray output;
    const int status = TestSupport::Run(QStringLiteral("/bin/sh"),
                                        {QStringLiteral("-c"), QStringLiteral("printf '%s|' ") + ShellEscape(name)}, &output);
    QDir::setCurrent(QStringLiteral("/"));
    QCOMPARE(status, 0);
    QCOMPARE(QString::fromUtf8(output), name + QLatin1Char('|'));
    QCOMPARE(Names(temp.path()), QStringList());
}

void FileHelpersTest::guidPattern_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("matches");
    QTest::newRow("braced lower case") << QString::fromLatin1(FirstText) << true;
    QTest::newRow("generated") << QString::fromStdString(Guid().Generate().ToString()) << true;
    QTest::newRow("upper case") << QString::fromLatin1(FirstText).toUpper() << false;
    QTest::newRow("no braces") << QString::fromLatin1(FirstText).mid(1, 36) << false;
    QTest::newRow("round brackets") << "(00112233-4455-6677-8899-aabbccddeeff)" << false;
    QTest::newRow("short group") << "{0011223-4455-6677-8899-aabbccddeeff}" << false;
}

void FileHelpersTest::guidPattern()
{
    QFETCH(QString, text);
    QFETCH(bool, matches);
    QCOMPARE(QRegExp(GuidPattern()).exactMatch(text), matches);
}

void FileHelpersTest::objectDirectoryPaths()
{
    const Guid first = MakeGuid(FirstText);
    const QString expected = QStringLiteral("/home/data/objects//") + QLatin1String(FirstText) + QLatin1Char('/');
    QCOMPARE(ObjectDirectory(first, false), expected);
    QVERIFY(!QFileInfo::exists(ObjectPath(FirstText)));
    QCOMPARE(ObjectFilePath(first, QStringLiteral("data.bin"), false), expected + QStringLiteral("data.bin"));
    QVERIFY(!QFileInfo::exists(ObjectPath(FirstText)));

    QCOMPARE(ObjectDirectory(first, true), expected);
    QVERIFY(QFileInfo(ObjectPath(FirstText)).isDir());
    // Creating again leaves what is there.
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("data.bin")), 5));
    CreateObjectDirectory(first);
    QCOMPARE(ObjectFilePath(first, QStringLiteral("data.bin"), true), expected + QStringLiteral("data.bin"));
    QCOMPARE(QFileInfo(ObjectPath(FirstText, QStringLiteral("data.bin"))).size(), 5);

    const Guid second = MakeGuid(SecondText);
    CreateObjectDirectory(second);
    QVERIFY(QFileInfo(ObjectPath(SecondText)).isDir());
    // Without the object store at all, creating makes the parents too.
    QVERIFY(QDir(Objects).removeRecursively());
    CreateObjectDirectory(second);
    QVERIFY(QFileInfo(ObjectPath(SecondText)).isDir());
}

void FileHelpersTest::removeObjectFile()
{
    const Guid first = MakeGuid(FirstText);
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("a")), 1));
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("b")), 1));
    QVERIFY(RemoveObjectFile(first, QStringLiteral("a")));
    QCOMPARE(Names(ObjectPath(FirstText)), QStringList({QStringLiteral("b")}));
    QVERIFY(!RemoveObjectFile(first, QStringLiteral("a")));
    QVERIFY(QFileInfo(ObjectPath(FirstText)).isDir());
    QVERIFY(RemoveObjectFile(first, QStringLiteral("b")));
    QVERIFY(!QFileInfo::exists(ObjectPath(FirstText)));
    // A missing file still lets an empty directory go.
    CreateObjectDirectory(first);
    QVERIFY(!RemoveObjectFile(first, QStringLiteral("none")));
    QVERIFY(!QFileInfo::exists(ObjectPath(FirstText)));
}

void FileHelpersTest::removeFileAndObjectDirectory_data()
{
    QTest::addColumn<QString>("removePath");
    QTest::addColumn<bool>("result");
    QTest::addColumn<bool>("fileGone");
    QTest::addColumn<bool>("directoryGone");

    const QString single = ObjectPath(FirstText, QStringLiteral("last"));
    QTest::newRow("last file, single slash") << single << true << true << true;
    QTest::newRow("last file, doubled slash")
        << QStringLiteral("/home/data/objects//") + QLatin1String(FirstText) + QStringLiteral("/last") << true << true
        << false;
    QTest::newRow("missing file") << ObjectPath(FirstText, QStringLiteral("none")) << false << false << false;
    QTest::newRow("relative path") << QStringLiteral("home/data/objects/") + QLatin1String(FirstText) + QStringLiteral("/last")
                                   << true << true << false;
}

void FileHelpersTest::removeFileAndObjectDirectory()
{
    QFETCH(QString, removePath);
    QFETCH(bool, result);
    QFETCH(bool, fileGone);
    QFETCH(bool, directoryGone);
    const QString file = ObjectPath(FirstText, QStringLiteral("last"));
    QVERIFY(Write(file, 1));
    QVERIFY(QDir::setCurrent(QStringLiteral("/")));
    QCOMPARE(RemoveFileAndObjectDirectory(removePath), result);
    QCOMPARE(!QFileInfo::exists(file), fileGone);
    QCOMPARE(!QFileInfo::exists(ObjectPath(FirstText)), directoryGone);
}

void FileHelpersTest::renameObjectDirectory()
{
    const Guid first = MakeGuid(FirstText);
    const Guid second = MakeGuid(SecondText);
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("sub/data")), 7));
    RenameObjectDirectory(first, second);
    QVERIFY(!QFileInfo::exists(ObjectPath(FirstText)));
    QCOMPARE(QFileInfo(ObjectPath(SecondText, QStringLiteral("sub/data"))).size(), 7);

    // Nothing to rename: nothing happens.
    RenameObjectDirectory(first, second);
    QCOMPARE(Names(Objects), QStringList({QLatin1String(SecondText)}));

    // A non-empty directory in the way stays, and so does the source.
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("other")), 1));
    RenameObjectDirectory(first, second);
    QCOMPARE(Names(ObjectPath(FirstText)), QStringList({QStringLiteral("other")}));
    QCOMPARE(Names(ObjectPath(SecondText)), QStringList({QStringLiteral("sub")}));
}

void FileHelpersTest::mergeObjectDirectory()
{
    const Guid from = MakeGuid(FirstText);
    const Guid to = MakeGuid(SecondText);
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("only in source/data")), 1));
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("in both/source data")), 2));
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral(".hidden dir/data")), 3));
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("plain file")), 4));
    QVERIFY(Write(ObjectPath(SecondText, QStringLiteral("in both/target data")), 5));
    QVERIFY(Write(ObjectPath(SecondText, QStringLiteral("linked/x")), 6));
    QVERIFY(QFile::link(ObjectPath(SecondText, QStringLiteral("linked")), ObjectPath(FirstText, QStringLiteral("linked"))));

    MergeObjectDirectory(from, to);

    // Moved: the sub-directory the target lacked. Removed: the clashing link (a file).
    // Kept in the source: the clashing sub-directory, the hidden one, the plain file and
    // the source directory itself.
    QCOMPARE(Names(ObjectPath(SecondText)),
             QStringList({QStringLiteral("in both"), QStringLiteral("linked"), QStringLiteral("only in source")}));
    QCOMPARE(QFileInfo(ObjectPath(SecondText, QStringLiteral("only in source/data"))).size(), 1);
    QCOMPARE(Names(ObjectPath(SecondText, QStringLiteral("in both"))), QStringList({QStringLiteral("target data")}));
    QCOMPARE(Names(ObjectPath(FirstText)),
             QStringList({QStringLiteral(".hidden dir"), QStringLiteral("in both"), QStringLiteral("plain file")}));
    QCOMPARE(Names(ObjectPath(FirstText, QStringLiteral("in both"))), QStringList({QStringLiteral("source data")}));

    // An emptied source directory is still left in place.
    QVERIFY(QDir(ObjectPath(FirstText)).removeRecursively());
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("last/data")), 1));
    MergeObjectDirectory(from, to);
    QVERIFY(QFileInfo(ObjectPath(FirstText)).isDir());
    QCOMPARE(Names(ObjectPath(FirstText)), QStringList());
    QVERIFY(QFileInfo::exists(ObjectPath(SecondText, QStringLiteral("last/data"))));
}

void FileHelpersTest::mergeIntoMissingAndFromMissing()
{
    const Guid from = MakeGuid(FirstText);
    const Guid to = MakeGuid(SecondText);
    MergeObjectDirectory(from, to);
    QCOMPARE(Names(Objects), QStringList());

    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("sub/data")), 1));
    MergeObjectDirectory(from, to);
    QVERIFY(QFileInfo::exists(ObjectPath(SecondText, QStringLiteral("sub/data"))));
    QCOMPARE(Names(ObjectPath(FirstText)), QStringList());
}

void FileHelpersTest::objectImagePath_data()
{
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QString>("chosen");

    QTest::newRow("png preferred") << QStringList({"image.jpg", "image.png"}) << "image.png";
    QTest::newRow("upper-case name only") << QStringList({"IMAGE.PNG"}) << "IMAGE.PNG";
    QTest::newRow("upper-case suffix loses to png") << QStringList({"Image.PNG", "image.png"}) << "image.png";
    QTest::newRow("first by name without png") << QStringList({"image.jpg", "image.gif"}) << "image.gif";
    QTest::newRow("name order ignores case") << QStringList({"IMAGE.JPG", "image.bmp"}) << "image.bmp";
    QTest::newRow("complete suffix must be png") << QStringList({"image.a.png", "image.png"}) << "image.png";
    QTest::newRow("double suffix as first entry") << QStringList({"image.a.png", "image.b"}) << "image.a.png";
    QTest::newRow("other names ignored") << QStringList({"images.png", "my image.png", "image.jpg"}) << "image.jpg";
    QTest::newRow("links ignored") << QStringList({"image.jpg", "link:image.png"}) << "image.jpg";
    QTest::newRow("read-only ignored") << QStringList({"image.jpg", "readonly:image.png"}) << "image.jpg";
    QTest::newRow("unreadable ignored") << QStringList({"image.jpg", "unreadable:image.png"}) << "image.jpg";
    QTest::newRow("directories ignored") << QStringList({"image.jpg", "dir:image.png"}) << "image.jpg";
}

void FileHelpersTest::objectImagePath()
{
    QFETCH(QStringList, files);
    QFETCH(QString, chosen);
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("elsewhere")), 1));
    for (const QString &entry : files) {
        const QString kind = entry.contains(QLatin1Char(':')) ? entry.section(QLatin1Char(':'), 0, 0) : QString();
        const QString path = ObjectPath(FirstText, entry.section(QLatin1Char(':'), -1));
        if (kind == QLatin1String("link")) {
            QVERIFY(QFile::link(ObjectPath(FirstText, QStringLiteral("elsewhere")), path));
        } else if (kind == QLatin1String("dir")) {
            QVERIFY(QDir().mkpath(path));
        } else {
            QVERIFY(Write(path, 1));
            if (kind == QLatin1String("readonly"))
                QVERIFY(QFile::setPermissions(path, QFile::ReadOwner));
            else if (kind == QLatin1String("unreadable"))
                QVERIFY(QFile::setPermissions(path, QFile::WriteOwner));
        }
    }
    // A canonical path: single slashes, no links.
    QCOMPARE(ObjectImagePath(MakeGuid(FirstText)), ObjectPath(FirstText, chosen));
}

void FileHelpersTest::objectImagePathWithoutImage()
{
    const QString expected = QStringLiteral("/home/data/objects//") + QLatin1String(FirstText) + QStringLiteral("/image.png");
    QCOMPARE(ObjectImagePath(MakeGuid(FirstText)), expected);
    // The object directory is made, the image is not.
    QVERIFY(QFileInfo(ObjectPath(FirstText)).isDir());
    QVERIFY(!QFileInfo::exists(expected));
}

void FileHelpersTest::listObjectEntries()
{
    QCOMPARE(ListObjectEntries(QDir::Files), QFileInfoList());
    QVERIFY(Write(ObjectPath(SecondText, QStringLiteral("b2")), 1));
    QVERIFY(Write(ObjectPath(SecondText, QStringLiteral("a2")), 1));
    QVERIFY(Write(ObjectPath(SecondText, QStringLiteral(".hidden")), 1));
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("z1")), 1));
    QVERIFY(Write(ObjectPath(FirstText, QStringLiteral("sub/inner")), 1));
    QVERIFY(Write(Objects + QStringLiteral("/stray file"), 1));

    auto names = [](const QFileInfoList &entries) {
        QStringList result;
        for (const QFileInfo &entry : entries)
            result << entry.fileName();
        return result;
    };
    QCOMPARE(names(ListObjectEntries(QDir::Files)), QStringList({"z1", "a2", "b2"}));
    QCOMPARE(names(ListObjectEntries(QDir::Files | QDir::Hidden)), QStringList({"z1", ".hidden", "a2", "b2"}));
    QCOMPARE(names(ListObjectEntries(QDir::Dirs | QDir::NoDotAndDotDot)), QStringList({"sub"}));
    QCOMPARE(ListObjectEntries(QDir::Files).first().absoluteFilePath(), ObjectPath(FirstText, QStringLiteral("z1")));
}

QTEST_GUILESS_MAIN(FileHelpersTest)
#include "tst_filehelpers.moc"
