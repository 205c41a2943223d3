// The dialog family: stack and overlays, button rows, message, legacy, info and progress
// dialogs, as drawn. In a throwaway root, so only the compiled-in pictures are found.

#include "DialogGallery.h"
#include "InfoDialog.h"
#include "LegacyMessageDialog.h"
#include "MessageDialog.h"
#include "Overlay.h"
#include "ProgressDialog.h"
#include "RestoreTexts.h"
#include "TestSupport.h"

#include <QtTest>
#include <QtWidgets>

using namespace Generic;

namespace {

const QColor kGreen(50, 181, 50);
const QColor kRed(181, 50, 50);

template <class T = QPushButton>
T *Child(QObject *parent, const QString &name)
{
    // The legacy form's names start with "ui_", the others' mostly not.
    const QList<T *> found = parent->findChildren<T *>(QRegularExpression("^(ui_)?" + name + "$"));
    return found.isEmpty() ? nullptr : found.first();
}

QColor PixelOf(QWidget *dialog, QWidget *child, QPoint at)
{
    return dialog->grab().toImage().pixelColor(child->mapTo(dialog, at));
}

// The buttons the user sees: a accept (left), o centre (middle), c cancel (right), h help.
QString Shown(QWidget *dialog)
{
    QString shown;
    for (const char *name : {"buttonAccept", "buttonOk", "buttonCancel", "buttonHelp"})
        if (QPushButton *button = Child(dialog, name); button && button->isVisibleTo(dialog))
            shown += QChar::fromLatin1(name[6]).toLower();
    return shown;
}

// The dialogs the tables name; a kind ending in a digit takes that button mode.
Dialog *Create(const QString &kind)
{
    const int mode = kind.back().digitValue();
    if (kind == "information")
        return MessageDialog::CreateInformation("T", "X");
    if (kind == "question")
        return MessageDialog::CreateQuestion("T", "X");
    if (kind == "wait")
        return MessageDialog::CreateWait("T", "X", 0);
    if (kind.startsWith("progress"))
        return mode < 0 ? new ProgressDialog : new ProgressDialog(mode);
    if (kind.startsWith("legacy"))
        return new LegacyMessageDialog(nullptr, mode, Images::MessageWarning);
    if (kind.startsWith("info")) {
        auto *info = new InfoDialog(nullptr, kind == "info");
        auto *contents = new QLabel("Details here");
        contents->setWindowTitle("Details");
        info->SetContents(contents);
        return info;
    }
    if (kind == "plain") {
        auto *dialog = new Dialog;
        dialog->resize(300, 200);
        return dialog;
    }
    auto *dialog = new StandardButtonsDialog(mode, nullptr, !kind.startsWith("unframed"));
    if (kind == "own size") // a subclass's own minimum survives the default sizing
        dialog->setFixedSize(600, 400);
    dialog->ApplyDefaultSize();
    return dialog;
}

// A dialog-kinds row: title empty is not checked, icon -1 is none, panel: the contents frame
// is filled.
struct Kind { QString kind; QSize size; QString shown, title; int icon; bool panel; QString click; int result; };

// Each kind has its own SetTitle; the info dialog's is no slot.
void SetTitle(Dialog *dialog, const QString &title)
{
    if (auto *info = qobject_cast<InfoDialog *>(dialog))
        return info->SetTitle(title);
    QVERIFY(QMetaObject::invokeMethod(dialog, "SetTitle", Q_ARG(QString, title)));
}

// As the display's programs write them: form and slots across the frame; may refuse.
class ContentDialog : public StandardButtonsDialog
{
    Q_OBJECT
public:
    ContentDialog()
        : StandardButtonsDialog(0)
    {
        checkBox = new QCheckBox("Detail", ContentsFrame());
        checkBox->setObjectName("ui_checkBoxDetail");
        ConnectContentsSlots(this, ContentsFrame());
    }
    bool CanAccept() override { return !refuse; }

    QCheckBox *checkBox;
    bool refuse = false;
    QList<bool> toggles;

public slots:
    void on_ui_checkBoxDetail_toggled(bool on) { toggles << on; }
};

// The restore program's font and a language (0 English, 1 German); cleanup() undoes both.
void UseLook(int language)
{
    Gallery::UseDisplayFont();
    QVERIFY(Gallery::UseLanguage(Gallery::Language(language), QStringLiteral(QVB_GERMAN_QM)));
}

} // namespace

Q_DECLARE_METATYPE(Kind)

class TestGeneric : public QObject
{
    Q_OBJECT

    // Clicks the named button of the top modal dialog once exec() runs its event loop.
    void ClickLater(const QString &button)
    {
        QTimer::singleShot(0, this, [=] {
            m_clicked = QApplication::activeModalWidget();
            QVERIFY(m_clicked);
            QTest::mouseClick(Child(m_clicked, button), Qt::LeftButton);
        });
    }

    QPointer<QWidget> m_clicked;
    const QFont m_font = QApplication::font();
    int m_posted = 0; // events a legacy dialog posted to this object

    void customEvent(QEvent *) override { ++m_posted; }

private slots:
    void initTestCase() { QVB_REQUIRE_THROWAWAY_ROOT(); }

    void cleanup()
    {
        for (QWidget *window : QApplication::topLevelWidgets()) // a dialog may delete another (its help)
            window->deleteLater();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(Dialog::Stack().size(), 0);
        Gallery::UseLanguage(Gallery::Language::English, QString());
        QApplication::setFont(m_font);
    }

    void dialogBase()
    {
        Dialog *a = new Dialog, *b = new Dialog, *loose = new Dialog;
        loose->setModal(false);
        QSignalSpy aDisabled(a, &Dialog::Disabled), aEnabled(a, &Dialog::Enabled);
        a->show();
        a->lower(); // alone on the stack: changes nothing
        b->show();
        loose->show(); // stacked, but covers nothing
        QCOMPARE(Dialog::Stack(), (QList<Dialog *>{a, b, loose}));
        QCOMPARE(aDisabled.count(), 1);
        QVERIFY(!a->IsEnabled() && b->IsEnabled());
        auto *overlay = a->findChild<Widgets::Overlay *>();
        QVERIFY(overlay && overlay->isVisible() && overlay->geometry() == a->rect());
        loose->hide();
        b->hide();
        QCOMPARE(Dialog::Stack(), QList<Dialog *>{a});
        QCOMPARE(aEnabled.count(), 1);
        QVERIFY(a->IsEnabled() && !a->findChild<Widgets::Overlay *>());
        QTRY_COMPARE(QApplication::activeWindow(), a);

        b->show();
        b->lower();
        QCOMPARE(Dialog::Stack(), (QList<Dialog *>{b, a}));
        QVERIFY(!b->IsEnabled() && a->IsEnabled());
        b->raise();
        QCOMPARE(Dialog::Stack(), (QList<Dialog *>{a, b}));
        QVERIFY(b->IsEnabled() && !a->IsEnabled());
        delete b;
        QCOMPARE(Dialog::Stack(), QList<Dialog *>{a});
        QVERIFY(a->IsEnabled());

        QShowEvent again; // shown twice, one hide takes both
        QApplication::sendEvent(a, &again);
        QCOMPARE(Dialog::Stack(), (QList<Dialog *>{a, a}));
        a->hide();
        QCOMPARE(Dialog::Stack().size(), 0);

        a->setMinimumSize(200, 100);
        a->SetFullScreen(false); // before any switch on: nothing to bring back
        QCOMPARE(a->minimumSize(), QSize(200, 100));
        a->SetFullScreen(true);
        QVERIFY(a->windowFlags() & Qt::FramelessWindowHint);
        QCOMPARE(a->maximumSize(), QSize(1024, 768));
        a->SetFullScreen(false);
        QVERIFY(!(a->windowFlags() & Qt::FramelessWindowHint));
        QCOMPARE(a->minimumSize(), QSize(200, 100));
    }

    // Clicks on a covered dialog land on its overlay, which dims what is drawn beneath.
    void coveredDialog()
    {
        ContentDialog *below = new ContentDialog;
        below->checkBox->toggle();
        below->checkBox->toggle();
        QCOMPARE(below->toggles, (QList<bool>{true, false}));
        below->show();
        QVERIFY(QTest::qWaitForWindowExposed(below));
        QPushButton *accept = Child(below, "buttonAccept");
        const QPoint at = accept->mapTo(below, QPoint(8, accept->height() / 2));

        QPointer<Dialog> top = Create("information");
        top->show();
        QVERIFY(QTest::qWaitForWindowExposed(top));
        // Black at alpha 102 keeps 153 / 255 of each channel: (30, 108.6, 30).
        const QColor dimmed = below->grab().toImage().pixelColor(at);
        QVERIFY2(dimmed.red() == 30 && qAbs(dimmed.green() - 109) <= 1 && dimmed.blue() == 30, qPrintable(dimmed.name()));
        QVERIFY(qobject_cast<Widgets::Overlay *>(below->childAt(at)));
        QSignalSpy finished(below, &QDialog::finished);
        QTest::mouseClick(below->windowHandle(), Qt::LeftButton, Qt::NoModifier, at);
        QCOMPARE(finished.count(), 0);

        QPushButton *ok = Child(top, "buttonOk");
        QTest::mouseClick(top->windowHandle(), Qt::LeftButton, Qt::NoModifier, ok->mapTo(top, ok->rect().center()));
        // Shown with show(), the message deletes itself once closed, maybe within the click.
        QTRY_VERIFY(top.isNull());
        QCOMPARE(below->grab().toImage().pixelColor(at), kGreen);

        // A refused accept leaves the dialog open and usable; cancel does not ask.
        below->refuse = true;
        QTest::mouseClick(below->windowHandle(), Qt::LeftButton, Qt::NoModifier, at);
        QVERIFY(below->isVisible() && Child<QWidget>(below, "widgetButtons")->isEnabled());
        QTest::mouseClick(Child(below, "buttonCancel"), Qt::LeftButton);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.at(0).at(0).toInt(), 0);
    }

    // Every kind as shown; the contents panel is filled with the application's window colour
    // unless unframed. Only the legacy middle button posts the event it was given.
    void dialogKinds_data()
    {
        QTest::addColumn<Kind>("k");
        const QSize full(818, 610), box(520, 315);
        QTest::newRow("0 accept") << Kind{"0", full, "ac", "", -1, true, "buttonAccept", 1};
        QTest::newRow("1 done") << Kind{"1", full, "o", "", -1, true, "buttonOk", 1};
        QTest::newRow("2 cancel") << Kind{"2", full, "c", "", -1, true, "buttonCancel", 0};
        QTest::newRow("3 none, unframed") << Kind{"unframed 3", full, "", "", -1, false, "", 0};
        // No digit: mode -1, which leaves the buttons as the form made them.
        QTest::newRow("own size, other mode") << Kind{"own size", QSize(600, 400), "aoc", "", -1, true, "", 0};
        QTest::newRow("plain") << Kind{"plain", QSize(300, 200), "", "", -1, false, "", 0};
        QTest::newRow("information") << Kind{"information", box, "o", "T", 56, true, "buttonOk", 1};
        QTest::newRow("question") << Kind{"question", box, "ac", "T", 60, true, "buttonCancel", 0};
        QTest::newRow("wait") << Kind{"wait", box, "", "T", 59, true, "", 0};
        QTest::newRow("progress") << Kind{"progress", box, "", "Progress", -1, true, "", 0};
        QTest::newRow("progress done") << Kind{"progress 1", box, "o", "Progress", -1, true, "buttonOk", 1};
        QTest::newRow("info") << Kind{"info", full, "", "Details", -1, true, "buttonExit", 0};
        QTest::newRow("info unframed") << Kind{"info unframed", full, "", "Details", -1, false, "", 0};
        QTest::newRow("legacy 0 left") << Kind{"legacy 0", box, "ac", "", 57, false, "buttonAccept", 1};
        QTest::newRow("legacy 2 middle") << Kind{"legacy 2", box, "aoc", "", 57, false, "buttonOk", 2};
        QTest::newRow("legacy 2 right") << Kind{"legacy 2", box, "aoc", "", 57, false, "buttonCancel", 0};
        QTest::newRow("legacy 3 none") << Kind{"legacy 3", box, "", "", 57, false, "", 0};
    }

    void dialogKinds()
    {
        QFETCH(Kind, k);
        QPointer<Dialog> dialog = Create(k.kind);
        if (auto *info = qobject_cast<InfoDialog *>(dialog)) // shown, never run: returns at once
            QVERIFY(info->exec() == 0 && !info->isVisible());
        if (auto *legacy = qobject_cast<LegacyMessageDialog *>(dialog))
            legacy->SetPostedEvent(this, QEvent::User + 5);
        dialog->show();
        QCOMPARE(dialog->size(), k.size);
        QVERIFY(dialog->minimumSize() == k.size && dialog->maximumSize() == k.size); // fixed once shown
        QCOMPARE(Shown(dialog), k.shown);
        if (auto *row = Child<QWidget>(dialog, "(widget|frame)Buttons"))
            QCOMPARE(row->isVisible(), !k.shown.isEmpty());
        if (!k.title.isEmpty())
            QCOMPARE(Child<QLabel>(dialog, "labelTitle")->text(), k.title);
        if (k.icon >= 0) // the message pictures are compiled in: never null here
            QCOMPARE(Child<QLabel>(dialog, "(labelIcon|pixmapIcon)")->pixmap(Qt::ReturnByValue).toImage(),
                     ImagePixmap(Images::Type(k.icon)).toImage());
        if (auto *text = Child<QLabel>(dialog, "labelText"))
            QCOMPARE(text->text(), QString("X"));
        if (auto *frame = Child<QFrame>(dialog, "frameContents")) { // just inside its border
            const QColor window = QApplication::palette().color(QPalette::Window);
            QCOMPARE(PixelOf(dialog, frame, QPoint(frame->width() / 2, 3)) == window, k.panel);
        }
        if (k.click.isEmpty())
            return;
        auto *button = Child<QAbstractButton>(dialog, k.click);
        if (qobject_cast<QPushButton *>(button)) {
            const QColor colour = k.click == "buttonCancel" ? kRed : kGreen;
            QCOMPARE(PixelOf(dialog, button, QPoint(8, button->height() / 2)), colour);
            QCOMPARE(button->palette().color(QPalette::ButtonText), QColor(Qt::white));
        }
        QSignalSpy finished(dialog.data(), &QDialog::finished);
        m_posted = 0;
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.at(0).at(0).toInt(), k.result);
        QCoreApplication::sendPostedEvents(this);
        QCOMPARE(m_posted, k.kind.startsWith("legacy") && k.click == "buttonOk" ? 1 : 0);
        QTRY_VERIFY(dialog.isNull()); // shown with show(): deletes itself once closed
    }

    void buttonDescriptions()
    {
        QPointer<StandardButtonsDialog> dialog = new StandardButtonsDialog(1);
        QPushButton *centre = Child(dialog, "buttonOk");
        auto picture = [](QPushButton *b) { return b->icon().pixmap(b->iconSize()).toImage(); };
        QCOMPARE(picture(centre), ImagePixmap(Images::StandardAccept).toImage());
        // Any result passes through; a cancel picture may sit on any button.
        dialog->SetCenterButton(ResultButtonInfo(true, Images::StandardCancel, "Retry", 7));
        QCOMPARE(centre->text(), QString("Retry"));
        QCOMPARE(picture(centre), ImagePixmap(Images::StandardCancel).toImage());
        dialog->EnableAccept(false); // accept and centre together
        QVERIFY(!Child(dialog, "buttonAccept")->isEnabled() && !centre->isEnabled());
        dialog->EnableAccept();

        QPointer<QWidget> help = new QLabel("Help");
        dialog->SetHelpWidget(help);
        dialog->move(10, 20); // placed by the caller: stays there, not centred
        dialog->show();
        QCOMPARE(dialog->pos(), QPoint(10, 20));
        QCOMPARE(Shown(dialog), QString("oh"));
        QPushButton *helpButton = Child(dialog, "buttonHelp");
        QCOMPARE(PixelOf(dialog, helpButton, QPoint(8, 30)), QColor(50, 120, 181));
        QTest::mouseClick(helpButton, Qt::LeftButton);
        QVERIFY(help->isVisible());
        dialog->SetHelpWidget(new QLabel("More help"));
        QVERIFY(help.isNull());

        // Run with exec(), it outlives its closing: the caller deletes it.
        dialog->hide();
        ClickLater("buttonOk");
        QCOMPARE(dialog->exec(), 7);
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!dialog.isNull());
    }

    // Show helpers run the dialog and delete it; a question is answered from a timer.
    void messageHelpers()
    {
        ClickLater("buttonAccept");
        QCOMPARE(MessageDialog::ShowQuestion("Restore", "Replace all data?"), 1);
        QVERIFY(m_clicked.isNull());
        ClickLater("buttonCancel");
        QCOMPARE(MessageDialog::ShowQuestion("Restore", "Replace all data?"), 0);

        QElapsedTimer clock;
        clock.start();
        QPointer<MessageDialog> timed = MessageDialog::CreateWait("Wait", "Working", 300);
        MessageDialog *lasting = MessageDialog::CreateWait("Wait", "Working", 0);
        lasting->show();
        timed->show();
        QTRY_VERIFY_WITH_TIMEOUT(timed.isNull(), 5000); // rejected and deleted itself
        QVERIFY(clock.elapsed() >= 290);
        MessageDialog::ShowWait("Wait", "Working", 300);
        QVERIFY(clock.elapsed() >= 590);
        QVERIFY(lasting->isVisible());
    }

    // The colours follow the picture, icon 0 gives back the dialog's own; a caption gets room
    // beside its picture and a shorter one gives the room back.
    void legacyDescriptions()
    {
        UseLook(0);
        auto *dialog = LegacyMessageDialog::Create(nullptr, "Title", "Text", "Keep", "OK", "");
        QPushButton *left = Child(dialog, "buttonAccept"), *middle = Child(dialog, "buttonOk");
        auto colour = [](QWidget *w) { return w->palette().color(QPalette::Button); };
        QCOMPARE(left->text(), QString("Keep"));
        QCOMPARE(colour(left), colour(dialog)); // no picture: icon 0
        dialog->SetLeftButton(CancelButton());
        QCOMPARE(colour(left), kRed);
        dialog->SetLeftButton(ResultButtonInfo(true, Images::MessageInfo, "Info", 0));
        QCOMPARE(colour(left), kRed);
        // Descriptions may arrive queued, also through connections made by name, which find the
        // argument types by name.
        QVERIFY(QMetaType::type("Generic::ResultButtonInfo") != QMetaType::UnknownType);
        QVERIFY(QMetaObject::invokeMethod(dialog, "SetButtonInfo", Qt::QueuedConnection,
                                          Q_ARG(Generic::LegacyMessageDialog::Button, LegacyMessageDialog::Left),
                                          Q_ARG(Generic::ResultButtonInfo, AcceptButton())));
        QTRY_COMPARE(colour(left), kGreen);
        dialog->SetLeftButton(ResultButtonInfo(true, Images::Undefined, "Keep", 1));
        QCOMPARE(colour(left), colour(dialog));

        const int formWidth = middle->width();
        dialog->SetMiddleButton(OkButton("Alle Änderungen verwerfen"));
        dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        QVERIFY2(Gallery::Problems(dialog).isEmpty(), qPrintable(Gallery::Problems(dialog).join('\n')));
        QVERIFY(middle->width() > formWidth);
        dialog->SetMiddleButton(OkButton("OK"));
        QVERIFY(middle->minimumWidth() == formWidth && middle->maximumWidth() == formWidth);
    }

    void progressDialog()
    {
        auto *dialog = new ProgressDialog;
        dialog->SetProgressCount(42);
        dialog->show();

        // Drawn blue from the left edge (x = 1) for 42 percent of the inner width.
        auto *bar = Child<QProgressBar>(dialog, "progressBar");
        const QImage image = dialog->grab().toImage();
        const QPoint origin = bar->mapTo(dialog, QPoint(0, 3)); // clear of the percentage
        int run = 0;
        while (image.pixelColor(origin + QPoint(run + 1, 0)) == QColor(0, 102, 204))
            ++run;
        QVERIFY2(qAbs(run - (bar->width() - 2) * 42 / 100) <= 2, qPrintable(QString::number(run)));

        dialog->SetIndeterminate();
        dialog->SetProgressMaximum(100);
        // The restore driver feeds it from its worker thread: queued, by the slot's name.
        QMetaObject::invokeMethod(dialog, "SetProgressCount", Qt::QueuedConnection, Q_ARG(int, 5));
        QTRY_COMPARE(bar->value(), 5);

        auto *option = Child<QCheckBox>(dialog, "checkBoxOption");
        dialog->SetOptionVisible(true);
        QSignalSpy toggled(dialog, &ProgressDialog::CheckBoxToggled);
        QTest::mouseClick(option, Qt::LeftButton);
        QTest::mouseClick(option, Qt::LeftButton);
        QCOMPARE(toggled, (QList<QList<QVariant>>{{true}, {false}}));
    }

    // Every kind of dialog, in both languages, as the operator sees it: centred on the
    // screen, every text and caption whole, titles over the middle.
    void everyDialogFits_data()
    {
        QTest::addColumn<int>("language");
        QTest::addColumn<int>("kind");
        const QList<Gallery::Kind> kinds = Gallery::Kinds();
        for (int language : {0, 1})
            for (int i = 0; i < kinds.size(); ++i)
                QTest::addRow("%s %s", language ? "de" : "en", qPrintable(kinds[i].name)) << language << i;
    }
    void everyDialogFits()
    {
        QFETCH(int, language);
        QFETCH(int, kind);
        UseLook(language);
        QStringList problems;
        for (QWidget *window : Gallery::Kinds().at(kind).show(Gallery::Language(language))) {
            QVERIFY(QTest::qWaitForWindowExposed(window));
            problems << Gallery::Problems(window);
        }
        QVERIFY2(problems.isEmpty(), qPrintable(problems.join('\n')));
    }

    // A title too long for 22 points is drawn smaller, down to 14, else wrapped; a shorter
    // one set afterwards gets the form's 22 points back.
    void titleFitsItsLabel_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char *kind : {"information", "legacy 1", "info"})
            QTest::newRow(kind) << kind;
    }
    void titleFitsItsLabel()
    {
        QFETCH(QString, kind);
        UseLook(0);
        Dialog *dialog = Create(kind);
        auto *label = Child<QLabel>(dialog, "labelTitle");
        dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        SetTitle(dialog, "QVB-Wiederherstellung fehlgeschlagen");
        const qreal points = label->font().pointSizeF();
        QVERIFY2(points < 22 && points >= 14 && !label->wordWrap(), qPrintable(QString::number(points)));
        QVERIFY2(Gallery::Problems(dialog).isEmpty(), qPrintable(Gallery::Problems(dialog).join('\n')));
        SetTitle(dialog, "Die Wiederherstellung der Sicherung vom USB-Speichermedium ist leider nicht vollständig gelungen");
        QVERIFY(label->wordWrap() && QFontMetrics(label->font()).lineSpacing() * 2 <= label->height());
        QVERIFY2(Gallery::Problems(dialog).isEmpty(), qPrintable(Gallery::Problems(dialog).join('\n')));
        SetTitle(dialog, "Backup Restored");
        QCOMPARE(label->text(), QString("Backup Restored"));
        QVERIFY(label->font().pointSizeF() == 22 && !label->wordWrap() && label->font().bold());
    }

    // The restore program's texts in both languages, the open failure without a path too
    // (started without an argument): never a double blank or a blank at the end.
    void restoreTexts()
    {
        const QString path = "/media/usb/a b.qvb";
        QCOMPARE(RestoreTexts::OpenFailure(path), "Cannot open file " + path);
        QCOMPARE(RestoreTexts::OpenFailure(""), QString("Cannot open file"));
        QCOMPARE(RestoreTexts::OpenFailure("/x/%1.qvb"), QString("Cannot open file /x/%1.qvb"));
        UseLook(1);
        QCOMPARE(RestoreTexts::OpenFailure(path), "Datei " + path + " kann nicht geöffnet werden");
        QCOMPARE(RestoreTexts::OpenFailure(""), QString("Datei kann nicht geöffnet werden"));
        QCOMPARE(RestoreTexts::FailedTitle(), QString("Wiederherstellung fehlgeschlagen"));
    }
};

QTEST_MAIN(TestGeneric)
#include "tst_generic.moc"
