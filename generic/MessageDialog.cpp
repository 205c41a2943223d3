#include "MessageDialog.h"

#include "ui_MessageDialog.h"

#include <QTimer>

namespace Generic {
namespace {

const QSize kMessageSize(520, 315);

int RunAndDelete(MessageDialog *dialog)
{
    const int result = dialog->exec();
    delete dialog;
    return result;
}

} // namespace

MessageDialog::MessageDialog(const QString &title, const QString &text, Images::Type icon,
                             int mode, QWidget *parent)
    : StandardButtonsDialog(mode, parent, true)
    , m_ui(new Ui::MessageDialog)
{
    m_ui->setupUi(static_cast<QFrame *>(ContentsFrame()));
    ConnectContentsSlots(this, ContentsFrame());
    SetTitle(ContentsFrame()->windowTitle());

    ApplyDefaultSize();
    SetFullScreen(false);
    setFixedSize(kMessageSize);

    SetTitle(title);
    SetText(text);
    SetIcon(icon);
}

MessageDialog::~MessageDialog() = default;

void MessageDialog::SetText(QString text)
{
    m_ui->ui_labelText->setText(text);
}

void MessageDialog::SetIcon(Images::Type icon)
{
    m_ui->ui_labelIcon->setPixmap(ImagePixmap(icon));
}

MessageDialog *MessageDialog::CreateInformation(const QString &title, const QString &text,
                                                QWidget *parent)
{
    return new MessageDialog(title, text, Images::MessageInfo, DoneOnly, parent);
}

void MessageDialog::ShowInformation(const QString &title, const QString &text)
{
    RunAndDelete(CreateInformation(title, text));
}

MessageDialog *MessageDialog::CreateWarning(const QString &title, const QString &text,
                                            QWidget *parent)
{
    return new MessageDialog(title, text, Images::MessageWarning, DoneOnly, parent);
}

void MessageDialog::ShowWarning(const QString &title, const QString &text)
{
    RunAndDelete(CreateWarning(title, text));
}

MessageDialog *MessageDialog::CreateQuestion(const QString &title, const QString &text,
                                             QWidget *parent)
{
    return new MessageDialog(title, text, Images::MessageQuestion, AcceptAndCancel, parent);
}

int MessageDialog::ShowQuestion(const QString &title, const QString &text)
{
    return RunAndDelete(CreateQuestion(title, text));
}

MessageDialog *MessageDialog::CreateWait(const QString &title, const QString &text,
                                         int timeoutMs, QWidget *parent)
{
    auto *dialog = new MessageDialog(title, text, Images::MessageWait, NoButtons, parent);
    if (timeoutMs >= 1)
        QTimer::singleShot(timeoutMs, dialog, &QDialog::reject);
    return dialog;
}

void MessageDialog::ShowWait(const QString &title, const QString &text, int timeoutMs)
{
    RunAndDelete(CreateWait(title, text, timeoutMs));
}

} // namespace Generic
