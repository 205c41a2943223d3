// File-system helpers in a throwaway root, on the fixed "/home/data/objects/", with the real
// "mv" and "cp". Without CAP_DAC_OVERRIDE, unreadable and unwritable files behave as on a display.
#include "FileHelpers.h"
#include "Guid.h"
#include "TestSupport.h"

#include <QRegExp>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <utime.h>

namespace {

const QString kObjects = QStringLiteral("/home/data/objects");
const char kFirst[] = "{00112233-4455-6677-8899-aabbccddeeff}";
const char kSecond[] = "{ffeeddcc-bbaa-9988-7766-554433221100}";

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

} // namespace

class FileHelpersTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVB_REQUIRE_THROWAWAY_ROOT(); }

    void init() { QDir("/home/data").removeRecursively(); }

    void touchFile()
    {
        const QString plain = "/home/data/plain", created = "/home/data/new";
        QVERIFY(Write(plain) && QFile::setPermissions(plain, QFile::ReadOwner));
        const utimbuf old{1000, 2000};
        QCOMPARE(utime(QFile::encodeName(plain).constData(), &old), 0);
        QVERIFY(TouchFile(plain) && TouchFile(created));
        QVERIFY(QFileInfo(plain).lastModified().toSecsSinceEpoch() > 2000);
        QCOMPARE(TestSupport::ReadFile(plain), QByteArray("x")); // only the times change
        QCOMPARE(QFile::permissions(plain), QFile::ReadOwner | QFile::ReadUser);
        QCOMPARE(QFile::permissions(created), QFile::Permissions()); // made without any
        QVERIFY(!TouchFile("/home/data/missing/marker"));
        // Errors other than a missing file count as success without creating anything.
        QVERIFY(TouchFile("/home/data/plain/marker"));
        QCOMPARE(TestSupport::Entries("/home/data"), QStringList({"new", "plain"}));
    }

    // One tree with files of known sizes, hidden entries, a pipe and a link to a file
    // elsewhere: hidden entries and the pipe are never listed, links are followed.
    void sizesCollectionAndRemoval()
    {
        QTemporaryDir root;
        const QString tree = root.filePath("tree"), target = root.filePath("target");
        QVERIFY(Write(tree + "/a", 10) && Write(tree + "/sub/b", 20) && Write(target, 400));
        QVERIFY(Write(tree + "/.hidden", 1000) && Write(tree + "/sub/.hidden dir/e", 2000));
        QVERIFY(QDir().mkpath(tree + "/empty") && QFile::link(target, tree + "/link"));
        const QString elsewhere = root.filePath("elsewhere");
        QVERIFY(Write(elsewhere + "/precious", 1));
        QVERIFY(QFile::link(elsewhere, root.filePath("outside")));
        QCOMPARE(mkfifo(QFile::encodeName(tree + "/pipe").constData(), 0644), 0);
        QCOMPARE(DirectorySize(tree, false), quint64(430));
        QCOMPARE(DirectorySize(tree + "/empty", true), quint64(QFileInfo(tree + "/empty").size()));
        QCOMPARE(DirectorySize(tree + "/missing", true), quint64(0));

        QStringList files{"kept"};
        QCOMPARE(CollectFilesOfList({tree + "/missing", tree}, files), quint64(430));
        QCOMPARE(files.size(), 4); // a, b and the link's target, appended
        QVERIFY(files.first() == "kept" && files.contains(QFileInfo(target).canonicalFilePath()));

        // Whatever was listed is gone; hidden entries and the pipe keep their directories.
        // Links go, never what they point to: a link to a directory outside the tree, met
        // inside it or given as the tree itself, leaves that directory whole.
        QVERIFY(QFile::link(elsewhere, tree + "/sub/dir link"));
        RemoveRecursively(QFileInfo(tree));
        QCOMPARE(TestSupport::Entries(tree), QStringList({".hidden", "pipe", "sub"}));
        QCOMPARE(TestSupport::Entries(tree + "/sub"), QStringList({".hidden dir"}));
        QVERIFY(QFileInfo::exists(target)); // the link went, not what it points to
        RemoveRecursively(QFileInfo(root.filePath("outside")));
        QVERIFY(!QFileInfo(root.filePath("outside")).isSymLink());
        QCOMPARE(TestSupport::Entries(elsewhere), QStringList({"precious"}));
    }

    void moveAndCopy()
    {
        QTemporaryDir temp;
        const QString source = temp.filePath("field map; v2 (final).bin");
        const QString moved = temp.filePath("moved 'name'"), copy = temp.filePath("c \"of\" it");
        QVERIFY(TestSupport::WriteFile(source, "map"));
        QVERIFY(CopyFile(source, copy) && MoveFile(source, moved) && !QFileInfo::exists(source));
        QCOMPARE(TestSupport::ReadFile(moved) + TestSupport::ReadFile(copy), QByteArray("mapmap"));
        // The exit code decides: a missing source, "cp" of a directory.
        QVERIFY(!MoveFile(source, copy) && !CopyFile(temp.path(), source));
        // When "mv" or "cp" cannot be started the exit code reads 0: success, nothing done.
        const QByteArray oldPath = qgetenv("PATH");
        qputenv("PATH", "/nonexistent");
        const bool anyway = MoveFile(moved, source) && CopyFile(moved, source);
        qputenv("PATH", oldPath);
        QVERIFY(anyway && QFileInfo::exists(moved) && !QFileInfo::exists(source));
    }

    void cleanedNames_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("sanitized");
        QTest::addColumn<QString>("escaped");
        QTest::newRow("example") << "it's (a b)" << "it's (a b)" << "it\\'s\\ \\(a\\ b\\)";
        QTest::newRow("all nine") << "/\\:*?\"<>|" << "_________" << "/\\\\\\:\\*\\?\\\"\\<\\>\\|";
        // Adjacent specials, each escaped once; nothing trimmed.
        QTest::newRow("every special")
            << "?*[]!<>'\"~`#$&(){};\\|,: \t" << "__[]!__'_~`#$&(){};__,_ \t"
            << "\\?\\*\\[\\]\\!\\<\\>\\'\\\"\\~\\`\\#\\$\\&\\(\\)\\{\\}\\;\\\\\\|\\,\\:\\ \\\t";
    }

    void cleanedNames()
    {
        QFETCH(QString, text);
        QFETCH(QString, sanitized);
        QFETCH(QString, escaped);
        QCOMPARE(SanitizeFileName(text), sanitized);
        QCOMPARE(ShellEscape(text), escaped);
    }

    // Only the single-slash form lets RemoveFileAndObjectDirectory take an emptied object
    // directory along; RemoveObjectFile always does.
    void objectDirectoryAndFiles()
    {
        const QRegExp guid(GuidPattern());
        QVERIFY(!guid.exactMatch(QString(kFirst).toUpper()));
        QVERIFY(!guid.exactMatch(QString(kFirst).mid(1, 36))); // braces belong to it

        const Guid first = MakeGuid(kFirst);
        const QString doubled = "/home/data/objects//" + QString(kFirst) + '/';
        QCOMPARE(ObjectFilePath(first, "a", false), doubled + "a");
        QVERIFY(!QFileInfo::exists(kObjects));
        QCOMPARE(ObjectFilePath(first, "a", true), doubled + "a"); // makes the parents too
        QVERIFY(Write(doubled + "a") && RemoveFileAndObjectDirectory(doubled + "a"));
        const QString copy = "/home/data/copy" + ObjectPath(kFirst, "a"); // the form further in
        QVERIFY(Write(copy) && RemoveFileAndObjectDirectory(copy));
        QVERIFY(!RemoveFileAndObjectDirectory(ObjectPath(kFirst, "a")));
        QVERIFY(QFileInfo::exists(doubled)); // none of these took the emptied directory along
        QVERIFY(Write(doubled + "a") && RemoveFileAndObjectDirectory(ObjectPath(kFirst, "a")));
        QVERIFY(!QFileInfo::exists(doubled));
        QVERIFY(Write(doubled + "a") && Write(doubled + "b"));
        QVERIFY(RemoveObjectFile(first, "a") && !RemoveObjectFile(first, "a"));
        QVERIFY(QFileInfo::exists(doubled) && RemoveObjectFile(first, "b"));
        QVERIFY(!QFileInfo::exists(doubled)); // emptied: gone
    }

    // Merge moves sub-directories the target lacks and "removes" a clashing one as a file (a
    // link goes); plain files, hidden entries and the source directory itself stay.
    void renameAndMergeObjectDirectories()
    {
        const Guid first = MakeGuid(kFirst), second = MakeGuid(kSecond);
        MergeObjectDirectory(first, second); // no source: nothing, not even the target
        QCOMPARE(TestSupport::Entries(kObjects), QStringList());
        QVERIFY(Write(ObjectPath(kSecond, "both/target")) && Write(ObjectPath(kSecond, "ln/x")));
        RenameObjectDirectory(second, first);
        MergeObjectDirectory(first, second); // into a missing target; the emptied source stays
        QCOMPARE(TestSupport::Entries(kObjects), QStringList({kFirst, kSecond}));
        QCOMPARE(TestSupport::Entries(ObjectPath(kFirst)), QStringList());
        for (const char *path : {"new/data", "both/source", ".hidden/data", "file"})
            QVERIFY(Write(ObjectPath(kFirst, path)));
        QVERIFY(QFile::link(ObjectPath(kSecond, "ln"), ObjectPath(kFirst, "ln")));
        MergeObjectDirectory(first, second);
        QStringList listed; // object directories in name order, each listed with the filter
        for (const QFileInfo &entry :
             ListObjectEntries(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))
            listed << entry.fileName();
        QCOMPARE(listed.join(','), QString(".hidden,both,file,both,ln,new"));
        QCOMPARE(TestSupport::Entries(ObjectPath(kSecond, "both")), QStringList({"target"}));
    }

    // Links, read-only, unreadable files, directories, other names: each would come first.
    void objectImagePath()
    {
        const Guid first = MakeGuid(kFirst);
        QCOMPARE(ObjectImagePath(first), "/home/data/objects//" + QString(kFirst) + "/image.png");
        QCOMPARE(TestSupport::Entries(kObjects), QStringList({kFirst})); // the directory is made
        QVERIFY(Write(ObjectPath(kFirst, "IMAGE.JPG")) && Write(ObjectPath(kFirst, "images.png")));
        QVERIFY(Write(ObjectPath(kFirst, "image.b")) && Write(ObjectPath(kFirst, "image.c")));
        QVERIFY(QFile::setPermissions(ObjectPath(kFirst, "image.b"), QFile::ReadOwner));
        QVERIFY(QFile::setPermissions(ObjectPath(kFirst, "image.c"), QFile::WriteOwner));
        QVERIFY(QFile::link(ObjectPath(kFirst, "IMAGE.JPG"), ObjectPath(kFirst, "image.a")));
        QVERIFY(QDir().mkpath(ObjectPath(kFirst, "image.d")));
        QCOMPARE(ObjectImagePath(first), ObjectPath(kFirst, "IMAGE.JPG")); // canonical path
        // Each added file tells a rule apart from a likely slip: name order ignores case,
        // the suffix is compared with case, and the complete suffix counts.
        const QStringList added{"image.bmp", "Image.PNG", "image.a.png", "image.png"};
        const QStringList chosen{"image.bmp", "image.bmp", "image.a.png", "image.png"};
        for (int i = 0; i < added.size(); ++i) {
            QVERIFY(Write(ObjectPath(kFirst, added[i])));
            QCOMPARE(ObjectImagePath(first), ObjectPath(kFirst, chosen[i]));
        }
    }
};

QTEST_GUILESS_MAIN(FileHelpersTest)
#include "tst_filehelpers.moc"
