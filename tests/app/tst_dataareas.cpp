// The data-area wipe runs the real "rm -rf", so it runs inside a throwaway root only.
#include "DataAreas.h"
#include "TestSupport.h"

#include <QScopeGuard>

#include <sys/stat.h>

namespace {

const QString kHome = QStringLiteral("/home/data");
const QString kOem = QStringLiteral("/opt/OEM/data");
const QString kDatabase = QString::fromLatin1(DataAreas::kConfigurationDatabase);

using TestSupport::Entries;
const QString kMarker = QString::fromLatin1(DataAreas::kRestoreMarker);
const QString kReserve = QString::fromLatin1(DataAreas::kMarkerReserve);

// "/home/data" on a small memory file system of its own, taken away again by the guard.
auto MountHomeData(const QString &options)
{
    const bool mounted = TestSupport::Run("mount", {"-t", "tmpfs", "-o", options, "tmpfs", kHome}) == 0;
    return qScopeGuard([mounted] {
        if (mounted)
            TestSupport::Run("umount", {kHome});
    });
}

// Fills the file system of "/home/data" until it takes no more files.
void FillWithFiles()
{
    for (int i = 0; TestSupport::WriteFile(kHome + QStringLiteral("/filler %1").arg(i), "f"); ++i) {
    }
}

} // namespace

class DataAreasTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVB_REQUIRE_THROWAWAY_ROOT(); }

    void init()
    {
        for (const char *path : {"/home", "/opt", "/cwd"})
            QDir(path).removeRecursively();
        QVERIFY(QDir().mkpath(kHome) && QDir().mkpath(kOem) && QDir().mkpath("/cwd"));
        QVERIFY(QDir::setCurrent("/cwd"));
    }

    void awkwardNamesAreRemovedWhole_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("blank") << "field data";
        QTest::newRow("quotes") << "farmer's \"field\"";
        QTest::newRow("semicolon") << "a; rm -rf keep";
        QTest::newRow("command substitution") << "$(touch pwned) `touch pwned`";
        QTest::newRow("option, if it were relative") << "-rf";
    }

    void awkwardNamesAreRemovedWhole()
    {
        QFETCH(QString, name);
        for (const QString &area : {kHome, kOem})
            QVERIFY(TestSupport::WriteFile(area + '/' + name + "/inner file", "x"));
        // Decoys a name split at blanks would reach: its pieces in the working directory.
        for (const QString &piece : name.split(' ', Qt::SkipEmptyParts))
            QVERIFY(TestSupport::WriteFile("/cwd/" + piece + "/keep", "k"));
        const QStringList before = Entries("/cwd");
        DataAreas::ClearDataAreas();
        QCOMPARE(Entries(kHome) + Entries(kOem), QStringList());
        QCOMPARE(Entries("/cwd"), before); // nothing removed, nothing run
    }

    void nothingOutsideTheAreasIsRemoved()
    {
        // Neighbours named like the areas or the database, what lies above them, link targets.
        const QStringList decoys = {"/home/data-x/f", "/home/data.old/f", "/opt/OEM/keep/f",
                                    kDatabase + "-journal", "/opt/OEM/Terramux/ESC/bin/program"};
        for (const QString &decoy : decoys)
            QVERIFY(TestSupport::WriteFile(decoy, "keep"));
        QVERIFY(QFile::link("/opt/OEM/keep", kHome + "/link to keep"));
        QVERIFY(QFile::link("/home/data-x/f", kOem + "/link to file"));
        // Hidden entries, a pipe and a dangling link are not listed, so they survive.
        QVERIFY(TestSupport::WriteFile(kHome + "/.hidden dir/inside", "h"));
        QVERIFY(TestSupport::WriteFile(kHome + "/dir/.hidden inside visible", "v"));
        QCOMPARE(mkfifo("/home/data/pipe", 0644), 0);
        QVERIFY(QFile::link("/nowhere", kHome + "/dangling"));
        QVERIFY(TestSupport::WriteFile(kDatabase, "sqlite"));

        DataAreas::ClearDataAreas();

        for (const QString &decoy : decoys)
            QCOMPARE(TestSupport::ReadFile(decoy), QByteArray("keep"));
        QCOMPARE(Entries(kHome), QStringList({".hidden dir", "dangling", "pipe"}));
        QCOMPARE(Entries(kOem), QStringList());
        QVERIFY(!QFileInfo::exists(kDatabase));
        // The database is named whether or not it exists; hidden entries and the rest never.
        QCOMPARE(DataAreas::DataAreaEntries(), QStringList({kDatabase}));
    }

    // The marker goes onto the storage before the first removal, so it must outlive every
    // clearing; it goes only by its own removal.
    void markerSparedByTheClearings()
    {
        QVERIFY(TestSupport::WriteFile(kHome + "/old.txt", "old"));
        QCOMPARE(DataAreas::SetRestoreMarker().error, 0);
        QCOMPARE(DataAreas::ClearDataAreas(), QStringList());
        QCOMPARE(Entries(kHome), QStringList({"qvb-restore-in-progress"}));
        QCOMPARE(DataAreas::RemoveRestoreMarker(), 0);
        QVERIFY(!QFileInfo::exists(kMarker));
        QCOMPARE(DataAreas::RemoveRestoreMarker(), 0); // already gone is no failure
    }

    // A storage that cannot record a restore must say so before anything is removed: a
    // read-only one (whatever it already holds, a marker left by an interrupted restore
    // included), and one too full for the marker unless the reserve makes room. What a
    // clearing could not remove is told, not passed over.
    void storageThatCannotTakeTheMarker_data()
    {
        QTest::addColumn<bool>("readOnly"); // else full: no inode left
        QTest::addColumn<bool>("oldMarker");
        QTest::addColumn<bool>("reserve");
        QTest::addColumn<int>("error");
        QTest::newRow("read-only") << true << false << false << EROFS;
        QTest::newRow("read-only, marker left behind") << true << true << false << EROFS;
        QTest::newRow("full, no reserve") << false << false << false << ENOSPC;
        QTest::newRow("full, the reserve makes room") << false << false << true << 0;
    }
    void storageThatCannotTakeTheMarker()
    {
        QFETCH(bool, readOnly);
        QFETCH(bool, oldMarker);
        QFETCH(bool, reserve);
        QFETCH(int, error);
        const auto unmount = MountHomeData("size=1m,nr_inodes=50");
        QVERIFY(TestSupport::WriteFile(kHome + "/old.txt", "old"));
        if (oldMarker)
            QVERIFY(TestSupport::WriteFile(kMarker, ""));
        if (reserve)
            QCOMPARE(DataAreas::KeepMarkerReserve(), 0);
        if (readOnly)
            QCOMPARE(TestSupport::Run("mount", {"-o", "remount,ro", kHome}), 0);
        else
            FillWithFiles();
        const DataAreas::MarkerOutcome marker = DataAreas::SetRestoreMarker();
        QCOMPARE(marker.error, error);
        QCOMPARE(marker.reserveUsed, reserve);
        QCOMPARE(QFileInfo::exists(kMarker), error == 0 || oldMarker);
        if (error == EROFS)
            QCOMPARE(DataAreas::ClearDataAreas(), QStringList({kHome + "/old.txt"}));
    }
};

QTEST_GUILESS_MAIN(DataAreasTest)
#include "tst_dataareas.moc"
