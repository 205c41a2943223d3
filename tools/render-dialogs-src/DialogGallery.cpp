#include "DialogGallery.h"

#include "Images.h"
#include "InfoDialog.h"
#include "LegacyMessageDialog.h"
#include "MessageDialog.h"
#include "ProgressDialog.h"
#include "RestoreTexts.h"
#include "StandardButtonsDialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QFontMetrics>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QStyleOptionButton>
#include <QTranslator>

namespace Gallery {
namespace {

// Sample contents for the kinds the restore program does not show itself, in the words a
// settings page of the display would use.
QString Say(Language language, const char *english, const char *german)
{
    return QString::fromUtf8(language == Language::German ? german : english);
}

QList<QWidget *> Shown(QWidget *dialog)
{
    dialog->show();
    QApplication::processEvents();
    return {dialog};
}

Generic::StandardButtonsDialog *ContentDialog(Language l)
{
    auto *dialog = new Generic::StandardButtonsDialog(Generic::AcceptAndCancel);
    auto *contents = new QWidget;
    auto *form = new QFormLayout(contents);
    form->addRow(Say(l, "Display name", "Name des Displays"), new QLineEdit(QStringLiteral("Cab 1")));
    form->addRow(Say(l, "Backup file", "Sicherungsdatei"), new QLineEdit(QStringLiteral("/media/usb/display.qvb")));
    auto *note = new QLabel(Say(l, "The backup replaces all data on this display.",
                                "Die Sicherung ersetzt alle Daten auf diesem Display."));
    note->setWordWrap(true);
    form->addRow(note);
    dialog->SetContents(contents, Say(l, "Restore Backup", "Sicherung laden"));
    dialog->ApplyDefaultSize();
    return dialog;
}

Generic::ProgressDialog *RestoreProgress(int percent)
{
    auto *dialog = new Generic::ProgressDialog(nullptr);
    dialog->SetTitle(RestoreTexts::RestoreTitle());
    dialog->SetText(RestoreTexts::PleaseWait());
    dialog->SetProgressCount(percent);
    return dialog;
}

QString Describe(QWidget *widget)
{
    return QStringLiteral("%1 \"%2\"").arg(QString::fromLatin1(widget->metaObject()->className()),
                                           widget->objectName());
}

// Whether the widget lies whole inside each of its ancestors up to the window: a part
// outside one of them is cut off on the screen.
bool InsideAncestors(QWidget *widget, QWidget *window)
{
    QRect rect(QPoint(0, 0), widget->size());
    for (QWidget *w = widget; w != window; w = w->parentWidget()) {
        rect.translate(w->pos());
        if (!QRect(QPoint(0, 0), w->parentWidget()->size()).contains(rect))
            return false;
    }
    return true;
}

// What a push button's caption and picture take with the style's margins around them (the
// style's preferred least width for any captioned button left out). Empty for a button
// without a caption.
QSize CaptionSize(QAbstractButton *button)
{
    auto *push = qobject_cast<QPushButton *>(button);
    if (!push || push->text().isEmpty())
        return {};
    QStyleOptionButton option;
    option.initFrom(push);
    option.text = push->text();
    option.icon = push->icon();
    option.iconSize = push->iconSize();
    option.features = push->autoDefault() ? QStyleOptionButton::AutoDefaultButton : QStyleOptionButton::None;
    QSize contents = QFontMetrics(push->font(), push).size(Qt::TextShowMnemonic, push->text());
    if (!push->icon().isNull()) {
        contents.rwidth() += option.iconSize.width() + 4;
        contents.setHeight(qMax(contents.height(), option.iconSize.height()));
    }
    // Measured wide enough that the style's least width does not come into it.
    constexpr int kWide = 1000;
    QSize size = push->style()->sizeFromContents(QStyle::CT_PushButton, &option,
                                                 contents + QSize(kWide, 0), push);
    return size - QSize(kWide, 0);
}

} // namespace

QList<Kind> Kinds()
{
    using Generic::MessageDialog;
    QList<Kind> kinds;
    const auto add = [&kinds](const char *name, std::function<QList<QWidget *>(Language)> show) {
        kinds.append({QString::fromLatin1(name), std::move(show)});
    };

    // The restore program's own messages.
    add("message-restored", [](Language) {
        return Shown(MessageDialog::CreateInformation(RestoreTexts::RestoredTitle(), RestoreTexts::RestoredText()));
    });
    add("message-failed", [](Language) {
        return Shown(MessageDialog::CreateInformation(RestoreTexts::FailedTitle(), RestoreTexts::FailedText()));
    });
    add("message-cannot-open", [](Language) {
        return Shown(MessageDialog::CreateInformation(RestoreTexts::RestoreTitle(),
                                                      RestoreTexts::OpenFailure(QStringLiteral("/media/usb/backup.qvb"))));
    });
    add("message-cannot-open-no-path", [](Language) {
        return Shown(MessageDialog::CreateInformation(RestoreTexts::RestoreTitle(), RestoreTexts::OpenFailure(QString())));
    });
    add("progress-000", [](Language) { return Shown(RestoreProgress(0)); });
    add("progress-042", [](Language) { return Shown(RestoreProgress(42)); });
    add("progress-100", [](Language) { return Shown(RestoreProgress(100)); });

    // The other kinds of the family.
    add("message-warning", [](Language l) {
        return Shown(MessageDialog::CreateWarning(
            Say(l, "Storage Almost Full", "Speicher fast voll"),
            Say(l, "Less than 5 % of the memory is free.  Delete old field records soon.",
                "Weniger als 5 % des Speichers sind frei.  Löschen Sie bald alte Felddaten.")));
    });
    add("message-question", [](Language l) {
        return Shown(MessageDialog::CreateQuestion(Say(l, "Restore Backup", "Sicherung laden"),
                                                   Say(l, "Replace all data on this display with the backup?",
                                                       "Alle Daten auf diesem Display durch die Sicherung ersetzen?")));
    });
    add("message-wait", [](Language l) {
        return Shown(MessageDialog::CreateWait(Say(l, "Please Wait", "Bitte warten"),
                                               Say(l, "Checking the storage device.", "Das Speichermedium wird geprüft."),
                                               0));
    });
    add("progress-with-option", [](Language l) {
        auto *dialog = new Generic::ProgressDialog(Generic::DoneOnly, nullptr);
        dialog->SetText(Say(l, "Copying field records to the storage device.",
                            "Felddaten werden auf das Speichermedium kopiert."));
        dialog->SetOptionVisible(true);
        dialog->SetProgressCount(73);
        return Shown(dialog);
    });
    add("standard-content", [](Language l) {
        Generic::StandardButtonsDialog *dialog = ContentDialog(l);
        dialog->SetHelpWidget(new QLabel(Say(l, "Help", "Hilfe")));
        return Shown(dialog);
    });
    add("info", [](Language l) {
        auto *dialog = new Generic::InfoDialog(nullptr, true);
        auto *contents = new QLabel(Say(l, "Software 4.2.1, serial number 0042-1977.",
                                        "Software 4.2.1, Seriennummer 0042-1977."));
        contents->setWindowTitle(Say(l, "About This Display", "Über dieses Display"));
        dialog->SetContents(contents);
        return Shown(dialog);
    });
    add("legacy", [](Language l) {
        auto *dialog = new Generic::LegacyMessageDialog(nullptr, Generic::LegacyMessageDialog::AllThreeMiddleTwo,
                                                        Images::MessageQuestion);
        dialog->SetTitle(Say(l, "Field Record", "Felddaten"));
        dialog->SetText(Say(l, "The field record has changed.", "Die Felddaten wurden geändert."));
        return Shown(dialog);
    });
    add("legacy-captions", [](Language l) {
        return Shown(Generic::LegacyMessageDialog::Create(
            nullptr, Say(l, "Unsaved Changes", "Ungespeicherte Änderungen"),
            Say(l, "Save the changes to the field record?", "Änderungen an den Felddaten speichern?"),
            Say(l, "Save", "Speichern"), Say(l, "Discard", "Verwerfen"), Say(l, "Cancel", "Abbrechen")));
    });
    add("covered-stack", [](Language l) {
        QList<QWidget *> shown = Shown(ContentDialog(l));
        shown += Shown(MessageDialog::CreateQuestion(Say(l, "Restore Backup", "Sicherung laden"),
                                                     Say(l, "Replace all data on this display with the backup?",
                                                         "Alle Daten auf diesem Display durch die Sicherung ersetzen?")));
        return shown;
    });
    return kinds;
}

void UseDisplayFont()
{
    QFont font = QApplication::font();
    font.setPointSize(16);
    QApplication::setFont(font);
}

bool UseLanguage(Language language, const QString &germanQmFile)
{
    static QTranslator *installed = nullptr;
    if (installed) {
        QCoreApplication::removeTranslator(installed);
        delete installed;
        installed = nullptr;
    }
    if (language == Language::English)
        return true;
    auto *translator = new QTranslator;
    if (!translator->load(germanQmFile)) {
        delete translator;
        return false;
    }
    QCoreApplication::installTranslator(translator);
    installed = translator;
    return true;
}

QStringList Problems(QWidget *window)
{
    QStringList problems;
    if (QScreen *screen = window->screen()) {
        const QRect area = screen->geometry();
        const QRect frame = window->frameGeometry();
        const QPoint centred(area.x() + (area.width() - frame.width()) / 2,
                             area.y() + (area.height() - frame.height()) / 2);
        // A window larger than its screen (a test screen smaller than the display's) has
        // no middle to stand in; the display's own 1024x768 holds every dialog.
        const bool fits = frame.width() <= area.width() && frame.height() <= area.height();
        if (fits && (frame.topLeft() - centred).manhattanLength() > 1)
            problems << QStringLiteral("%1 is at (%2,%3); centred on its %4x%5 screen it would be at (%6,%7)")
                            .arg(Describe(window))
                            .arg(frame.x())
                            .arg(frame.y())
                            .arg(area.width())
                            .arg(area.height())
                            .arg(centred.x())
                            .arg(centred.y());
    }

    for (QLabel *label : window->findChildren<QLabel *>()) {
        const bool picture = !label->pixmap(Qt::ReturnByValue).isNull();
        if (!label->isVisibleTo(window) || label->text().isEmpty() || picture)
            continue;
        // The way QLabel lays out plain text: inside its contents less the margin, with its
        // alignment, wrapped at words when it wraps.
        const int margin = label->margin();
        const QRect area = label->contentsRect().adjusted(margin, margin, -margin, -margin);
        const int flags = int(label->alignment()) | (label->wordWrap() ? int(Qt::TextWordWrap) : 0);
        const QRect needed = QFontMetrics(label->font(), label).boundingRect(area, flags, label->text());
        if (needed.width() > area.width() || needed.height() > area.height())
            problems << QStringLiteral("%1: \"%2\" in %3 pt needs %4x%5 pixels, the label shows %6x%7")
                            .arg(Describe(label), label->text())
                            .arg(label->font().pointSizeF())
                            .arg(needed.width())
                            .arg(needed.height())
                            .arg(area.width())
                            .arg(area.height());
        if (!InsideAncestors(label, window))
            problems << QStringLiteral("%1: \"%2\" is partly outside the widgets it lies in")
                            .arg(Describe(label), label->text());
        // A dialog's title stands over the middle of the dialog.
        if (label->objectName().endsWith(QLatin1String("labelTitle"))) {
            const int middle = label->mapTo(window, label->rect().center()).x();
            if (qAbs(middle - window->rect().center().x()) > 1)
                problems << QStringLiteral("%1: \"%2\" is centred at x %3, the dialog's middle is %4")
                                .arg(Describe(label), label->text())
                                .arg(middle)
                                .arg(window->rect().center().x());
        }
    }

    for (QAbstractButton *button : window->findChildren<QAbstractButton *>()) {
        if (!button->isVisibleTo(window))
            continue;
        const QSize needed = CaptionSize(button);
        if (needed.width() > button->width() || needed.height() > button->height())
            problems << QStringLiteral("%1: caption \"%2\" needs %3x%4 pixels with its margins, the button is %5x%6")
                            .arg(Describe(button), button->text())
                            .arg(needed.width())
                            .arg(needed.height())
                            .arg(button->width())
                            .arg(button->height());
        if (!InsideAncestors(button, window))
            problems << QStringLiteral("%1 is partly outside the widgets it lies in").arg(Describe(button));
    }
    return problems;
}

void Dismiss(QList<QWidget *> &shown)
{
    while (!shown.isEmpty()) {
        QWidget *top = shown.takeLast();
        top->hide();
        delete top;
    }
}

} // namespace Gallery
