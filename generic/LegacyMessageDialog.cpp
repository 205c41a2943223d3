#include "LegacyMessageDialog.h"

#include "DialogLook.h"

#include <QCoreApplication>
#include <QEvent>

namespace Generic {

LegacyMessageDialog::LegacyMessageDialog(QWidget *parent, int mode, Images::Type icon)
    : Dialog(parent)
{
    // SetButtonInfo may be called through a queued connection.
    static const int buttonType =
        qRegisterMetaType<Generic::LegacyMessageDialog::Button>("Generic::LegacyMessageDialog::Button");
    Q_UNUSED(buttonType)

    setupUi(this);
    FitTitleToLabel(ui_labelTitle);
    setAttribute(Qt::WA_DeleteOnClose);
    ApplyDialogBackground(this);
    for (QPushButton *button : {ui_buttonAccept, ui_buttonOk, ui_buttonCancel})
        button->setStyle(FlatStyle());

    ResultButtonInfo left = AcceptButton();
    ResultButtonInfo middle = OkButton();
    ResultButtonInfo right = CancelButton();
    switch (mode) {
    case LeftAndRight:
        middle.visible = false;
        break;
    case MiddleOnly:
        left.visible = false;
        right.visible = false;
        break;
    case AllThreeMiddleTwo:
        middle.result = 2;
        break;
    case NoButtonRow:
        left.visible = false;
        middle.visible = false;
        right.visible = false;
        ui_frameButtons->hide();
        break;
    default:
        break;
    }
    SetLeftButton(left);
    SetMiddleButton(middle);
    SetRightButton(right);
    SetIcon(icon);
}

LegacyMessageDialog *LegacyMessageDialog::Create(QWidget *parent, const QString &title,
                                                 const QString &text, const QString &leftText,
                                                 const QString &middleText,
                                                 const QString &rightText)
{
    auto *dialog = new LegacyMessageDialog(parent, NoButtonRow, Images::MessageInfo);
    dialog->SetTitle(title);
    dialog->SetText(text);
    if (!leftText.isEmpty()) {
        AcceptButton left(leftText);
        left.icon = Images::Undefined;
        dialog->SetLeftButton(left);
    }
    if (!middleText.isEmpty())
        dialog->SetMiddleButton(OkButton(middleText));
    if (!rightText.isEmpty())
        dialog->SetRightButton(CancelButton(rightText));
    return dialog;
}

void LegacyMessageDialog::SetPostedEvent(QObject *receiver, int type)
{
    m_postedEventReceiver = receiver;
    m_postedEventType = type;
}

void LegacyMessageDialog::SetTitle(QString text)
{
    SetTitleText(ui_labelTitle, text);
}

void LegacyMessageDialog::SetText(QString text)
{
    ui_labelMessage->setText(text);
}

void LegacyMessageDialog::SetIcon(Images::Type icon)
{
    ui_pixmapIcon->setPixmap(ImagePixmap(icon));
}

void LegacyMessageDialog::SetLeftButton(ResultButtonInfo button_info)
{
    SetButtonInfo(Left, button_info);
}

void LegacyMessageDialog::SetMiddleButton(ResultButtonInfo button_info)
{
    SetButtonInfo(Middle, button_info);
}

void LegacyMessageDialog::SetRightButton(ResultButtonInfo button_info)
{
    SetButtonInfo(Right, button_info);
}

QPushButton *LegacyMessageDialog::ButtonAt(Button button) const
{
    switch (button) {
    case Left:
        return ui_buttonAccept;
    case Middle:
        return ui_buttonOk;
    case Right:
        return ui_buttonCancel;
    }
    return nullptr;
}

void LegacyMessageDialog::SetButtonInfo(Button button, ResultButtonInfo info)
{
    QPushButton *widget = ButtonAt(button);
    if (!widget)
        return;
    switch (button) {
    case Left:
        m_left = info;
        break;
    case Middle:
        m_middle = info;
        break;
    case Right:
        m_right = info;
        break;
    }
    if (!ApplyButtonInfo(widget, info))
        return;
    // A button that is to be seen needs its row, which mode NoButtonRow hides.
    ui_frameButtons->show();
    if (info.icon == Images::StandardAccept)
        ColourButton(widget, kAcceptColour);
    else if (info.icon == Images::StandardCancel)
        ColourButton(widget, kCancelColour);
    else if (info.icon == Images::Undefined)
        widget->setPalette(palette());
}

int LegacyMessageDialog::exec()
{
    setAttribute(Qt::WA_DeleteOnClose, false);
    return Dialog::exec();
}

void LegacyMessageDialog::on_ui_buttonAccept_clicked()
{
    done(m_left.result);
}

void LegacyMessageDialog::on_ui_buttonOk_clicked()
{
    done(m_middle.result);
    if (m_postedEventType != 0 && m_postedEventReceiver)
        QCoreApplication::postEvent(m_postedEventReceiver,
                                    new QEvent(static_cast<QEvent::Type>(m_postedEventType)));
}

void LegacyMessageDialog::on_ui_buttonCancel_clicked()
{
    done(m_right.result);
}

} // namespace Generic
