// The restore driver's order of events as the user sees it: the state of the data areas and
// the marker whenever a window appears. Real wipe, extraction and dialogs: throwaway root only.
#include "DataAreas.h"
#include "MessageDialog.h"
#include "RestoreInterface.h"
#include "RestoreTrail.h"
#include "TestSupport.h"

#include <QAbstractButton>
#include <QLabel>
#include <QScopeGuard>

namespace {

const QString kFailed = QStringLiteral("QVB Restore Failed | The process of restoring a backup "
                                       "file failed.  Please try restoring the backup again. | ");
const QList<QPair<QString, QString>> kWatched{
    {"marker", "/home/data/qvb-restore-in-progress"}, {"old", "/opt/OEM/data/old log.txt"},
    {"hidden", "/home/data/.display-id"},
    {"database", "/opt/OEM/Terramux/ESC/bin/database/config/dbmain.sqlite"},
    {"restored", "/home/data/objects/{5f0c9a57-1b2e-4c3d-8e9f-0a1b2c3d4e5f}/map.bin"}};

QString Present()
{
    QStringList names;
    for (const auto &[name, path] : kWatched)
        if (QFileInfo::exists(path))
            names << name;
    return names.join(' ');
}

// Notes "title | text | present paths" for each dialog the driver shows (the progress box
// as text "progress"), and dismisses each message with its button, as the user would.
class Watcher : public QObject
{
public:
    QStringList sights;

    bool eventFilter(QObject *object, QEvent *event) override
    {
        auto *dialog = qobject_cast<Generic::StandardButtonsDialog *>(object);
        if (event->type() != QEvent::Show || !dialog)
            return false;
        auto *text = dialog->findChild<QLabel *>("ui_labelText");
        sights << dialog->Title() + " | " + (text ? text->text() : "progress") + " | " + Present();
        auto *done = dialog->findChild<QAbstractButton *>("ui_buttonOk");
        if (qobject_cast<Generic::MessageDialog *>(dialog))
            QTimer::singleShot(0, done, [done] { QTest::mouseClick(done, Qt::LeftButton); });
        return false;
    }
};

// A tar.gz body holding the restored file, wrapped by qvb-make-backup; with
// `wrongDigest` only the stored digest is spoilt, so the body still unpacks completely.
void MakeBackup(const QString &path, bool wrongDigest)
{
    QByteArray map(300000, '\0');
    for (int i = 0; i < map.size(); ++i)
        map[i] = char((unsigned(i) * 7919u) >> 3);
    QVERIFY(TestSupport::WriteFile("/tree" + kWatched.last().second, map));
    const QString body = "/tree/body.tar.gz";
    QCOMPARE(TestSupport::Run("bsdtar", {"-czf", body, "-C", "/tree", "home"}), 0);
    QCOMPARE(TestSupport::Run(QStringLiteral(QVB_MAKE_BACKUP), {body, path}), 0);
    // The stored digest is the 16-byte field at offset 148 of the header. It is overwritten
    // in place: a digest holding a 0x00 byte is stored cut short, so searching the file
    // for the whole digest would not always find it.
    QByteArray backup = TestSupport::ReadFile(path);
    if (wrongDigest)
        QVERIFY(TestSupport::WriteFile(path, backup.replace(148, 16, QByteArray(16, '\x11'))));
}

// One restore by the driver as the entry point starts it, to its end; what it showed.
QStringList RunRestore(const QString &backup)
{
    Watcher watcher;
    qApp->installEventFilter(&watcher);
    auto *driver = new RestoreInterface;
    QSignalSpy destroyed(driver, &QObject::destroyed);
    driver->StartRestore(backup);
    if (!QTest::qWaitFor([&] { return destroyed.count() == 1; }, 60000))
        return {"the restore did not end"};
    qApp->removeEventFilter(&watcher);
    return watcher.sights;
}

QList<QByteArray> KeptTrails()
{
    const QByteArray text = TestSupport::ReadFile(RestoreTrail::kPath);
    QList<QByteArray> result;
    for (const QByteArray &trail : text.split('\n'))
        if (trail.startsWith("--- restore started "))
            result << QByteArray();
        else if (!result.isEmpty())
            result.last() += trail + '\n';
    return result;
}

} // namespace

class RestoreInterfaceTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVB_REQUIRE_THROWAWAY_ROOT(); }

    void orderOfEvents_data()
    {
        QTest::addColumn<QString>("backup");
        QTest::addColumn<QString>("storage"); // "" as usual, "read-only", "another restore running"
        QTest::addColumn<QStringList>("sights");
        // The progress box comes after the wipe and the marker, before any unpacking; the
        // outcome is shown with the data in place and the marker still there.
        const QString wiped = "Restore Memory | progress | marker hidden";
        const QString full = "marker hidden restored";
        const QString restored = "Backup Restored | The system has been restored. | ";
        QTest::newRow("success") << "/good.qvb" << "" << QStringList{wiped, restored + full};
        // Only the digest is wrong; the second wipe waits until the message is dismissed.
        QTest::newRow("failure") << "/wrong digest.qvb" << "" << QStringList{wiped, kFailed + full};
        // An unopenable file is reported before anything is wiped; the restore goes on.
        QTest::newRow("cannot open") << "/no such file.qvb" << ""
            << QStringList{"Restore Memory | Cannot open file /no such file.qvb | "
                           "old hidden database", wiped, kFailed + "marker hidden"};
        // A storage that cannot record the marker cannot record a restore: nothing goes.
        QTest::newRow("read-only data") << "/good.qvb" << "read-only" << QStringList{kFailed + "old hidden database"};
        // A second start while a restore runs shows nothing and touches nothing.
        QTest::newRow("another restore running") << "/good.qvb" << "another restore running" << QStringList{};
        // An entry the clearing cannot remove (a mount point): the data areas are neither
        // as they were nor empty, so the marker stays to tell it.
        QTest::newRow("clearing refused") << "/good.qvb" << "clearing refused" << QStringList{kFailed + "marker hidden"};
    }

    void orderOfEvents()
    {
        QFETCH(QString, backup);
        QFETCH(QString, storage);
        QFETCH(QStringList, sights);
        QVERIFY(QDir("/home/data").removeRecursively() && QDir("/opt/OEM").removeRecursively());
        QVERIFY(QDir().mkpath("/home/data"));
        // A memory file system of its own for read-only data, and as a mount point inside an
        // area that the clearing cannot remove.
        const QString mountPoint = storage == "read-only" ? "/home/data" : "/opt/OEM/data/stuck";
        const bool mount = storage == "read-only" || storage == "clearing refused";
        QVERIFY(!mount || (QDir().mkpath(mountPoint)
                           && TestSupport::Run("mount", {"-t", "tmpfs", "tmpfs", mountPoint}) == 0));
        const auto unmount = qScopeGuard([&] {
            if (mount)
                TestSupport::Run("umount", {mountPoint});
        });
        for (const auto &[name, path] : kWatched.mid(1, 3))
            QVERIFY(TestSupport::WriteFile(path, "old\n"));
        if (backup != "/no such file.qvb")
            MakeBackup(backup, backup.startsWith("/wrong"));
        if (storage == "read-only")
            QCOMPARE(TestSupport::Run("mount", {"-o", "remount,ro", "/home/data"}), 0);
        DataAreas::RestoreLock running;
        int error = 0;
        if (storage == "another restore running")
            QVERIFY(running.Acquire(&error) == DataAreas::RestoreLock::State::Held);

        QCOMPARE(RunRestore(backup), sights);
        // Marker gone; after a failure the data areas are empty again, hidden entries apart;
        // where nothing could be or was to be touched, nothing was.
        if (storage == "clearing refused")
            QCOMPARE(Present(), QString("marker hidden"));
        else if (!storage.isEmpty())
            QCOMPARE(Present(), QString("old hidden database"));
        else
            QCOMPARE(Present(), backup == "/good.qvb" ? QString("hidden restored") : "hidden");
    }

    // The technician finds the trails of the last five restores, oldest first, each
    // whole: a failed one followed by a good one, then four more.
    void trailKeepsTheLastFiveRestores()
    {
        QVERIFY(QDir("/home/data").removeRecursively() && QDir().mkpath("/home/data"));
        MakeBackup("/wrong digest.qvb", true);
        MakeBackup("/good.qvb", false);
        for (int run = 1; run <= 6; ++run) {
            const QString backup = run == 1 ? "/wrong digest.qvb" : "/good.qvb";
            QCOMPARE(RunRestore(backup).size(), 2);
            const QList<QByteArray> trails = KeptTrails();
            QCOMPARE(trails.size(), std::min(run, RestoreTrail::kRestoresKept));
            QVERIFY(trails.last().contains("restoring " + backup.toUtf8()));
            QVERIFY(trails.last().contains(run == 1 ? "restore failed after" : "restored after"));
            QVERIFY(trails.last().trimmed().endsWith("restore marker removed"));
            if (run == 2)
                QVERIFY(trails.first().contains("restore failed after"));
        }
        QVERIFY(!KeptTrails().first().contains("restore failed"));
        QVERIFY(!QFileInfo::exists("/home/data/.qvb-restore-trail.new"));
    }

    // Older trails go first when the file would grow past its bound; what is no trail
    // goes; a restore saved twice keeps only its latest.
    void trailFileStaysBounded()
    {
        const QByteArray one = "--- restore started 2026-01-01 10:00:00.000\nfirst\n";
        const QByteArray two = "--- restore started 2026-01-02 10:00:00.000\n" + QByteArray(300, 'x') + "\n";
        const QByteArray three = "--- restore started 2026-01-03 10:00:00.000\nthird\n";
        QCOMPARE(RestoreTrail::Merge("leftover\n" + one, two, 5, 1000), one + two);
        QCOMPARE(RestoreTrail::Merge(one + two, three, 5, 200), three);
        QCOMPARE(RestoreTrail::Merge(one + two, three, 2, 1000), two + three);
        QCOMPARE(RestoreTrail::Merge(one + three.left(50), three, 5, 1000), one + three);
        const QByteArray huge = "--- restore started 2026-01-04 10:00:00.000\n" + QByteArray(100, 'a') + "\nlast\n";
        QCOMPARE(RestoreTrail::Merge(one, huge, 5, 60), "--- restore started 2026-01-04 10:00:00.000\nlast\n");
    }
};

QTEST_MAIN(RestoreInterfaceTest)
#include "tst_restoreinterface.moc"
