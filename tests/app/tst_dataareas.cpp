// The data-area wipe runs the real "rm -rf", so everything here happens inside a
// throwaway root: data areas, decoys around them and the configuration database.
#include "DataAreas.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtTest>

#include <sys/stat.h>

namespace {

const QString kHome = QStringLiteral("/home/data");
const QString kOem = QStringLiteral("/opt/OEM/data");
const QString kDatabase = QStringLiteral("/opt/OEM/Terramux/ESC/bin/database/config/dbmain.sqlite");

QStringList Entries(const QString &directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

} // namespace

class DataAreasTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVB_REQUIRE_THROWAWAY_ROOT(); }

    void init()
    {
        for (const char *path : {"/home", "/opt", "/work-cwd"})
            QDir(path).removeRecursively();
        QVERIFY(QDir().mkpath(kHome) && QDir().mkpath(kOem) && QDir().mkpath("/work-cwd"));
        QVERIFY(QDir::setCurrent("/work-cwd"));
    }

    void cleanup() { QDir::setCurrent("/"); }

    void entriesInRemovalOrder()
    {
        // With nothing in the areas the database is still named; the areas themselves stay.
        QCOMPARE(DataAreas::DataAreaEntries(), QStringList({kDatabase}));
        DataAreas::ClearDataAreas();
        QVERIFY(QFileInfo(kHome).isDir() && QFileInfo(kOem).isDir());
        QVERIFY(QDir(kOem).removeRecursively()); // a missing area lists nothing
        QVERIFY(TestSupport::WriteFile(kHome + "/b.log", "b"));
        QCOMPARE(DataAreas::DataAreaEntries(), QStringList({kHome + "/b.log", kDatabase}));

        QVERIFY(QDir().mkpath(kHome + "/objects/{x}") && TestSupport::WriteFile(kOem + "/map.bin", "m"));
        QStringList entries = DataAreas::DataAreaEntries();
        QCOMPARE(entries.size(), 4);
        QCOMPARE(entries.takeLast(), kDatabase);
        QCOMPARE(entries.takeLast(), kOem + "/map.bin"); // home data first, each unsorted
        entries.sort();
        QCOMPARE(entries, QStringList({kHome + "/b.log", kHome + "/objects"}));
    }

    void awkwardNamesAreRemovedWhole_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("blank") << "field data";
        QTest::newRow("leading and double blanks") << "  two  blanks  ";
        QTest::newRow("apostrophe") << "farmer's field";
        QTest::newRow("double quotes") << "\"quoted name\"";
        QTest::newRow("semicolon") << "a; rm -rf keep";
        QTest::newRow("command substitution") << "$(touch pwned) `touch pwned`";
        QTest::newRow("glob") << "* ?";
        QTest::newRow("option -rf") << "-rf";
        QTest::newRow("option --help") << "--help";
        QTest::newRow("dash and blank") << "- keep";
    }

    void awkwardNamesAreRemovedWhole()
    {
        QFETCH(QString, name);
        for (const QString &area : {kHome, kOem}) {
            QVERIFY(TestSupport::WriteFile(area + '/' + name + "/inner file", "x"));
            QVERIFY(TestSupport::WriteFile(area + '/' + name + ".txt", "x"));
        }
        // Decoys that a name split at blanks would reach: its pieces in the current directory.
        const QStringList pieces = name.split(QRegExp("\\s+"), Qt::SkipEmptyParts);
        for (const QString &piece : pieces)
            QVERIFY(TestSupport::WriteFile("/work-cwd/" + piece + "/keep", "k"));
        const QStringList before = Entries("/work-cwd");

        DataAreas::ClearDataAreas();

        QCOMPARE(Entries(kHome), QStringList());
        QCOMPARE(Entries(kOem), QStringList());
        QCOMPARE(Entries("/work-cwd"), before);
        for (const QString &piece : pieces)
            QCOMPARE(TestSupport::ReadFile("/work-cwd/" + piece + "/keep"), QByteArray("k"));
        QVERIFY(!QFileInfo::exists("/pwned"));
    }

    void nothingOutsideTheAreasIsRemoved()
    {
        // Neighbours whose names begin like the data areas or the database, what lies above
        // them, and what is reached only through links from inside a data area.
        const QStringList decoys = {"/home/data-decoy/file", "/home/data.old/file", "/opt/OEM/keep/file",
                                    kDatabase + "-journal", "/opt/OEM/Terramux/ESC/bin/program"};
        for (const QString &decoy : decoys)
            QVERIFY(TestSupport::WriteFile(decoy, "keep"));
        QVERIFY(QFile::link("/opt/OEM/keep", kHome + "/link to keep"));
        QVERIFY(QFile::link("/home/data-decoy/file", kOem + "/link to file"));
        QVERIFY(TestSupport::WriteFile(kOem + "/keep", "same name inside"));
        // Hidden entries, a pipe and a dangling link are not listed, so they survive.
        QVERIFY(TestSupport::WriteFile(kHome + "/.hidden dir/inside", "h"));
        QVERIFY(TestSupport::WriteFile(kOem + "/.config", "h"));
        QVERIFY(TestSupport::WriteFile(kHome + "/dir/.hidden inside visible", "v"));
        QCOMPARE(mkfifo("/home/data/pipe", 0644), 0);
        QVERIFY(QFile::link("/nowhere", kHome + "/dangling"));
        QVERIFY(TestSupport::WriteFile(kDatabase, "sqlite"));

        DataAreas::ClearDataAreas();

        for (const QString &decoy : decoys)
            QCOMPARE(TestSupport::ReadFile(decoy), QByteArray("keep"));
        QCOMPARE(Entries(kHome), QStringList({".hidden dir", "dangling", "pipe"}));
        QCOMPARE(TestSupport::ReadFile(kHome + "/.hidden dir/inside"), QByteArray("h"));
        QCOMPARE(Entries(kOem), QStringList({".config"}));
        QVERIFY(!QFileInfo::exists(kDatabase));
    }
};

QTEST_GUILESS_MAIN(DataAreasTest)
#include "tst_dataareas.moc"
