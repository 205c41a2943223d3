// The data-area wipe runs the real "rm -rf", so it runs inside a throwaway root only.
#include "DataAreas.h"
#include "TestSupport.h"

#include <sys/stat.h>

namespace {

const QString kHome = QStringLiteral("/home/data");
const QString kOem = QStringLiteral("/opt/OEM/data");
const QString kDatabase = QString::fromLatin1(DataAreas::kConfigurationDatabase);

using TestSupport::Entries;

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
};

QTEST_GUILESS_MAIN(DataAreasTest)
#include "tst_dataareas.moc"
