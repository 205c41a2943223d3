// The restore driver's order of events, seen from inside the program at the moments the
// user sees something: what the data areas and the restore marker look like when the
// progress box appears and when the outcome message appears, and afterwards. The
// end-to-end tests see only the end state; here the order itself is checked.
//
// Runs the real wipe, the real extraction onto "/" and the real dialogs (offscreen), so it
// runs inside a throwaway root only.
#include "FileHeader.h"
#include "MessageDialog.h"
#include "ProgressDialog.h"
#include "RestoreInterface.h"
#include "TestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <vector>

namespace {

const QString Marker = QStringLiteral("/home/data/qvb-restore-in-progress");
const QString Database = QStringLiteral("/opt/OEM/Terramux/ESC/bin/database/config/dbmain.sqlite");
const QString OldVisible = QStringLiteral("/home/data/old name.txt");
const QString OldOem = QStringLiteral("/opt/OEM/data/old/log.txt");
const QString OldHidden = QStringLiteral("/home/data/.display-id");
const QString Restored = QStringLiteral("/home/data/objects/{5f0c9a57-1b2e-4c3d-8e9f-0a1b2c3d4e5f}/object.ini");
const QString RestoredOem = QStringLiteral("/opt/OEM/data/fields/prescription.bin");

// What the data areas looked like when a window appeared.
struct Sight
{
    QString kind; // "progress" or "message"
    QString title;
    QString text;
    bool marker = false;
    bool oldVisible = false;
    bool oldOem = false;
    bool oldHidden = false;
    bool database = false;
    bool restored = false;
};

// Records every progress box and message the driver shows and dismisses each message
// with its button, as the user would.
class Watcher : public QObject
{
public:
    QList<Sight> sights;

    bool eventFilter(QObject *object, QEvent *event) override
    {
        auto *window = qobject_cast<QWidget *>(object);
        if (event->type() != QEvent::Show || !window || !window->isWindow())
            return false;
        Sight sight;
        sight.marker = QFileInfo::exists(Marker);
        sight.oldVisible = QFileInfo::exists(OldVisible);
        sight.oldOem = QFileInfo::exists(OldOem);
        sight.oldHidden = QFileInfo::exists(OldHidden);
        sight.database = QFileInfo::exists(Database);
        sight.restored = QFileInfo::exists(Restored) && QFileInfo::exists(RestoredOem);
        if (auto *message = qobject_cast<Generic::MessageDialog *>(window)) {
            sight.kind = QStringLiteral("message");
            sight.title = message->Title();
            if (auto *label = message->findChild<QLabel *>(QStringLiteral("ui_labelText")))
                sight.text = label->text();
            QPointer<Generic::MessageDialog> target(message);
            QTimer::singleShot(0, message, [target] {
                if (!target)
                    return;
                auto *done = target->findChild<QAbstractButton *>(QStringLiteral("ui_buttonOk"));
                QVERIFY(done && done->isVisible());
                QTest::mouseClick(done, Qt::LeftButton);
            });
        } else if (auto *progress = qobject_cast<Generic::ProgressDialog *>(window)) {
            sight.kind = QStringLiteral("progress");
            sight.title = progress->Title();
        } else {
            return false;
        }
        sights << sight;
        return false;
    }
};

void WriteOldDataAreas()
{
    for (const char *path : {"/home/data", "/opt/OEM"})
        QDir(QString::fromLatin1(path)).removeRecursively();
    QVERIFY(TestSupport::WriteFile(OldVisible, "old\n"));
    QVERIFY(TestSupport::WriteFile(OldOem, "old\n"));
    QVERIFY(TestSupport::WriteFile(OldHidden, "keep\n"));
    QVERIFY(TestSupport::WriteFile(Database, "old database\n"));
}

// A tar.gz body holding Restored and RestoredOem, behind a version-2 header. The stored
// digest is the body's own, or sixteen wrong bytes with `wrongDigest`.
void MakeBackup(const QString &path, bool wrongDigest)
{
    QTemporaryDir tree;
    QVERIFY(tree.isValid());
    QVERIFY(TestSupport::WriteFile(tree.path() + Restored, "[object]\nname=Feld Süd\n"));
    QByteArray map(300000, '\0');
    for (int i = 0; i < map.size(); ++i)
        map[i] = char((i * 7919) >> 3);
    QVERIFY(TestSupport::WriteFile(tree.path() + RestoredOem, map));
    const QString body = tree.path() + QStringLiteral("/body.tar.gz");
    QCOMPARE(TestSupport::Run(QStringLiteral("bsdtar"),
                              {QStringLiteral("-czf"), body, QStringLiteral("-C"), tree.path(),
                               QStringLiteral("home"), QStringLiteral("opt")}),
             0);
    const QByteArray bodyBytes = TestSupport::ReadFile(body);
    QVERIFY(!bodyBytes.isEmpty());

    QByteArray digest = QCryptographicHash::hash(bodyBytes, QCryptographicHash::Md5);
    if (wrongDigest)
        digest = QByteArray(16, '\x11');
    DataFileHeader record = Backup::FileHeader::NewBackupRecord(2);
    record.SetChecksum(std::vector<std::uint8_t>(digest.begin(), digest.end()));
    Backup::FileHeader header;
    header.SetProduct("Talon");
    header.SetProductCode(1);
    header.SetVariant("Standard");
    header.SetMinimumSoftwareVersion(0x01000000);

    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(header.WriteFileHeader(&file, record), Backup::FileHeader::Ok);
    QCOMPARE(file.pos(), qint64(204));
    QCOMPARE(file.write(bodyBytes), qint64(bodyBytes.size()));
}

// Starts a restore of `path` and waits until the driver has deleted itself.
QList<Sight> Restore(const QString &path)
{
    Watcher watcher;
    qApp->installEventFilter(&watcher);
    auto *driver = new RestoreInterface;
    QSignalSpy destroyed(driver, &QObject::destroyed);
    driver->StartRestore(path);
    [&] { QTRY_COMPARE_WITH_TIMEOUT(destroyed.count(), 1, 60000); }();
    qApp->removeEventFilter(&watcher);
    return watcher.sights;
}

} // namespace

class RestoreInterfaceTest : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVB_REQUIRE_THROWAWAY_ROOT(); }
    void init() { WriteOldDataAreas(); }

    void successShowsRestoredDataBeforeTheMarkerGoes();
    void failureClearsOnlyAfterTheMessage();
    void unopenableFileIsReportedBeforeAnythingIsWiped();
};

void RestoreInterfaceTest::successShowsRestoredDataBeforeTheMarkerGoes()
{
    const QString backup = QStringLiteral("/media/usb/good.qvb");
    MakeBackup(backup, false);
    const QList<Sight> sights = Restore(backup);
    QCOMPARE(sights.size(), 2);

    // The progress box appears after the wipe and the marker, before any unpacking.
    const Sight &progress = sights[0];
    QCOMPARE(progress.kind, QStringLiteral("progress"));
    QCOMPARE(progress.title, QStringLiteral("Restore Memory"));
    QVERIFY(progress.marker);
    QVERIFY(!progress.oldVisible);
    QVERIFY(!progress.oldOem);
    QVERIFY(!progress.database);
    QVERIFY(progress.oldHidden);
    QVERIFY(!progress.restored);

    // The outcome is shown with the data in place and the marker still there.
    const Sight &outcome = sights[1];
    QCOMPARE(outcome.kind, QStringLiteral("message"));
    QCOMPARE(outcome.title, QStringLiteral("Backup Restored"));
    QCOMPARE(outcome.text, QStringLiteral("The system has been restored."));
    QVERIFY(outcome.marker);
    QVERIFY(outcome.restored);

    QVERIFY(!QFileInfo::exists(Marker));
    QVERIFY(QFileInfo::exists(Restored));
    QCOMPARE(TestSupport::ReadFile(Restored), QStringLiteral("[object]\nname=Feld Süd\n").toUtf8());
    QVERIFY(QFileInfo::exists(OldHidden));
    QVERIFY(!QFileInfo::exists(OldVisible));
}

void RestoreInterfaceTest::failureClearsOnlyAfterTheMessage()
{
    // The body unpacks completely; only its digest differs from the stored one.
    const QString backup = QStringLiteral("/media/usb/wrong-digest.qvb");
    MakeBackup(backup, true);
    const QList<Sight> sights = Restore(backup);
    QCOMPARE(sights.size(), 2);
    QCOMPARE(sights[0].kind, QStringLiteral("progress"));

    const Sight &outcome = sights[1];
    QCOMPARE(outcome.kind, QStringLiteral("message"));
    QCOMPARE(outcome.title, QStringLiteral("QVB Restore Failed"));
    QCOMPARE(outcome.text, QStringLiteral("The process of restoring a backup file failed.  "
                                          "Please try restoring the backup again."));
    // While the user reads the message the unpacked data are still there...
    QVERIFY(outcome.restored);
    QVERIFY(outcome.marker);
    // ...and once it is dismissed the data areas are empty again, hidden entries apart.
    QVERIFY(!QFileInfo::exists(Restored));
    QVERIFY(!QFileInfo::exists(RestoredOem));
    QVERIFY(!QFileInfo::exists(Marker));
    QVERIFY(QFileInfo::exists(OldHidden));
    QVERIFY(QDir(QStringLiteral("/home/data")).exists());
    QVERIFY(QDir(QStringLiteral("/opt/OEM/data")).exists());
}

void RestoreInterfaceTest::unopenableFileIsReportedBeforeAnythingIsWiped()
{
    const QString missing = QStringLiteral("/media/usb/no such file.qvb");
    const QList<Sight> sights = Restore(missing);
    QCOMPARE(sights.size(), 3);

    const Sight &openFailure = sights[0];
    QCOMPARE(openFailure.kind, QStringLiteral("message"));
    QCOMPARE(openFailure.title, QStringLiteral("Restore Memory"));
    QCOMPARE(openFailure.text, QStringLiteral("Cannot open file /media/usb/no such file.qvb"));
    QVERIFY(openFailure.oldVisible);
    QVERIFY(openFailure.database);
    QVERIFY(!openFailure.marker);

    // The restore goes on regardless: wipe, marker, job, failure.
    QCOMPARE(sights[1].kind, QStringLiteral("progress"));
    QVERIFY(!sights[1].oldVisible);
    QVERIFY(sights[1].marker);
    QCOMPARE(sights[2].title, QStringLiteral("QVB Restore Failed"));
    QVERIFY(!QFileInfo::exists(Marker));
    QVERIFY(QFileInfo::exists(OldHidden));
}

QTEST_MAIN(RestoreInterfaceTest)
#include "tst_restoreinterface.moc"
