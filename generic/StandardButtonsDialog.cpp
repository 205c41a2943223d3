#include "StandardButtonsDialog.h"

#include "DialogLook.h"
#include "Images.h"
#include "ui_StandardButtonsDialog.h"

#include <QMetaMethod>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace Generic {
namespace {

// The form's minimum size until a subclass sets its own.
const QSize kUnsetMinimum(1, 1);
const QSize kDefaultSize(818, 610);

void SetButtonImage(QPushButton *button, Images::Type type)
{
    const QPixmap pixmap = ImagePixmap(type);
    if (pixmap.isNull())
        return;
    button->setIcon(QIcon(pixmap));
    button->setIconSize(pixmap.size());
}

} // namespace

struct StandardButtonsDialog::Private
{
    ResultButtonInfo center;
    ResultButtonInfo accept;
    ResultButtonInfo cancel;
    QPointer<QWidget> helpWidget;
    std::unique_ptr<Ui::StandardButtonsDialog> ui{new Ui::StandardButtonsDialog};

    ~Private() { delete helpWidget.data(); }
};

StandardButtonsDialog::StandardButtonsDialog(int mode, QWidget *parent, bool framed)
    : Dialog(parent)
    , d(new Private)
{
    Ui::StandardButtonsDialog *ui = d->ui.get();
    ui->setupUi(this);
    FitTitleToLabel(ui->labelTitle);
    setAttribute(Qt::WA_DeleteOnClose);
    ApplyDialogBackground(this);
    if (framed)
        ApplyContentsFrame(ui->frameContents);

    switch (mode) {
    case AcceptAndCancel:
        SetCenterButton(NoButton());
        SetAcceptButton(AcceptButton());
        SetCancelButton(CancelButton());
        break;
    case DoneOnly:
        SetCenterButton(DoneButton());
        SetAcceptButton(NoButton());
        SetCancelButton(NoButton());
        break;
    case CancelOnly:
        SetCenterButton(NoButton());
        SetAcceptButton(NoButton());
        SetCancelButton(CancelButton());
        break;
    case NoButtons:
        SetCenterButton(NoButton());
        SetAcceptButton(NoButton());
        SetCancelButton(NoButton());
        break;
    default:
        break;
    }
    if (mode >= AcceptAndCancel && mode <= CancelOnly)
        ui->widgetButtons->show();
    else if (mode == NoButtons)
        ui->widgetButtons->hide();

    ColourButton(ui->ui_buttonAccept, kAcceptColour);
    ColourButton(ui->ui_buttonOk, kAcceptColour);
    ColourButton(ui->ui_buttonCancel, kCancelColour);
    ColourButton(ui->ui_buttonHelp, kHelpColour);
    ui->ui_buttonHelp->hide();

    SetButtonImage(ui->ui_buttonAccept, Images::StandardAccept);
    SetButtonImage(ui->ui_buttonOk, Images::StandardAccept);
    SetButtonImage(ui->ui_buttonCancel, Images::StandardCancel);
}

StandardButtonsDialog::~StandardButtonsDialog() = default;

int StandardButtonsDialog::exec()
{
    setAttribute(Qt::WA_DeleteOnClose, false);
    return Dialog::exec();
}

void StandardButtonsDialog::SetTitle(QString title)
{
    SetTitleText(d->ui->labelTitle, title);
}

void StandardButtonsDialog::EnableAccept(bool enable)
{
    d->ui->ui_buttonAccept->setEnabled(enable);
    d->ui->ui_buttonOk->setEnabled(enable);
}

void StandardButtonsDialog::EnableCancel(bool enable)
{
    d->ui->ui_buttonCancel->setEnabled(enable);
}

void StandardButtonsDialog::EnableCenter(bool enable)
{
    d->ui->ui_buttonOk->setEnabled(enable);
}

bool StandardButtonsDialog::CanAccept()
{
    return true;
}

QString StandardButtonsDialog::Title() const
{
    return d->ui->labelTitle->text();
}

void StandardButtonsDialog::Finish(int result)
{
    if (result == QDialog::Accepted)
        accept();
    else if (result == QDialog::Rejected)
        reject();
    else
        done(result);
}

bool StandardButtonsDialog::IsAcceptEnabled() const
{
    const QPushButton *button = d->ui->ui_buttonAccept;
    return button->isVisibleTo(this) && button->isEnabled();
}

void StandardButtonsDialog::SetCenterButton(const ResultButtonInfo &info)
{
    d->center = info;
    ApplyButtonInfo(d->ui->ui_buttonOk, info);
}

void StandardButtonsDialog::SetAcceptButton(const ResultButtonInfo &info)
{
    d->accept = info;
    ApplyButtonInfo(d->ui->ui_buttonAccept, info);
}

void StandardButtonsDialog::SetCancelButton(const ResultButtonInfo &info)
{
    d->cancel = info;
    ApplyButtonInfo(d->ui->ui_buttonCancel, info);
}

void StandardButtonsDialog::SetContents(QWidget *widget, const QString &title)
{
    QWidget *frame = d->ui->frameContents;
    QLayout *layout = frame->layout();
    if (!layout)
        layout = new QVBoxLayout(frame);
    layout->addWidget(widget);
    SetTitleText(d->ui->labelTitle, title);
}

void StandardButtonsDialog::SetHelpWidget(QWidget *widget)
{
    delete d->helpWidget.data();
    d->helpWidget = widget;
    if (widget)
        widget->setAttribute(Qt::WA_DeleteOnClose, false);
    d->ui->ui_buttonHelp->show();
}

QWidget *StandardButtonsDialog::ContentsFrame() const
{
    return d->ui->frameContents;
}

void StandardButtonsDialog::ApplyDefaultSize()
{
    if (minimumSize() == kUnsetMinimum)
        setFixedSize(kDefaultSize);
}

void StandardButtonsDialog::ConnectContentsSlots(QObject *dialog, QWidget *contents)
{
    const QMetaObject *meta = dialog->metaObject();
    for (int i = 0; i < meta->methodCount(); ++i) {
        const QMetaMethod slot = meta->method(i);
        if (slot.methodType() != QMetaMethod::Slot)
            continue;
        const QByteArray signature = slot.methodSignature();
        if (!signature.startsWith("on_"))
            continue;
        // "on_<object>_<signal>(<arguments>)": the object name may hold "_" itself, the
        // signal name never does.
        const QByteArray rest = signature.mid(3);
        const int parenthesis = rest.indexOf('(');
        const int split = rest.lastIndexOf('_', parenthesis < 0 ? -1 : parenthesis);
        if (split <= 0)
            continue;
        const QString objectName = QString::fromLatin1(rest.left(split));
        const QByteArray signal = QMetaObject::normalizedSignature(rest.mid(split + 1).constData());

        QObject *sender = contents->findChild<QObject *>(objectName);
        if (!sender && contents->objectName() == objectName)
            sender = contents;
        if (!sender)
            continue;
        const int signalIndex = sender->metaObject()->indexOfSignal(signal.constData());
        if (signalIndex < 0)
            continue;
        QObject::connect(sender, sender->metaObject()->method(signalIndex), dialog, slot,
                         Qt::AutoConnection);
    }
}

void StandardButtonsDialog::on_ui_buttonAccept_clicked()
{
    d->ui->widgetButtons->setEnabled(false);
    if (CanAccept())
        Finish(d->accept.result);
    // Refused or not finished: the dialog stays open and usable.
    if (result() == 0)
        d->ui->widgetButtons->setEnabled(true);
}

void StandardButtonsDialog::on_ui_buttonOk_clicked()
{
    d->ui->widgetButtons->setEnabled(false);
    if (CanAccept())
        Finish(d->center.result);
    if (result() == 0)
        d->ui->widgetButtons->setEnabled(true);
}

void StandardButtonsDialog::on_ui_buttonCancel_clicked()
{
    d->ui->widgetButtons->setEnabled(false);
    Finish(d->cancel.result);
    if (result() != 0)
        d->ui->widgetButtons->setEnabled(true);
}

void StandardButtonsDialog::on_ui_buttonHelp_clicked()
{
    if (d->helpWidget)
        d->helpWidget->show();
}

} // namespace Generic
