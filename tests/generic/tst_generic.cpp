// The dialog family: stack and overlays, button row, message, legacy, info and progress
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
    return parent->findChild<T *>(name);
}

QColor PixelOf(QWidget *dialog, QWidget *child, QPoint at)
{
    return dialog->grab().toImage().pixelColor(child->mapTo(dialog, at));
}

// The buttons the user sees: a accept (left), o centre (middle), c cancel (right), h help.
QString Shown(QWidget *dialog)
{
    const QStringList names{"ui_buttonAccept", "ui_buttonOk", "ui_buttonCancel", "ui_buttonHelp"};
    QString shown;
    for (int i = 0; i < names.size(); ++i) {
        if (QPushButton *button = Child(dialog, names[i]); button && button->isVisibleTo(dialog))
            shown += QString("aoch")[i];
    }
    return shown;
}

// The dialogs the table names; a kind ending in a digit takes that button mode.
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
        return new ProgressDialog(mode);
    if (kind == "plain") {
        auto *dialog = new Dialog;
        dialog->resize(300, 200);
        return dialog;
    }
    auto *dialog = new StandardButtonsDialog(mode);
    if (kind == "own size") // a subclass's own minimum survives the default sizing
        dialog->setFixedSize(600, 400);
    dialog->ApplyDefaultSize();
    return dialog;
}

// As the display's programs write them: form and slots across the frame; may refuse.
class ContentDialog : public StandardButtonsDialog
{
    Q_OBJECT
public:
    ContentDialog()
        : StandardButtonsDialog(0)
    {
        auto *panel = new QWidget;
        checkBox = new QCheckBox("Detail", panel);
        checkBox->setObjectName("ui_checkBoxDetail");
        SetContents(panel, "Content");
        ConnectContentsSlots(this, panel);
    }
    bool CanAccept() override { return !refuse; }

    QCheckBox *checkBox;
    bool refuse = false;
    QList<bool> toggles;

public slots:
    void on_ui_checkBoxDetail_toggled(bool on) { toggles << on; }
};

// The restore program's font and a language for one test; both undone at the end.
class DisplayLook
{
public:
    explicit DisplayLook(Gallery::Language language)
        : m_font(QApplication::font())
        , m_loaded(Gallery::UseLanguage(language, QStringLiteral(QVB_GERMAN_QM)))
    {
        Gallery::UseDisplayFont();
    }
    ~DisplayLook()
    {
        Gallery::UseLanguage(Gallery::Language::English, QString());
        QApplication::setFont(m_font);
    }
    bool Loaded() const { return m_loaded; }

private:
    const QFont m_font;
    const bool m_loaded;
};

} // namespace

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
    int m_posted = 0; // events a legacy dialog posted to this object

    void customEvent(QEvent *) override { ++m_posted; }

private slots:
    void initTestCase() { QVB_REQUIRE_THROWAWAY_ROOT(); }

    void cleanup()
    {
        QList<QPointer<QWidget>> windows; // a dialog may delete another window (its help)
        for (QWidget *window : QApplication::topLevelWidgets())
            windows << window;
        for (const QPointer<QWidget> &window : windows)
            delete window.data();
        QCOMPARE(Dialog::Stack().size(), 0);
    }

    void dialogBase()
    {
        Dialog *a = new Dialog;
        Dialog *b = new Dialog;
        Dialog *loose = new Dialog;
        loose->setModal(false);
        QSignalSpy aDisabled(a, &Dialog::Disabled);
        QSignalSpy aEnabled(a, &Dialog::Enabled);
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
        QPushButton *accept = Child(below, "ui_buttonAccept");
        const QPoint at = accept->mapTo(below, QPoint(8, accept->height() / 2));
        QCOMPARE(below->grab().toImage().pixelColor(at), kGreen);

        QPointer<Dialog> top = Create("information");
        top->show();
        QVERIFY(QTest::qWaitForWindowExposed(top));
        // Black at alpha 102 keeps 153 / 255 of each channel: (30, 108.6, 30).
        const QColor dimmed = below->grab().toImage().pixelColor(at);
        QVERIFY2(dimmed.red() == 30 && qAbs(dimmed.green() - 109) <= 1 && dimmed.blue() == 30,
                 qPrintable(dimmed.name()));
        QVERIFY(qobject_cast<Widgets::Overlay *>(below->childAt(at)));
        QSignalSpy finished(below, &QDialog::finished);
        QTest::mouseClick(below->windowHandle(), Qt::LeftButton, Qt::NoModifier, at);
        QCOMPARE(finished.count(), 0);

        QPushButton *ok = Child(top, "ui_buttonOk");
        QTest::mouseClick(top->windowHandle(), Qt::LeftButton, Qt::NoModifier,
                          ok->mapTo(top, ok->rect().center()));
        // Shown with show(), the message deletes itself once closed, maybe within the click.
        QTRY_VERIFY(top.isNull());
        QCOMPARE(below->grab().toImage().pixelColor(at), kGreen);

        // A refused accept leaves the dialog open and usable; cancel does not ask.
        below->refuse = true;
        QTest::mouseClick(below->windowHandle(), Qt::LeftButton, Qt::NoModifier, at);
        QVERIFY(below->isVisible() && Child<QWidget>(below, "widgetButtons")->isEnabled());
        QTest::mouseClick(Child(below, "ui_buttonCancel"), Qt::LeftButton);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.at(0).at(0).toInt(), 0);
    }

    void dialogKinds_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<int>("icon"); // of a message, else -1
        QTest::addColumn<QString>("click");
        QTest::addColumn<int>("result");
        const QSize full(818, 610), box(520, 315);
        QTest::newRow("0 accept") << "0" << full << "ac" << -1 << "ui_buttonAccept" << 1;
        QTest::newRow("1 done") << "1" << full << "o" << -1 << "ui_buttonOk" << 1;
        QTest::newRow("2 cancel") << "2" << full << "c" << -1 << "ui_buttonCancel" << 0;
        QTest::newRow("3 none") << "3" << full << "" << -1 << "" << 0;
        QTest::newRow("other: as the form") << "9" << full << "aoc" << -1 << "" << 0;
        QTest::newRow("own size") << "own size" << QSize(600, 400) << "aoc" << -1 << "" << 0;
        QTest::newRow("plain") << "plain" << QSize(300, 200) << "" << -1 << "" << 0;
        QTest::newRow("information") << "information" << box << "o" << 56 << "ui_buttonOk" << 1;
        QTest::newRow("question") << "question" << box << "ac" << 60 << "ui_buttonCancel" << 0;
        QTest::newRow("wait") << "wait" << box << "" << 59 << "" << 0;
        QTest::newRow("progress") << "progress 3" << box << "" << -1 << "" << 0;
        QTest::newRow("progress done") << "progress 1" << box << "o" << -1 << "ui_buttonOk" << 1;
    }

    void dialogKinds()
    {
        QFETCH(QString, kind);
        QFETCH(QSize, size);
        QFETCH(QString, shown);
        QFETCH(int, icon);
        QFETCH(QString, click);
        QFETCH(int, result);
        QPointer<Dialog> dialog = Create(kind);
        dialog->show();
        QCOMPARE(dialog->size(), size);
        QCOMPARE(dialog->minimumSize(), size);
        QCOMPARE(dialog->maximumSize(), size);
        QCOMPARE(Shown(dialog), shown);
        if (auto *row = Child<QWidget>(dialog, "widgetButtons"))
            QCOMPARE(row->isVisible(), !shown.isEmpty());
        if (icon >= 0) {
            const QPixmap pic = Child<QLabel>(dialog, "ui_labelIcon")->pixmap(Qt::ReturnByValue);
            QVERIFY(!pic.isNull());
            QCOMPARE(pic.toImage(), ImagePixmap(Images::Type(icon)).toImage());
            QCOMPARE(Child<QLabel>(dialog, "labelTitle")->text(), QString("T"));
            QCOMPARE(Child<QLabel>(dialog, "ui_labelText")->text(), QString("X"));
        }
        if (click.isEmpty())
            return;
        QPushButton *button = Child(dialog, click);
        const QColor colour = click == "ui_buttonCancel" ? kRed : kGreen;
        QCOMPARE(PixelOf(dialog, button, QPoint(8, button->height() / 2)), colour);
        QCOMPARE(button->palette().color(QPalette::ButtonText), QColor(Qt::white));
        QSignalSpy finished(dialog.data(), &QDialog::finished);
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.at(0).at(0).toInt(), result);
        QTRY_VERIFY(dialog.isNull()); // shown with show(): deletes itself once closed
    }

    void buttonDescriptions()
    {
        QPointer<StandardButtonsDialog> dialog = new StandardButtonsDialog(1);
        QPushButton *centre = Child(dialog, "ui_buttonOk");
        auto picture = [](QPushButton *b) { return b->icon().pixmap(b->iconSize()).toImage(); };
        QCOMPARE(picture(centre), ImagePixmap(Images::StandardAccept).toImage());
        // Any result passes through; a cancel picture may sit on any button.
        dialog->SetCenterButton(ResultButtonInfo(true, Images::StandardCancel, "Retry", 7));
        QCOMPARE(centre->text(), QString("Retry"));
        QCOMPARE(picture(centre), ImagePixmap(Images::StandardCancel).toImage());
        dialog->EnableAccept(false); // accept and centre together
        QVERIFY(!Child(dialog, "ui_buttonAccept")->isEnabled() && !centre->isEnabled());
        dialog->EnableAccept();

        QPointer<QWidget> help = new QLabel("Help");
        dialog->SetHelpWidget(help);
        dialog->show();
        QCOMPARE(Shown(dialog), QString("oh"));
        QPushButton *helpButton = Child(dialog, "ui_buttonHelp");
        QCOMPARE(PixelOf(dialog, helpButton, QPoint(8, 30)), QColor(50, 120, 181));
        QTest::mouseClick(helpButton, Qt::LeftButton);
        QVERIFY(help->isVisible());
        dialog->SetHelpWidget(new QLabel("More help"));
        QVERIFY(help.isNull());

        // Run with exec(), it outlives its closing: the caller deletes it.
        dialog->hide();
        ClickLater("ui_buttonOk");
        QCOMPARE(dialog->exec(), 7);
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!dialog.isNull());
    }

    // Show helpers run the dialog and delete it; a question is answered from a timer.
    void messageHelpers()
    {
        ClickLater("ui_buttonAccept");
        QCOMPARE(MessageDialog::ShowQuestion("Restore", "Replace all data?"), 1);
        QVERIFY(m_clicked.isNull());
        ClickLater("ui_buttonCancel");
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

    void legacyButtons_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("click");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("posted"); // only the middle button posts the event
        QTest::newRow("0 left") << 0 << "ac" << "ui_buttonAccept" << 1 << 0;
        QTest::newRow("2 middle") << 2 << "aoc" << "ui_buttonOk" << 2 << 1;
        QTest::newRow("2 right") << 2 << "aoc" << "ui_buttonCancel" << 0 << 0;
        QTest::newRow("3 none") << 3 << "" << "" << 0 << 0;
    }

    void legacyButtons()
    {
        QFETCH(int, mode);
        QFETCH(QString, shown);
        QFETCH(QString, click);
        QFETCH(int, result);
        QFETCH(int, posted);
        m_posted = 0;
        auto *dialog = new LegacyMessageDialog(nullptr, mode, Images::MessageWarning);
        dialog->SetPostedEvent(this, QEvent::User + 5);
        dialog->show();
        QCOMPARE(Shown(dialog), shown);
        QCOMPARE(Child<QWidget>(dialog, "ui_frameButtons")->isVisible(), !shown.isEmpty());
        if (click.isEmpty())
            return;
        QSignalSpy finished(dialog, &QDialog::finished);
        QTest::mouseClick(Child(dialog, click), Qt::LeftButton);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.at(0).at(0).toInt(), result);
        QCoreApplication::sendPostedEvents(this);
        QCOMPARE(m_posted, posted);
    }

    // The colours follow the picture; icon 0 gives back the dialog's own.
    void legacyDescriptions()
    {
        auto *dialog = LegacyMessageDialog::Create(nullptr, "Title", "Text", "Keep", "", "");
        QPushButton *left = Child(dialog, "ui_buttonAccept");
        auto colour = [](QWidget *w) { return w->palette().color(QPalette::Button); };
        QCOMPARE(left->text(), QString("Keep"));
        QCOMPARE(colour(left), colour(dialog)); // no picture: icon 0
        dialog->SetLeftButton(CancelButton());
        QCOMPARE(colour(left), kRed);
        dialog->SetLeftButton(ResultButtonInfo(true, Images::MessageInfo, "Info", 0));
        QCOMPARE(colour(left), kRed);
        dialog->SetLeftButton(AcceptButton());
        QCOMPARE(colour(left), kGreen);
        QVERIFY(QMetaType::type("Generic::ResultButtonInfo") != QMetaType::UnknownType);
    }

    void infoDialog()
    {
        QPointer<InfoDialog> dialog = new InfoDialog(nullptr, true);
        auto *contents = new QLabel("Details here");
        contents->setWindowTitle("Details");
        dialog->SetContents(contents);
        QCOMPARE(Child<QLabel>(dialog, "labelTitle")->text(), QString("Details"));
        QCOMPARE(dialog->exec(), 0); // a no-op by design: shows nothing, returns at once
        QVERIFY(!dialog->isVisible());
        dialog->show();
        QCOMPARE(dialog->size(), QSize(818, 610));
        QSignalSpy rejected(dialog.data(), &QDialog::rejected);
        QTest::mouseClick(Child<QWidget>(dialog, "buttonExit"), Qt::LeftButton);
        QCOMPARE(rejected.count(), 1);
        QTRY_VERIFY(dialog.isNull());
    }

    void progressDialog()
    {
        auto *dialog = new ProgressDialog;
        dialog->SetProgressCount(42);
        dialog->show();
        auto *title = Child<QLabel>(dialog, "labelTitle");
        QCOMPARE(title->text(), QString("Progress"));
        QVERIFY(title->font().pointSize() == 22 && title->font().bold());
        QCOMPARE(Child<QLabel>(dialog, "textLabelText")->text(), QString("Text"));
        QVERIFY(Child<QLabel>(dialog, "textLabelText")->wordWrap());

        // Drawn blue from the left edge (x = 1) for 42 percent of the inner width.
        auto *bar = Child<QProgressBar>(dialog, "progressBar");
        const QImage image = dialog->grab().toImage();
        const QPoint origin = bar->mapTo(dialog, QPoint(0, 3)); // clear of the percentage
        int run = 0;
        while (image.pixelColor(origin + QPoint(run + 1, 0)) == QColor(0, 102, 204))
            ++run;
        QVERIFY2(qAbs(run - (bar->width() - 2) * 42 / 100) <= 2, qPrintable(QString::number(run)));

        dialog->SetProgressCount(100);
        dialog->SetProgressCount(150); // out of range: ignored
        QCOMPARE(bar->value(), 100);
        dialog->SetIndeterminate();
        dialog->SetProgressMaximum(100);
        // The restore driver feeds it from its worker thread: queued, by the slot's name.
        QMetaObject::invokeMethod(dialog, "SetProgressCount", Qt::QueuedConnection, Q_ARG(int, 5));
        QTRY_COMPARE(bar->value(), 5);

        auto *option = Child<QCheckBox>(dialog, "ui_checkBoxOption");
        QVERIFY(!option->isVisible());
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
        for (Gallery::Language language : {Gallery::Language::English, Gallery::Language::German}) {
            for (int i = 0; i < kinds.size(); ++i) {
                const char *tag = language == Gallery::Language::German ? "de" : "en";
                QTest::addRow("%s %s", tag, qPrintable(kinds[i].name)) << int(language) << i;
            }
        }
    }
    void everyDialogFits()
    {
        QFETCH(int, language);
        QFETCH(int, kind);
        const DisplayLook look(static_cast<Gallery::Language>(language));
        QVERIFY(look.Loaded());
        QList<QWidget *> shown = Gallery::Kinds().at(kind).show(static_cast<Gallery::Language>(language));
        QStringList problems;
        for (QWidget *window : shown) {
            QVERIFY(QTest::qWaitForWindowExposed(window));
            problems << Gallery::Problems(window);
        }
        Gallery::Dismiss(shown);
        QVERIFY2(problems.isEmpty(), qPrintable(problems.join('\n')));
    }

    // A title keeps its form's size while it fits, is drawn smaller when it does not, and is
    // wrapped when it would have to be smaller than a title should be; a shorter title set
    // afterwards gets the form's size back.
    void titleFitsItsLabel_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("shown"); // form size, smaller, wrapped
        const QString longTitle = QStringLiteral("QVB-Wiederherstellung fehlgeschlagen");
        const QString endless = QStringLiteral("Die Wiederherstellung der Sicherung vom USB-Speichermedium ist "
                                               "leider nicht vollständig gelungen");
        for (const char *kind : {"message", "legacy", "info"}) {
            QTest::addRow("%s, short", kind) << kind << "Backup Restored" << "form size";
            QTest::addRow("%s, long", kind) << kind << longTitle << "smaller";
            QTest::addRow("%s, far too long", kind) << kind << endless << "wrapped";
        }
    }
    void titleFitsItsLabel()
    {
        QFETCH(QString, kind);
        QFETCH(QString, title);
        QFETCH(QString, shown);
        const DisplayLook look(Gallery::Language::English);
        Dialog *dialog = nullptr;
        std::function<void(const QString &)> setTitle;
        if (kind == "message") {
            auto *message = MessageDialog::CreateInformation("Backup Restored", "X");
            setTitle = [message](const QString &text) { message->SetTitle(text); };
            dialog = message;
        } else if (kind == "legacy") {
            auto *legacy = new LegacyMessageDialog;
            setTitle = [legacy](const QString &text) { legacy->SetTitle(text); };
            dialog = legacy;
        } else {
            auto *info = new InfoDialog(nullptr, true);
            setTitle = [info](const QString &text) { info->SetTitle(text); };
            dialog = info;
        }
        const QList<QLabel *> titles = dialog->findChildren<QLabel *>(QRegularExpression("labelTitle$"));
        QCOMPARE(titles.size(), 1);
        QLabel *label = titles.first();
        const qreal formPoints = label->font().pointSizeF();
        QCOMPARE(formPoints, 22.0);
        dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        setTitle(title);
        const qreal points = label->font().pointSizeF();
        QVERIFY2(Gallery::Problems(dialog).isEmpty(), qPrintable(Gallery::Problems(dialog).join('\n')));
        if (shown == "form size")
            QVERIFY(points == formPoints && !label->wordWrap());
        else if (shown == "smaller")
            QVERIFY2(points < formPoints && points >= 14 && !label->wordWrap(), qPrintable(QString::number(points)));
        else
            QVERIFY2(label->wordWrap() && QFontMetrics(label->font()).lineSpacing() * 2 <= label->height(),
                     qPrintable(QString::number(points)));
        QCOMPARE(label->text(), title);
        setTitle("Short");
        QCOMPARE(label->font().pointSizeF(), formPoints);
        QVERIFY(!label->wordWrap());
        QVERIFY(label->font().bold());
    }

    // A dialog nobody placed goes to the middle of its screen each time it is shown; one the
    // caller moved stays where the caller put it.
    void placement()
    {
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        const auto centred = [&screen](QWidget *w) {
            const QSize size = w->frameGeometry().size();
            return QPoint(screen.x() + (screen.width() - size.width()) / 2,
                          screen.y() + (screen.height() - size.height()) / 2);
        };
        ProgressDialog *progress = new ProgressDialog;
        progress->show();
        QCOMPARE(progress->frameGeometry().topLeft(), centred(progress));
        progress->hide();
        progress->show();
        QCOMPARE(progress->frameGeometry().topLeft(), centred(progress));

        auto *placed = MessageDialog::CreateInformation("T", "X");
        placed->move(10, 20);
        placed->show();
        QCOMPARE(placed->pos(), QPoint(10, 20));
    }

    // The contents frame is a raised panel filled with the application's window colour, not
    // an outline over the dialog's background picture; unframed dialogs keep the picture.
    void contentsPanel_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("filled");
        QTest::newRow("message") << "message" << true;
        QTest::newRow("progress") << "progress" << true;
        QTest::newRow("info, framed") << "info framed" << true;
        QTest::newRow("info, unframed") << "info" << false;
        QTest::newRow("standard, unframed") << "standard" << false;
    }
    void contentsPanel()
    {
        QFETCH(QString, kind);
        QFETCH(bool, filled);
        Dialog *dialog = nullptr;
        if (kind == "message")
            dialog = MessageDialog::CreateInformation("T", "X");
        else if (kind == "progress")
            dialog = new ProgressDialog;
        else if (kind.startsWith("info"))
            dialog = new InfoDialog(nullptr, kind.endsWith("framed"));
        else
            dialog = new StandardButtonsDialog(NoButtons, nullptr, false);
        dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        auto *frame = dialog->findChild<QFrame *>("frameContents");
        QVERIFY(frame);
        // Just inside the panel's border, where no child widget lies.
        const QColor pixel = PixelOf(dialog, frame, QPoint(frame->width() / 2, 3));
        const QColor panel = QApplication::palette().color(QPalette::Window);
        QCOMPARE(pixel == panel, filled);
    }

    // A caption gets room beside its picture; a shorter caption gives the room back.
    void captionsFitTheirButtons()
    {
        const DisplayLook look(Gallery::Language::English);
        auto *dialog = new LegacyMessageDialog(nullptr, LegacyMessageDialog::AllThreeMiddleTwo);
        auto *middle = Child(dialog, "ui_buttonOk");
        const int formWidth = middle->width();
        dialog->SetMiddleButton(OkButton("Alle Änderungen verwerfen"));
        dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        QVERIFY2(Gallery::Problems(dialog).isEmpty(), qPrintable(Gallery::Problems(dialog).join('\n')));
        QVERIFY(middle->width() > formWidth);
        dialog->SetMiddleButton(OkButton("OK"));
        QCOMPARE(middle->maximumWidth(), formWidth);
        QCOMPARE(middle->minimumWidth(), formWidth);
    }

    // The restore program's texts in both languages, the open failure without a path too
    // (started without an argument): never a double blank or a blank at the end.
    void restoreTexts_data()
    {
        QTest::addColumn<int>("language");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("text");
        const int en = int(Gallery::Language::English);
        const int de = int(Gallery::Language::German);
        QTest::newRow("en, path") << en << "/media/usb/a b.qvb" << "Cannot open file /media/usb/a b.qvb";
        QTest::newRow("en, no path") << en << "" << "Cannot open file";
        QTest::newRow("de, path") << de << "/media/usb/a b.qvb" << "Datei /media/usb/a b.qvb kann nicht geöffnet werden";
        QTest::newRow("de, no path") << de << "" << "Datei kann nicht geöffnet werden";
        QTest::newRow("en, marker in the path") << en << "/x/%1.qvb" << "Cannot open file /x/%1.qvb";
    }
    void restoreTexts()
    {
        QFETCH(int, language);
        QFETCH(QString, path);
        QFETCH(QString, text);
        const DisplayLook look(static_cast<Gallery::Language>(language));
        QVERIFY(look.Loaded());
        QCOMPARE(RestoreTexts::OpenFailure(path), text);
        const bool german = language == int(Gallery::Language::German);
        QCOMPARE(RestoreTexts::FailedTitle(), german ? QString("Wiederherstellung fehlgeschlagen")
                                                     : QString("QVB Restore Failed"));
    }
};

QTEST_MAIN(TestGeneric)
#include "tst_generic.moc"
