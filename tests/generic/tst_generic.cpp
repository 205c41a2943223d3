// The dialog family: the dialog stack and its overlays, the standard button row, the
// message, legacy message, info and progress dialogs, and what they look like when
// drawn. Runs inside a throwaway root, so only the compiled-in pictures are found.

#include "Dialog.h"
#include "Images.h"
#include "InfoDialog.h"
#include "LegacyMessageDialog.h"
#include "MessageDialog.h"
#include "Overlay.h"
#include "PixmapButton.h"
#include "ProgressDialog.h"
#include "ResultButtonInfo.h"
#include "StandardButtonsDialog.h"
#include "TestSupport.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QThread>
#include <QTimer>
#include <QVBoxLayout>
#include <QtTest>

#include <functional>

Q_DECLARE_METATYPE(std::function<Generic::Dialog *()>)
Q_DECLARE_METATYPE(std::function<Generic::MessageDialog *()>)
Q_DECLARE_METATYPE(std::function<Generic::StandardButtonsDialog *()>)

using Generic::Dialog;
using Generic::MessageDialog;
using Generic::ResultButtonInfo;

namespace {

const QColor kGreen(50, 181, 50);
const QColor kRed(181, 50, 50);
const QColor kBlue(50, 120, 181);
const QColor kBar(0, 102, 204);

template <class T = QPushButton>
T *Child(QObject *parent, const char *name)
{
    return parent->findChild<T *>(QString::fromLatin1(name));
}

QPoint CentreIn(QWidget *dialog, QWidget *widget)
{
    return widget->mapTo(dialog, widget->rect().center());
}

// A pixel of the drawn dialog, given in a child's coordinates.
QColor PixelOf(QWidget *dialog, QWidget *child, QPoint at)
{
    return dialog->grab().toImage().pixelColor(child->mapTo(dialog, at));
}

QString Describe(const QColor &c)
{
    return QString("(%1, %2, %3)").arg(c.red()).arg(c.green()).arg(c.blue());
}

// A content dialog as the display's programs write them: its form lives inside the
// contents frame, its slots are connected across the frame, and it may refuse to accept.
class ContentDialog : public Generic::StandardButtonsDialog
{
    Q_OBJECT
public:
    explicit ContentDialog(int mode = 0)
        : StandardButtonsDialog(mode)
    {
        auto *panel = new QWidget;
        panel->setObjectName("panel");
        auto *layout = new QVBoxLayout(panel);
        checkBox = new QCheckBox("Detail", panel);
        checkBox->setObjectName("ui_checkBoxDetail");
        layout->addWidget(checkBox);
        SetContents(panel, "Content");
        ApplyDefaultSize();
        ConnectContentsSlots(this, panel);
    }

    bool CanAccept() override { return !refuse; }

    QCheckBox *checkBox;
    bool refuse = false;
    QList<bool> toggles;
    QStringList titles;

public slots:
    void on_ui_checkBoxDetail_toggled(bool on) { toggles << on; }
    // The contents widget itself bears the name "panel".
    void on_panel_windowTitleChanged(const QString &title) { titles << title; }
    // Neither an object nor a signal of these names exists: left alone.
    void on_nothing_clicked() {}
    void on_ui_checkBoxDetail_noSuchSignal() {}
};

// A subclass that fixes its own minimum size before the default sizing runs.
class OwnSizeDialog : public Generic::StandardButtonsDialog
{
public:
    OwnSizeDialog()
        : StandardButtonsDialog(1)
    {
        setMinimumSize(600, 400);
        resize(600, 400);
        ApplyDefaultSize();
    }
};

class Emitter : public QObject
{
    Q_OBJECT
signals:
    void Percent(int percent);
};

class EventRecorder : public QObject
{
public:
    QList<int> types;
    bool event(QEvent *event) override
    {
        types << int(event->type());
        return true;
    }
};

} // namespace

class TestGeneric : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    // dialog stack
    void modalDialogCoversTheOneBelow();
    void nonModalDialogLeavesItUncovered();
    void sameDialogShownTwiceIsRemovedByOneHide();
    void destroyedDialogLeavesTheStack();
    void lowerAndRaise();
    void onlyTheTopDialogTakesClicks();
    void dialogSizeIsFixedOnceShown();
    void fullScreenSwitch();
    void findParentDialogAndStackUnder();

    // standard button row
    void buttonModes_data();
    void buttonModes();
    void buttonClicks_data();
    void buttonClicks();
    void refusedAcceptKeepsDialogOpen();
    void buttonDescriptions();
    void enableAcceptCancelCenter();
    void execKeepsDialogAlive();
    void contentsSlotsConnectAcrossFrame();
    void helpWidget();
    void dialogSizes_data();
    void dialogSizes();

    // result buttons and message dialogs
    void presets_data();
    void presets();
    void resultButtonInfoTravelsQueued();
    void createFunctions_data();
    void createFunctions();
    void showQuestionAnswers_data();
    void showQuestionAnswers();
    void showInformationWaitsAndDeletes();
    void waitDialogClosesItself();
    void waitDialogWithoutTimeOutStays();
    void showWaitReturnsAfterTimeOut();

    // legacy message and info dialogs
    void legacyModes_data();
    void legacyModes();
    void legacyThreeWayChoice();
    void legacyButtonColoursFollowIcon();
    void legacyPostedEventOnlyFromMiddle_data();
    void legacyPostedEventOnlyFromMiddle();
    void legacyCreate();
    void infoDialog();

    // progress dialog
    void progressInitialState();
    void progressCounts_data();
    void progressCounts();
    void progressRangeAndOption();
    void progressFromWorkerThread();
    void progressButtonMode();

    // what is drawn
    void drawnButtonColours_data();
    void drawnButtonColours();
    void drawnCaptionIsWhite();
    void drawnProgressBar_data();
    void drawnProgressBar();
    void drawnOverlayDimsCoveredDialog();

private:
    template <class T>
    T *Own(T *widget)
    {
        m_owned << widget;
        return widget;
    }
    // Clicks the named button of the top dialog as soon as one is shown (counted in
    // m_clicks; the dialog is kept in *clicked).
    void ClickWhenShown(const QString &button, QPointer<QWidget> *clicked = nullptr);

    QList<QPointer<QWidget>> m_owned;
    int m_clicks = 0;
};

void TestGeneric::initTestCase()
{
    QVB_REQUIRE_THROWAWAY_ROOT();
}

void TestGeneric::cleanup()
{
    for (const QPointer<QWidget> &widget : m_owned)
        delete widget.data();
    m_owned.clear();
    QCOMPARE(Dialog::Stack().size(), 0);
}

void TestGeneric::ClickWhenShown(const QString &button, QPointer<QWidget> *clicked)
{
    auto *poll = new QTimer(this);
    auto *started = new QElapsedTimer;
    started->start();
    connect(poll, &QTimer::timeout, this, [=] {
        QWidget *top = QApplication::activeModalWidget();
        if (top && top->isVisible()) {
            if (clicked)
                *clicked = top;
            ++m_clicks;
            QTest::mouseClick(Child(top, qPrintable(button)), Qt::LeftButton);
        } else if (started->elapsed() < 5000) {
            return;
        }
        poll->deleteLater();
        delete started;
    });
    poll->start(20);
}

// ---- dialog stack ------------------------------------------------------------------

void TestGeneric::modalDialogCoversTheOneBelow()
{
    Dialog *a = Own(new Dialog);
    Dialog *b = Own(new Dialog);
    QSignalSpy disabled(a, &Dialog::Disabled);
    QSignalSpy enabled(a, &Dialog::Enabled);

    a->show();
    QVERIFY(a->IsEnabled());
    b->show();
    QCOMPARE(Dialog::Stack(), (QList<Dialog *>{a, b}));
    QCOMPARE(disabled.count(), 1);
    QVERIFY(!a->IsEnabled());
    auto *overlay = a->findChild<Widgets::Overlay *>();
    QVERIFY(overlay && overlay->isVisible());
    QCOMPARE(overlay->geometry(), a->rect());

    b->hide();
    QCOMPARE(Dialog::Stack(), QList<Dialog *>{a});
    QCOMPARE(enabled.count(), 1);
    QVERIFY(a->IsEnabled());
    QVERIFY(!a->findChild<Widgets::Overlay *>());
    QTRY_COMPARE(QApplication::activeWindow(), a);
}

void TestGeneric::nonModalDialogLeavesItUncovered()
{
    Dialog *a = Own(new Dialog);
    Dialog *b = Own(new Dialog);
    b->setModal(false);
    QSignalSpy disabled(a, &Dialog::Disabled);
    a->show();
    b->show();
    QCOMPARE(Dialog::Stack(), (QList<Dialog *>{a, b}));
    QCOMPARE(disabled.count(), 0);
    QVERIFY(a->IsEnabled());
}

void TestGeneric::sameDialogShownTwiceIsRemovedByOneHide()
{
    Dialog *a = Own(new Dialog);
    a->show();
    QShowEvent again;
    QApplication::sendEvent(a, &again);
    QCOMPARE(Dialog::Stack(), (QList<Dialog *>{a, a}));
    a->hide();
    QCOMPARE(Dialog::Stack().size(), 0);

    // Window-system show and hide events leave the stack alone.
    a->show();
    QShowEvent fromWindowSystem;
    QHideEvent hiddenByWindowSystem;
    QSpontaneKeyEvent::setSpontaneous(&fromWindowSystem);
    QSpontaneKeyEvent::setSpontaneous(&hiddenByWindowSystem);
    // (sendEvent would clear the spontaneous flag)
    qApp->notify(a, &fromWindowSystem);
    qApp->notify(a, &hiddenByWindowSystem);
    QCOMPARE(Dialog::Stack(), QList<Dialog *>{a});
}

void TestGeneric::destroyedDialogLeavesTheStack()
{
    Dialog *a = Own(new Dialog);
    auto *b = new Dialog;
    QSignalSpy enabled(a, &Dialog::Enabled);
    a->show();
    b->show();
    delete b;
    QCOMPARE(Dialog::Stack(), QList<Dialog *>{a});
    QCOMPARE(enabled.count(), 1);
    QVERIFY(a->IsEnabled());
}

void TestGeneric::lowerAndRaise()
{
    Dialog *a = Own(new Dialog);
    Dialog *b = Own(new Dialog);
    QSignalSpy aDisabled(a, &Dialog::Disabled);

    // Alone on the stack: lowering changes nothing.
    a->show();
    a->lower();
    QCOMPARE(Dialog::Stack(), QList<Dialog *>{a});
    QCOMPARE(aDisabled.count(), 0);

    b->show(); // covers a
    QSignalSpy bDisabled(b, &Dialog::Disabled);
    QSignalSpy aEnabled(a, &Dialog::Enabled);
    b->lower();
    QCOMPARE(Dialog::Stack(), (QList<Dialog *>{b, a}));
    QCOMPARE(bDisabled.count(), 1);
    QVERIFY(!b->IsEnabled());
    QCOMPARE(aEnabled.count(), 1);
    QVERIFY(a->IsEnabled());

    QSignalSpy bEnabled(b, &Dialog::Enabled);
    b->raise();
    QCOMPARE(Dialog::Stack(), (QList<Dialog *>{a, b}));
    QCOMPARE(bEnabled.count(), 1);
    QVERIFY(b->IsEnabled());
    QVERIFY(!a->IsEnabled());
}

void TestGeneric::onlyTheTopDialogTakesClicks()
{
    ContentDialog *below = Own(new ContentDialog(0));
    below->show();
    QVERIFY(QTest::qWaitForWindowExposed(below));
    MessageDialog *top = Own(MessageDialog::CreateInformation("Title", "Text"));
    top->show();
    QVERIFY(QTest::qWaitForWindowExposed(top));

    QPushButton *accept = Child(below, "ui_buttonAccept");
    const QPoint at = CentreIn(below, accept);
    QVERIFY(qobject_cast<Widgets::Overlay *>(below->childAt(at)));
    QSignalSpy belowFinished(below, &QDialog::finished);
    QTest::mouseClick(below->windowHandle(), Qt::LeftButton, Qt::NoModifier, at);
    QCOMPARE(belowFinished.count(), 0);

    QTest::mouseClick(top->windowHandle(), Qt::LeftButton, Qt::NoModifier,
                      CentreIn(top, Child(top, "ui_buttonOk")));
    QVERIFY(!top->isVisible());
    QCOMPARE(below->childAt(at), accept);
    QTest::mouseClick(below->windowHandle(), Qt::LeftButton, Qt::NoModifier, at);
    QCOMPARE(belowFinished.count(), 1);
    QCOMPARE(belowFinished.at(0).at(0).toInt(), 1);
}

void TestGeneric::dialogSizeIsFixedOnceShown()
{
    Dialog *dialog = Own(new Dialog);
    auto *layout = new QVBoxLayout(dialog);
    dialog->resize(300, 200);
    dialog->show();
    QCOMPARE(dialog->minimumSize(), QSize(300, 200));
    QCOMPARE(dialog->maximumSize(), QSize(300, 200));
    auto *big = new QWidget;
    big->setMinimumSize(700, 500);
    layout->addWidget(big);
    QApplication::processEvents();
    QCOMPARE(dialog->size(), QSize(300, 200));
}

void TestGeneric::fullScreenSwitch()
{
    Dialog *dialog = Own(new Dialog);
    dialog->setMinimumSize(200, 100);
    dialog->setMaximumSize(400, 300);

    // Off before on: nothing remembered, only the flag goes.
    dialog->SetFullScreen(false);
    QCOMPARE(dialog->minimumSize(), QSize(200, 100));
    QCOMPARE(dialog->maximumSize(), QSize(400, 300));
    QVERIFY(!(dialog->windowFlags() & Qt::FramelessWindowHint));

    dialog->SetFullScreen(true);
    QVERIFY(dialog->windowFlags() & Qt::FramelessWindowHint);
    QCOMPARE(dialog->minimumSize(), QSize(1024, 768));
    QCOMPARE(dialog->maximumSize(), QSize(1024, 768));

    dialog->SetFullScreen(false);
    QVERIFY(!(dialog->windowFlags() & Qt::FramelessWindowHint));
    QCOMPARE(dialog->minimumSize(), QSize(200, 100));
    QCOMPARE(dialog->maximumSize(), QSize(400, 300));
}

void TestGeneric::findParentDialogAndStackUnder()
{
    Dialog *outer = Own(new Dialog);
    auto *inner = new Dialog(outer);
    auto *frame = new QWidget(inner);
    auto *label = new QLabel(frame);
    QCOMPARE(Dialog::FindParentDialog(label), inner);
    QCOMPARE(Dialog::FindParentDialog(inner), outer);
    QCOMPARE(Dialog::FindParentDialog(outer), nullptr);
    QCOMPARE(Dialog::FindParentDialog(nullptr), nullptr);

    QVERIFY(!outer->IsAccepted());
    outer->setResult(QDialog::Accepted);
    QVERIFY(outer->IsAccepted());

    QTest::ignoreMessage(QtWarningMsg, "Dialog::stackUnder not implemented.");
    outer->stackUnder(inner);
}

// ---- standard button row ------------------------------------------------------------

void TestGeneric::buttonModes_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("centre");
    QTest::addColumn<bool>("accept");
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<bool>("row");
    QTest::newRow("0 accept and cancel") << 0 << false << true << true << true;
    QTest::newRow("1 done") << 1 << true << false << false << true;
    QTest::newRow("2 cancel only") << 2 << false << false << true << true;
    QTest::newRow("3 none") << 3 << false << false << false << false;
    QTest::newRow("other: as the form made it") << 9 << true << true << true << true;
}

void TestGeneric::buttonModes()
{
    QFETCH(int, mode);
    QFETCH(bool, centre);
    QFETCH(bool, accept);
    QFETCH(bool, cancel);
    QFETCH(bool, row);

    auto *dialog = Own(new Generic::StandardButtonsDialog(mode));
    dialog->show();
    QCOMPARE(Child<QWidget>(dialog, "widgetButtons")->isVisible(), row);
    QCOMPARE(Child(dialog, "ui_buttonOk")->isVisibleTo(dialog), centre);
    QCOMPARE(Child(dialog, "ui_buttonAccept")->isVisibleTo(dialog), accept);
    QCOMPARE(Child(dialog, "ui_buttonCancel")->isVisibleTo(dialog), cancel);
    QVERIFY(!Child(dialog, "ui_buttonHelp")->isVisibleTo(dialog));
    QCOMPARE(dialog->IsAcceptEnabled(), accept);
    QVERIFY(dialog->testAttribute(Qt::WA_DeleteOnClose));
}

void TestGeneric::buttonClicks_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("result");
    QTest::newRow("accept") << 0 << "ui_buttonAccept" << 1;
    QTest::newRow("cancel beside accept") << 0 << "ui_buttonCancel" << 0;
    QTest::newRow("done") << 1 << "ui_buttonOk" << 1;
    QTest::newRow("cancel alone") << 2 << "ui_buttonCancel" << 0;
}

void TestGeneric::buttonClicks()
{
    QFETCH(int, mode);
    QFETCH(QString, button);
    QFETCH(int, result);

    auto *dialog = Own(new Generic::StandardButtonsDialog(mode));
    dialog->show();
    QSignalSpy finished(dialog, &QDialog::finished);
    QTest::mouseClick(Child(dialog, qPrintable(button)), Qt::LeftButton);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toInt(), result);
    QVERIFY(!dialog->isVisible());
    // Shown with show(), the dialog deletes itself once closed.
    QTRY_VERIFY(m_owned.last().isNull());
}

void TestGeneric::refusedAcceptKeepsDialogOpen()
{
    ContentDialog *dialog = Own(new ContentDialog(0));
    dialog->refuse = true;
    dialog->show();
    QSignalSpy finished(dialog, &QDialog::finished);
    QTest::mouseClick(Child(dialog, "ui_buttonAccept"), Qt::LeftButton);
    QCOMPARE(finished.count(), 0);
    QVERIFY(dialog->isVisible());
    QVERIFY(Child<QWidget>(dialog, "widgetButtons")->isEnabled());

    // Cancel does not ask.
    QTest::mouseClick(Child(dialog, "ui_buttonCancel"), Qt::LeftButton);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(dialog->result(), 0);
}

void TestGeneric::buttonDescriptions()
{
    auto *dialog = Own(new Generic::StandardButtonsDialog(1));
    QPushButton *centre = Child(dialog, "ui_buttonOk");

    // Any result passes through; a cancel picture may sit on any button.
    dialog->SetCenterButton(ResultButtonInfo(true, Images::StandardCancel, "Retry", 7));
    QCOMPARE(centre->text(), QString("Retry"));
    QCOMPARE(centre->icon().pixmap(centre->iconSize()).toImage(),
             ImagePixmap(Images::StandardCancel).toImage());
    dialog->show();
    QSignalSpy finished(dialog, &QDialog::finished);
    QTest::mouseClick(centre, Qt::LeftButton);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toInt(), 7);

    auto *other = Own(new Generic::StandardButtonsDialog(0));
    other->SetAcceptButton(Generic::NoButton());
    QVERIFY(!Child(other, "ui_buttonAccept")->isVisibleTo(other));
    QVERIFY(!other->IsAcceptEnabled());
}

void TestGeneric::enableAcceptCancelCenter()
{
    auto *dialog = Own(new Generic::StandardButtonsDialog(9)); // all three shown
    dialog->show();
    dialog->EnableAccept(false);
    QVERIFY(!Child(dialog, "ui_buttonAccept")->isEnabled());
    QVERIFY(!Child(dialog, "ui_buttonOk")->isEnabled());
    QVERIFY(!dialog->IsAcceptEnabled());
    dialog->EnableAccept();
    QVERIFY(dialog->IsAcceptEnabled());
    dialog->EnableCenter(false);
    QVERIFY(!Child(dialog, "ui_buttonOk")->isEnabled());
    QVERIFY(dialog->IsAcceptEnabled());
    dialog->EnableCancel(false);
    QVERIFY(!Child(dialog, "ui_buttonCancel")->isEnabled());
    dialog->EnableCenter();
    dialog->EnableCancel();
    QVERIFY(Child(dialog, "ui_buttonOk")->isEnabled());
    QVERIFY(Child(dialog, "ui_buttonCancel")->isEnabled());
}

void TestGeneric::execKeepsDialogAlive()
{
    QPointer<Generic::StandardButtonsDialog> dialog = new Generic::StandardButtonsDialog(0);
    Own(dialog.data());
    ClickWhenShown("ui_buttonAccept");
    QCOMPARE(dialog->exec(), 1);
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!dialog.isNull());
    QVERIFY(!dialog->testAttribute(Qt::WA_DeleteOnClose));
}

void TestGeneric::contentsSlotsConnectAcrossFrame()
{
    ContentDialog *dialog = Own(new ContentDialog(0));
    dialog->checkBox->toggle();
    dialog->checkBox->toggle();
    QCOMPARE(dialog->toggles, (QList<bool>{true, false}));
    dialog->checkBox->parentWidget()->setWindowTitle("Renamed");
    QCOMPARE(dialog->titles, QStringList{"Renamed"});
}

void TestGeneric::helpWidget()
{
    auto *dialog = Own(new Generic::StandardButtonsDialog(0));
    QPointer<QWidget> first = new QLabel("Help");
    first->setAttribute(Qt::WA_DeleteOnClose);
    dialog->SetHelpWidget(first);
    QVERIFY(!first->testAttribute(Qt::WA_DeleteOnClose));
    dialog->show();
    QPushButton *help = Child(dialog, "ui_buttonHelp");
    QVERIFY(help->isVisible());
    QCOMPARE(help->text(), QString("?"));
    QTest::mouseClick(help, Qt::LeftButton);
    QVERIFY(first->isVisible());

    QPointer<QWidget> second = new QLabel("More help");
    dialog->SetHelpWidget(second);
    QVERIFY(first.isNull());
    delete dialog;
    QVERIFY(second.isNull());
}

void TestGeneric::dialogSizes_data()
{
    QTest::addColumn<std::function<Dialog *()>>("make");
    QTest::addColumn<QSize>("size");
    QTest::newRow("content dialog") << std::function<Dialog *()>([] {
        auto *d = new Generic::StandardButtonsDialog(0);
        d->ApplyDefaultSize();
        return d;
    }) << QSize(818, 610);
    QTest::newRow("own minimum kept") << std::function<Dialog *()>([] { return new OwnSizeDialog; })
                                      << QSize(600, 400);
    QTest::newRow("message") << std::function<Dialog *()>([] {
        return MessageDialog::CreateWarning("T", "A long text that wraps over several lines of the box.");
    }) << QSize(520, 315);
    QTest::newRow("progress") << std::function<Dialog *()>([] { return new Generic::ProgressDialog; })
                              << QSize(520, 315);
    QTest::newRow("info") << std::function<Dialog *()>([] { return new Generic::InfoDialog; })
                          << QSize(818, 610);
}

void TestGeneric::dialogSizes()
{
    QFETCH(std::function<Dialog *()>, make);
    QFETCH(QSize, size);
    Dialog *dialog = Own(make());
    QCOMPARE(dialog->size(), size);
    dialog->show();
    QCOMPARE(dialog->size(), size);
    QCOMPARE(dialog->minimumSize(), size);
    QCOMPARE(dialog->maximumSize(), size);
}

// ---- result buttons and message dialogs ---------------------------------------------

void TestGeneric::presets_data()
{
    QTest::addColumn<ResultButtonInfo>("info");
    QTest::addColumn<bool>("visible");
    QTest::addColumn<int>("icon");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("result");
    QTest::newRow("default") << ResultButtonInfo() << false << 0 << QString() << 0;
    QTest::newRow("no button") << ResultButtonInfo(Generic::NoButton()) << false << 0 << QString() << 0;
    QTest::newRow("accept") << ResultButtonInfo(Generic::AcceptButton()) << true << 25 << "" << 1;
    QTest::newRow("accept with text") << ResultButtonInfo(Generic::AcceptButton("Yes")) << true << 25 << "Yes" << 1;
    QTest::newRow("ok") << ResultButtonInfo(Generic::OkButton("OK")) << true << 25 << "OK" << 1;
    QTest::newRow("done") << ResultButtonInfo(Generic::DoneButton()) << true << 25 << "" << 1;
    QTest::newRow("cancel") << ResultButtonInfo(Generic::CancelButton()) << true << 26 << "" << 0;
    QTest::newRow("cancel with text") << ResultButtonInfo(Generic::CancelButton("No")) << true << 26 << "No" << 0;
}

void TestGeneric::presets()
{
    QFETCH(ResultButtonInfo, info);
    QFETCH(bool, visible);
    QFETCH(int, icon);
    QFETCH(QString, text);
    QFETCH(int, result);
    QCOMPARE(info.visible, visible);
    QCOMPARE(info.icon, icon);
    QCOMPARE(info.text, text);
    QCOMPARE(info.text.isNull(), text.isNull());
    QCOMPARE(info.result, result);
}

void TestGeneric::resultButtonInfoTravelsQueued()
{
    QVERIFY(QMetaType::type("Generic::ResultButtonInfo") != QMetaType::UnknownType);
    auto *dialog = Own(new Generic::LegacyMessageDialog(nullptr, 3));
    QVERIFY(QMetaObject::invokeMethod(
        dialog, "SetButtonInfo", Qt::QueuedConnection,
        Q_ARG(Generic::LegacyMessageDialog::Button, Generic::LegacyMessageDialog::Right),
        Q_ARG(Generic::ResultButtonInfo, Generic::CancelButton("Stop"))));
    QPushButton *right = Child(dialog, "ui_buttonCancel");
    QVERIFY(right->text() != "Stop");
    QTRY_COMPARE(right->text(), QString("Stop"));
}

void TestGeneric::createFunctions_data()
{
    QTest::addColumn<std::function<MessageDialog *()>>("make");
    QTest::addColumn<int>("icon");
    QTest::addColumn<QString>("buttons"); // visible ones: o centre, a accept, c cancel
    using Make = std::function<MessageDialog *()>;
    QTest::newRow("information") << Make([] { return MessageDialog::CreateInformation("Title", "Text"); })
                                 << int(Images::MessageInfo) << "o";
    QTest::newRow("warning") << Make([] { return MessageDialog::CreateWarning("Title", "Text"); })
                             << int(Images::MessageWarning) << "o";
    QTest::newRow("question") << Make([] { return MessageDialog::CreateQuestion("Title", "Text"); })
                              << int(Images::MessageQuestion) << "ac";
    QTest::newRow("wait") << Make([] { return MessageDialog::CreateWait("Title", "Text", 0); })
                          << int(Images::MessageWait) << "";
}

void TestGeneric::createFunctions()
{
    QFETCH(std::function<MessageDialog *()>, make);
    QFETCH(int, icon);
    QFETCH(QString, buttons);

    MessageDialog *dialog = Own(make());
    dialog->show();
    QCOMPARE(dialog->Title(), QString("Title"));
    QCOMPARE(Child<QLabel>(dialog, "ui_labelText")->text(), QString("Text"));
    const QPixmap pixmap = Child<QLabel>(dialog, "ui_labelIcon")->pixmap(Qt::ReturnByValue);
    QVERIFY(!pixmap.isNull());
    QCOMPARE(pixmap.toImage(), ImagePixmap(static_cast<Images::Type>(icon)).toImage());
    QCOMPARE(Child(dialog, "ui_buttonOk")->isVisible(), buttons.contains('o'));
    QCOMPARE(Child(dialog, "ui_buttonAccept")->isVisible(), buttons.contains('a'));
    QCOMPARE(Child(dialog, "ui_buttonCancel")->isVisible(), buttons.contains('c'));
    QCOMPARE(Child<QWidget>(dialog, "widgetButtons")->isVisible(), !buttons.isEmpty());

    dialog->SetText("Changed");
    dialog->SetIcon(Images::MessageCritical);
    QCOMPARE(Child<QLabel>(dialog, "ui_labelText")->text(), QString("Changed"));
    QCOMPARE(Child<QLabel>(dialog, "ui_labelIcon")->pixmap(Qt::ReturnByValue).toImage(),
             ImagePixmap(Images::MessageCritical).toImage());
}

void TestGeneric::showQuestionAnswers_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("answer");
    QTest::newRow("accept") << "ui_buttonAccept" << 1;
    QTest::newRow("cancel") << "ui_buttonCancel" << 0;
}

void TestGeneric::showQuestionAnswers()
{
    QFETCH(QString, button);
    QFETCH(int, answer);
    QPointer<QWidget> shown;
    m_clicks = 0;
    ClickWhenShown(button, &shown);
    QCOMPARE(MessageDialog::ShowQuestion("Restore Backup", "Replace all data?"), answer);
    QCOMPARE(m_clicks, 1);
    QVERIFY(shown.isNull()); // deleted by the helper
}

void TestGeneric::showInformationWaitsAndDeletes()
{
    QPointer<QWidget> shown;
    QString title, text;
    m_clicks = 0;
    ClickWhenShown("ui_buttonOk", &shown);
    // Read what the user saw just before the click.
    QTimer::singleShot(0, this, [&] {
        if (auto *d = qobject_cast<MessageDialog *>(QApplication::activeModalWidget())) {
            title = d->Title();
            text = Child<QLabel>(d, "ui_labelText")->text();
        }
    });
    MessageDialog::ShowInformation("Backup Restored", "The system has been restored.");
    QCOMPARE(title, QString("Backup Restored"));
    QCOMPARE(text, QString("The system has been restored."));
    QCOMPARE(m_clicks, 1);
    QVERIFY(shown.isNull());
    QCOMPARE(Dialog::Stack().size(), 0);
}

void TestGeneric::waitDialogClosesItself()
{
    QElapsedTimer clock;
    clock.start();
    MessageDialog *dialog = Own(MessageDialog::CreateWait("Please Wait", "Working", 300));
    QSignalSpy rejected(dialog, &QDialog::rejected);
    dialog->show();
    QVERIFY(rejected.wait(5000));
    QVERIFY(clock.elapsed() >= 290);
    QTRY_VERIFY(m_owned.last().isNull()); // closed and deleted itself
}

void TestGeneric::waitDialogWithoutTimeOutStays()
{
    MessageDialog *dialog = Own(MessageDialog::CreateWait("Please Wait", "Working", 0));
    dialog->show();
    QTest::qWait(600);
    QVERIFY(dialog->isVisible());
}

void TestGeneric::showWaitReturnsAfterTimeOut()
{
    QElapsedTimer clock;
    clock.start();
    MessageDialog::ShowWait("Please Wait", "Working", 250);
    QVERIFY(clock.elapsed() >= 240);
    QVERIFY(clock.elapsed() < 5000);
    QCOMPARE(Dialog::Stack().size(), 0);
}

// ---- legacy message and info dialogs -------------------------------------------------

void TestGeneric::legacyModes_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("buttons"); // l left, m middle, r right
    QTest::newRow("0 accept and cancel") << 0 << "lr";
    QTest::newRow("1 single ok") << 1 << "m";
    QTest::newRow("2 three-way") << 2 << "lmr";
    QTest::newRow("3 none") << 3 << "";
}

void TestGeneric::legacyModes()
{
    QFETCH(int, mode);
    QFETCH(QString, buttons);
    auto *dialog = Own(new Generic::LegacyMessageDialog(nullptr, mode, Images::MessageWarning));
    dialog->show();
    QCOMPARE(Child(dialog, "ui_buttonAccept")->isVisible(), buttons.contains('l'));
    QCOMPARE(Child(dialog, "ui_buttonOk")->isVisible(), buttons.contains('m'));
    QCOMPARE(Child(dialog, "ui_buttonCancel")->isVisible(), buttons.contains('r'));
    QCOMPARE(Child<QWidget>(dialog, "ui_frameButtons")->isVisible(), !buttons.isEmpty());
    QCOMPARE(Child<QLabel>(dialog, "ui_pixmapIcon")->pixmap(Qt::ReturnByValue).toImage(),
             ImagePixmap(Images::MessageWarning).toImage());
}

void TestGeneric::legacyThreeWayChoice()
{
    for (const char *name : {"ui_buttonAccept", "ui_buttonOk", "ui_buttonCancel"}) {
        auto *dialog = Own(new Generic::LegacyMessageDialog(nullptr, 2));
        dialog->show();
        QSignalSpy finished(dialog, &QDialog::finished);
        QTest::mouseClick(Child(dialog, name), Qt::LeftButton);
        QCOMPARE(finished.count(), 1);
        const int expected = QByteArray(name) == "ui_buttonAccept" ? 1 : QByteArray(name) == "ui_buttonOk" ? 2 : 0;
        QCOMPARE(finished.at(0).at(0).toInt(), expected);
    }
}

void TestGeneric::legacyButtonColoursFollowIcon()
{
    auto *dialog = Own(new Generic::LegacyMessageDialog(nullptr, 0));
    QPushButton *left = Child(dialog, "ui_buttonAccept");
    QPushButton *right = Child(dialog, "ui_buttonCancel");
    QCOMPARE(left->palette().color(QPalette::Active, QPalette::Button), kGreen);
    QCOMPARE(right->palette().color(QPalette::Active, QPalette::Button), kRed);
    QCOMPARE(right->palette().color(QPalette::Active, QPalette::ButtonText), QColor(Qt::white));

    // Icon 0 gives back the dialog's colours; any other icon leaves them alone.
    dialog->SetLeftButton(ResultButtonInfo(true, Images::Undefined, "Plain", 1));
    QCOMPARE(left->palette().color(QPalette::Active, QPalette::Button),
             dialog->palette().color(QPalette::Active, QPalette::Button));
    dialog->SetRightButton(ResultButtonInfo(true, Images::MessageInfo, "Info", 0));
    QCOMPARE(right->palette().color(QPalette::Active, QPalette::Button), kRed);
    dialog->SetRightButton(ResultButtonInfo(true, Images::StandardAccept, "Go", 1));
    QCOMPARE(right->palette().color(QPalette::Active, QPalette::Button), kGreen);
}

void TestGeneric::legacyPostedEventOnlyFromMiddle_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("events");
    QTest::newRow("left") << "ui_buttonAccept" << 0;
    QTest::newRow("middle") << "ui_buttonOk" << 1;
    QTest::newRow("right") << "ui_buttonCancel" << 0;
}

void TestGeneric::legacyPostedEventOnlyFromMiddle()
{
    QFETCH(QString, button);
    QFETCH(int, events);
    const int type = QEvent::User + 5;
    EventRecorder recorder;
    auto *dialog = Own(new Generic::LegacyMessageDialog(nullptr, 2));
    dialog->SetPostedEvent(&recorder, type);
    dialog->show();
    QTest::mouseClick(Child(dialog, qPrintable(button)), Qt::LeftButton);
    QCoreApplication::sendPostedEvents(&recorder);
    QCOMPARE(recorder.types.count(type), events);
}

void TestGeneric::legacyCreate()
{
    auto *dialog = Own(Generic::LegacyMessageDialog::Create(nullptr, "Title", "Text", "Keep", "", "Drop"));
    dialog->show();
    QCOMPARE(Child<QLabel>(dialog, "ui_labelTitle")->text(), QString("Title"));
    QCOMPARE(Child<QLabel>(dialog, "ui_labelMessage")->text(), QString("Text"));
    QPushButton *left = Child(dialog, "ui_buttonAccept");
    QVERIFY(left->isVisible());
    QCOMPARE(left->text(), QString("Keep"));
    QVERIFY(left->icon().isNull());
    QVERIFY(!Child(dialog, "ui_buttonOk")->isVisible());
    QCOMPARE(Child(dialog, "ui_buttonCancel")->text(), QString("Drop"));
    QSignalSpy finished(dialog, &QDialog::finished);
    QTest::mouseClick(left, Qt::LeftButton);
    QCOMPARE(finished.at(0).at(0).toInt(), 1);
}

void TestGeneric::infoDialog()
{
    auto *dialog = Own(new Generic::InfoDialog(nullptr, true));
    QCOMPARE(dialog->objectName(), QString("InfoDialog"));
    QCOMPARE(dialog->Title(), QString("Dialog Title"));
    auto *contents = new QLabel("Details here");
    contents->setWindowTitle("Details");
    dialog->SetContents(contents);
    QCOMPARE(dialog->Title(), QString("Details"));
    QCOMPARE(contents->parentWidget(), Child<QWidget>(dialog, "frameContents"));
    dialog->SetContents(nullptr);
    QCOMPARE(dialog->Title(), QString("Details"));

    // exec() is a no-op by design: it shows nothing and returns at once.
    QCOMPARE(dialog->exec(), 0);
    QVERIFY(!dialog->isVisible());

    auto *exit = Child<Widgets::PixmapButton>(dialog, "buttonExit");
    QCOMPARE(exit->sizeHint(), ImagePixmap(Images::CloseWindow).size());
    dialog->show();
    QSignalSpy rejected(dialog, &QDialog::rejected);
    QTest::mouseClick(exit, Qt::LeftButton);
    QCOMPARE(rejected.count(), 1);
    QTRY_VERIFY(m_owned.last().isNull());
}

// ---- progress dialog -----------------------------------------------------------------

void TestGeneric::progressInitialState()
{
    auto *dialog = Own(new Generic::ProgressDialog);
    dialog->show();
    QCOMPARE(dialog->size(), QSize(520, 315));
    QCOMPARE(dialog->Title(), QString("Progress"));
    QCOMPARE(Child<QLabel>(dialog, "textLabelText")->text(), QString("Text"));
    QVERIFY(Child<QLabel>(dialog, "textLabelText")->wordWrap());
    QCOMPARE(Child<QProgressBar>(dialog, "progressBar")->value(), 0);
    QVERIFY(!Child<QCheckBox>(dialog, "ui_checkBoxOption")->isVisible());
    QVERIFY(!Child<QWidget>(dialog, "widgetButtons")->isVisible());
    for (QPushButton *button : dialog->findChildren<QPushButton *>())
        QVERIFY2(!button->isVisible(), qPrintable(button->objectName()));

    QFont title = Child<QLabel>(dialog, "labelTitle")->font();
    QCOMPARE(title.pointSize(), 22);
    QVERIFY(title.bold());

    dialog->SetTitle("Restore Memory");
    dialog->SetText("Please wait.");
    QCOMPARE(dialog->Title(), QString("Restore Memory"));
    QCOMPARE(Child<QLabel>(dialog, "textLabelText")->text(), QString("Please wait."));
}

void TestGeneric::progressCounts_data()
{
    QTest::addColumn<QList<int>>("counts");
    QTest::addColumn<int>("shown");
    QTest::newRow("part way") << QList<int>{42} << 42;
    QTest::newRow("full") << QList<int>{100} << 100;
    QTest::newRow("over the top is ignored") << QList<int>{100, 150} << 100;
    QTest::newRow("below zero is ignored") << QList<int>{30, -5} << 30;
    QTest::newRow("back down") << QList<int>{80, 20} << 20;
}

void TestGeneric::progressCounts()
{
    QFETCH(QList<int>, counts);
    QFETCH(int, shown);
    auto *dialog = Own(new Generic::ProgressDialog);
    for (int count : counts)
        dialog->SetProgressCount(count);
    QCOMPARE(Child<QProgressBar>(dialog, "progressBar")->value(), shown);
}

void TestGeneric::progressRangeAndOption()
{
    auto *dialog = Own(new Generic::ProgressDialog);
    auto *bar = Child<QProgressBar>(dialog, "progressBar");
    dialog->SetIndeterminate();
    QCOMPARE(bar->minimum(), 0);
    QCOMPARE(bar->maximum(), 0);
    dialog->SetProgressMaximum(100);
    QCOMPARE(bar->maximum(), 100);
    dialog->SetProgressCount(57);
    QCOMPARE(bar->value(), 57);

    dialog->show();
    auto *option = Child<QCheckBox>(dialog, "ui_checkBoxOption");
    dialog->SetOptionText("Reboot when done");
    dialog->SetOptionVisible(true);
    QVERIFY(option->isVisible());
    QCOMPARE(option->text(), QString("Reboot when done"));
    QSignalSpy toggled(dialog, &Generic::ProgressDialog::CheckBoxToggled);
    QTest::mouseClick(option, Qt::LeftButton);
    QTest::mouseClick(option, Qt::LeftButton);
    QCOMPARE(toggled.count(), 2);
    QCOMPARE(toggled.at(0).at(0).toBool(), true);
    QCOMPARE(toggled.at(1).at(0).toBool(), false);
    QVERIFY(!dialog->IsOptionChecked());
    dialog->SetOptionVisible(false);
    QVERIFY(!option->isVisible());
}

// The restore driver's use: percentages emitted on a worker thread reach the bar through
// a queued connection made with the slot's name.
void TestGeneric::progressFromWorkerThread()
{
    auto *dialog = Own(new Generic::ProgressDialog);
    QThread thread;
    Emitter emitter;
    emitter.moveToThread(&thread);
    QVERIFY(QObject::connect(&emitter, SIGNAL(Percent(int)), dialog, SLOT(SetProgressCount(int))));
    thread.start();
    QMetaObject::invokeMethod(&emitter, [&emitter] {
        for (int percent = 1; percent <= 63; ++percent)
            emit emitter.Percent(percent);
    });
    QTRY_COMPARE(Child<QProgressBar>(dialog, "progressBar")->value(), 63);
    thread.quit();
    QVERIFY(thread.wait(5000));
}

void TestGeneric::progressButtonMode()
{
    auto *dialog = Own(new Generic::ProgressDialog(1));
    QCOMPARE(dialog->size(), QSize(520, 315));
    dialog->show();
    QPushButton *done = Child(dialog, "ui_buttonOk");
    QVERIFY(done->isVisible());
    dialog->EnableButton(false);
    QVERIFY(!done->isEnabled());
    dialog->EnableButton();
    QVERIFY(done->isEnabled());
    QSignalSpy finished(dialog, &QDialog::finished);
    QTest::mouseClick(done, Qt::LeftButton);
    QCOMPARE(finished.at(0).at(0).toInt(), 1);
}

// ---- what is drawn -------------------------------------------------------------------

void TestGeneric::drawnButtonColours_data()
{
    QTest::addColumn<std::function<Generic::StandardButtonsDialog *()>>("make");
    QTest::addColumn<QString>("button");
    QTest::addColumn<QColor>("colour");
    using Make = std::function<Generic::StandardButtonsDialog *()>;
    const Make information = [] { return MessageDialog::CreateInformation("Done", "Restored."); };
    const Make question = [] { return MessageDialog::CreateQuestion("Sure?", "Replace all data?"); };
    const Make withHelp = [] {
        auto *d = new Generic::StandardButtonsDialog(0);
        d->SetHelpWidget(new QLabel("Help"));
        return d;
    };
    QTest::newRow("message done") << information << "ui_buttonOk" << kGreen;
    QTest::newRow("question accept") << question << "ui_buttonAccept" << kGreen;
    QTest::newRow("question cancel") << question << "ui_buttonCancel" << kRed;
    QTest::newRow("help") << withHelp << "ui_buttonHelp" << kBlue;
}

void TestGeneric::drawnButtonColours()
{
    QFETCH(std::function<Generic::StandardButtonsDialog *()>, make);
    QFETCH(QString, button);
    QFETCH(QColor, colour);
    auto *dialog = Own(make());
    dialog->show();
    QPushButton *widget = Child(dialog, qPrintable(button));
    // Away from the border and from the centred picture or caption.
    const QColor drawn = PixelOf(dialog, widget, QPoint(8, widget->height() / 2));
    QVERIFY2(drawn == colour, qPrintable(Describe(drawn)));
    QCOMPARE(widget->palette().color(QPalette::Active, QPalette::ButtonText), QColor(Qt::white));
}

void TestGeneric::drawnCaptionIsWhite()
{
    auto *dialog = Own(new Generic::StandardButtonsDialog(0));
    // No picture (icon 0 has no file), so the only light pixels are the caption's.
    dialog->SetAcceptButton(ResultButtonInfo(true, Images::Undefined, "GO ON", 1));
    dialog->show();
    QPushButton *button = Child(dialog, "ui_buttonAccept");
    const QImage image = dialog->grab().toImage();
    const QRect inside = QRect(button->mapTo(dialog, QPoint(0, 0)), button->size()).adjusted(4, 4, -4, -4);
    int brightest = 0, light = 0;
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        for (int x = inside.left(); x <= inside.right(); ++x) {
            const QColor c = image.pixelColor(x, y);
            const int least = qMin(c.red(), qMin(c.green(), c.blue()));
            brightest = qMax(brightest, least);
            light += least > 200 ? 1 : 0;
        }
    }
    QVERIFY2(brightest >= 240, qPrintable(QString::number(brightest)));
    QVERIFY(light > 20);
}

void TestGeneric::drawnProgressBar_data()
{
    QTest::addColumn<int>("percent");
    QTest::newRow("0") << 0;
    QTest::newRow("42") << 42;
    QTest::newRow("100") << 100;
}

void TestGeneric::drawnProgressBar()
{
    QFETCH(int, percent);
    auto *dialog = Own(new Generic::ProgressDialog);
    dialog->SetText("Please wait while the memory is being restored.");
    dialog->SetProgressCount(percent);
    dialog->show();
    auto *bar = Child<QProgressBar>(dialog, "progressBar");
    const QImage image = dialog->grab().toImage();
    // One row near the top edge of the bar, clear of the percentage text.
    const QPoint origin = bar->mapTo(dialog, QPoint(0, 3));
    int lastBlue = -1, blue = 0;
    for (int x = 0; x < bar->width(); ++x) {
        if (image.pixelColor(origin + QPoint(x, 0)) == kBar) {
            lastBlue = x;
            ++blue;
        }
    }
    const int expected = (bar->width() - 2) * percent / 100;
    QVERIFY2(qAbs(blue - expected) <= 2, qPrintable(QString("%1 blue of %2").arg(blue).arg(expected)));
    if (percent > 0)
        QVERIFY(lastBlue == blue); // one run from the left edge (x = 1)
}

void TestGeneric::drawnOverlayDimsCoveredDialog()
{
    ContentDialog *below = Own(new ContentDialog(0));
    below->show();
    QPushButton *accept = Child(below, "ui_buttonAccept");
    const QPoint background(4, below->height() / 2); // left margin: dialog background only
    const QPoint button = accept->mapTo(below, QPoint(8, accept->height() / 2));
    const QImage before = below->grab().toImage();
    QCOMPARE(before.pixelColor(button), kGreen);

    MessageDialog *top = Own(MessageDialog::CreateQuestion("Sure?", "Replace all data?"));
    top->show();
    const QImage after = below->grab().toImage();
    // Black at alpha 102: every channel keeps 153 / 255 of its value.
    for (QPoint p : {background, button}) {
        const QColor was = before.pixelColor(p), is = after.pixelColor(p);
        const QColor expected(qRound(was.red() * 153 / 255.0), qRound(was.green() * 153 / 255.0),
                              qRound(was.blue() * 153 / 255.0));
        QVERIFY2(qAbs(is.red() - expected.red()) <= 1 && qAbs(is.green() - expected.green()) <= 1
                     && qAbs(is.blue() - expected.blue()) <= 1,
                 qPrintable(Describe(is) + " instead of " + Describe(expected)));
    }
    // The message on top is not dimmed.
    QCOMPARE(PixelOf(top, Child(top, "ui_buttonAccept"), QPoint(8, 30)), kGreen);

    top->hide();
    QCOMPARE(below->grab().toImage().pixelColor(button), kGreen);
}

QTEST_MAIN(TestGeneric)
#include "tst_generic.moc"
