// The data-area wipe runs the real "rm -rf", so everything here happens inside a
// throwaway root: data areas, decoys around them and the configuration database.
#include "DataAreas.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString HomeData = QStringLiteral("/home/data");
const QString OemData = QStringLiteral("/opt/OEM/data");
const QString Database = QStringLiteral("/opt/OEM/Terramux/ESC/bin/database/config/dbmain.sqlite");

void Reset()
{
    for (const char *path : {"/home", "/opt", "/work-cwd"})
        QDir(QString::fromLatin1(path)).removeRecursively();
    QVERIFY(QDir().mkpath(HomeData));
    QVERIFY(QDir().mkpath(OemData));
}

QSet<QString> EntriesOf(const QString &directory)
{
    const QStringList names =
        QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    return QSet<QString>(names.begin(), names.end());
}

} // namespace

class DataAreasTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init() { Reset(); }
    void cleanup() { QDir::setCurrent(QStringLiteral("/")); }

    void entriesInOrderWithDatabaseLast();
    void emptyAreasStillNameTheDatabase();
    void missingAreaListsNothing();

    void awkwardNamesAreRemovedWhole_data();
    void awkwardNamesAreRemovedWhole();
    void nothingOutsideTheAreasIsRemoved();
    void hiddenAndSystemEntriesSurvive();
    void databaseIsRemovedAlone();
};

void DataAreasTest::initTestCase()
{
    QVB_REQUIRE_THROWAWAY_ROOT();
}

void DataAreasTest::entriesInOrderWithDatabaseLast()
{
    QVERIFY(TestSupport::WriteFile(HomeData + QStringLiteral("/b.log"), "b"));
    QVERIFY(QDir().mkpath(HomeData + QStringLiteral("/objects/{x}")));
    QVERIFY(TestSupport::WriteFile(OemData + QStringLiteral("/map.bin"), "m"));
    QVERIFY(TestSupport::WriteFile(OemData + QStringLiteral("/A"), "a"));

    const QStringList entries = DataAreas::DataAreaEntries();
    QCOMPARE(entries.size(), 5);
    // Home data first, then OEM data (each in directory order), the database last.
    QCOMPARE(QSet<QString>(entries.begin(), entries.begin() + 2),
             QSet<QString>({QStringLiteral("/home/data/b.log"), QStringLiteral("/home/data/objects")}));
    QCOMPARE(QSet<QString>(entries.begin() + 2, entries.begin() + 4),
             QSet<QString>({QStringLiteral("/opt/OEM/data/map.bin"), QStringLiteral("/opt/OEM/data/A")}));
    QCOMPARE(entries.last(), Database);
}

void DataAreasTest::emptyAreasStillNameTheDatabase()
{
    QCOMPARE(DataAreas::DataAreaEntries(), QStringList({Database}));
    DataAreas::ClearDataAreas();
    QVERIFY(QFileInfo(HomeData).isDir());
    QVERIFY(QFileInfo(OemData).isDir());
}

void DataAreasTest::missingAreaListsNothing()
{
    QVERIFY(QDir(OemData).removeRecursively());
    QVERIFY(TestSupport::WriteFile(HomeData + QStringLiteral("/log"), "x"));
    QCOMPARE(DataAreas::DataAreaEntries(), QStringList({QStringLiteral("/home/data/log"), Database}));
    DataAreas::ClearDataAreas();
    QCOMPARE(EntriesOf(HomeData), QSet<QString>());
    QVERIFY(!QFileInfo::exists(OemData));
}

void DataAreasTest::awkwardNamesAreRemovedWhole_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blank") << "field data";
    QTest::newRow("several blanks") << "  two  leading blanks  ";
    QTest::newRow("tab") << "tab\there";
    QTest::newRow("line break") << "line\nbreak";
    QTest::newRow("apostrophe") << "farmer's field";
    QTest::newRow("double quotes") << "\"quoted name\"";
    QTest::newRow("semicolon") << "a; rm -rf keep";
    QTest::newRow("command substitution") << "$(touch pwned) `touch pwned`";
    QTest::newRow("glob") << "* ?";
    QTest::newRow("backslash") << "back\\slash name";
    QTest::newRow("option -rf") << "-rf";
    QTest::newRow("option --help") << "--help";
    QTest::newRow("dash and blank") << "- keep";
    QTest::newRow("non-ASCII") << QString::fromUtf8("Feld Süd – Mais");
}

void DataAreasTest::awkwardNamesAreRemovedWhole()
{
    QFETCH(QString, name);
    // A directory with that name holding a file, and a file with that name.
    for (const QString &area : {HomeData, OemData}) {
        QVERIFY(TestSupport::WriteFile(area + QLatin1Char('/') + name + QStringLiteral("/inner file"), "x"));
        QVERIFY(TestSupport::WriteFile(area + QLatin1Char('/') + name + QStringLiteral(".txt"), "x"));
    }
    // Decoys that a name split at blanks would reach: its pieces in the current
    // directory and next to the data areas.
    QVERIFY(QDir().mkpath(QStringLiteral("/work-cwd")));
    QVERIFY(QDir::setCurrent(QStringLiteral("/work-cwd")));
    const QStringList pieces = name.split(QRegExp(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    for (const QString &piece : pieces) {
        QVERIFY(TestSupport::WriteFile(QStringLiteral("/work-cwd/") + piece + QStringLiteral("/keep"), "k"));
        QVERIFY(TestSupport::WriteFile(QStringLiteral("/work-cwd/") + piece + QStringLiteral(".txt"), "k"));
    }
    const QSet<QString> cwdBefore = EntriesOf(QStringLiteral("/work-cwd"));

    DataAreas::ClearDataAreas();

    QCOMPARE(EntriesOf(HomeData), QSet<QString>());
    QCOMPARE(EntriesOf(OemData), QSet<QString>());
    QCOMPARE(EntriesOf(QStringLiteral("/work-cwd")), cwdBefore);
    QVERIFY(!QFileInfo::exists(QStringLiteral("/work-cwd/pwned")));
    QVERIFY(!QFileInfo::exists(QStringLiteral("/pwned")));
    for (const QString &piece : pieces)
        QCOMPARE(TestSupport::ReadFile(QStringLiteral("/work-cwd/") + piece + QStringLiteral("/keep")), QByteArray("k"));
}

void DataAreasTest::nothingOutsideTheAreasIsRemoved()
{
    // Neighbours whose names begin like the data areas, what lies above them, and a
    // directory reached only through a link from inside a data area.
    const QStringList decoys = {
        QStringLiteral("/home/data-decoy/file"), QStringLiteral("/home/data.old/file"),
        QStringLiteral("/home/user/file"),       QStringLiteral("/opt/OEM/keep/file"),
        QStringLiteral("/opt/OEM/data-decoy/file"), QStringLiteral("/opt/OEM/Terramux/ESC/bin/database/config/other.sqlite"),
        QStringLiteral("/opt/OEM/Terramux/ESC/bin/program"),
    };
    for (const QString &decoy : decoys)
        QVERIFY(TestSupport::WriteFile(decoy, "keep"));
    QVERIFY(QFile::link(QStringLiteral("/opt/OEM/keep"), HomeData + QStringLiteral("/link to keep")));
    QVERIFY(QFile::link(QStringLiteral("/home/data-decoy/file"), OemData + QStringLiteral("/link to file")));
    QVERIFY(TestSupport::WriteFile(HomeData + QStringLiteral("/home/data-decoy"), "same tail inside"));
    QVERIFY(TestSupport::WriteFile(OemData + QStringLiteral("/keep"), "same name inside"));

    DataAreas::ClearDataAreas();

    QCOMPARE(EntriesOf(HomeData), QSet<QString>());
    QCOMPARE(EntriesOf(OemData), QSet<QString>());
    for (const QString &decoy : decoys)
        QCOMPARE(TestSupport::ReadFile(decoy), QByteArray("keep"));
    QVERIFY(QFileInfo(QStringLiteral("/opt/OEM/keep")).isDir());
}

void DataAreasTest::hiddenAndSystemEntriesSurvive()
{
    QVERIFY(TestSupport::WriteFile(HomeData + QStringLiteral("/.hidden"), "h"));
    QVERIFY(TestSupport::WriteFile(HomeData + QStringLiteral("/.hidden dir/inside"), "h"));
    QVERIFY(TestSupport::WriteFile(OemData + QStringLiteral("/.config"), "h"));
    QVERIFY(TestSupport::WriteFile(HomeData + QStringLiteral("/visible"), "v"));
    QVERIFY(TestSupport::WriteFile(HomeData + QStringLiteral("/dir/.hidden inside visible"), "v"));
    QCOMPARE(mkfifo("/home/data/pipe", 0644), 0);
    QVERIFY(QFile::link(QStringLiteral("/nowhere"), HomeData + QStringLiteral("/dangling")));

    DataAreas::ClearDataAreas();

    QCOMPARE(EntriesOf(HomeData), QSet<QString>({QStringLiteral(".hidden"), QStringLiteral(".hidden dir"),
                                                 QStringLiteral("pipe"), QStringLiteral("dangling")}));
    QCOMPARE(TestSupport::ReadFile(HomeData + QStringLiteral("/.hidden dir/inside")), QByteArray("h"));
    QCOMPARE(EntriesOf(OemData), QSet<QString>({QStringLiteral(".config")}));
}

void DataAreasTest::databaseIsRemovedAlone()
{
    QVERIFY(TestSupport::WriteFile(Database, "sqlite"));
    QVERIFY(TestSupport::WriteFile(Database + QStringLiteral("-journal"), "journal"));
    DataAreas::ClearDataAreas();
    QVERIFY(!QFileInfo::exists(Database));
    QCOMPARE(TestSupport::ReadFile(Database + QStringLiteral("-journal")), QByteArray("journal"));
    // Removing it again when it is gone is harmless.
    DataAreas::ClearDataAreas();
    QVERIFY(QFileInfo(QFileInfo(Database).path()).isDir());
}

QTEST_GUILESS_MAIN(DataAreasTest)
#include "tst_dataareas.moc"
