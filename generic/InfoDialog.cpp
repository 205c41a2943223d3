#include "InfoDialog.h"

#include "DialogLook.h"
#include "Images.h"
#include "ui_InfoDialog.h"

#include <QHBoxLayout>

namespace Generic {

InfoDialog::InfoDialog(QWidget *parent, bool framed)
    : Dialog(parent)
    , m_ui(new Ui::InfoDialog)
{
    m_ui->setupUi(this);
    FitTitleToLabel(m_ui->labelTitle);
    setAttribute(Qt::WA_DeleteOnClose);
    ApplyDialogBackground(this);
    if (framed)
        ApplyContentsFrame(m_ui->frameContents);
    m_ui->buttonExit->SetCheckedImage(ImagePixmap(Images::CloseWindow));
    m_ui->buttonExit->SetInactiveImage(ImagePixmap(Images::CloseWindow));
    m_ui->buttonExit->SetPressedImage(ImagePixmap(Images::CloseWindowPressed));
    m_ui->buttonExit->SetDisabledImage(ImagePixmap(Images::CloseWindowPressed));
}

InfoDialog::~InfoDialog() = default;

void InfoDialog::SetContents(QWidget *widget)
{
    if (!widget)
        return;
    QLayout *layout = m_ui->frameContents->layout();
    if (!layout)
        layout = new QHBoxLayout(m_ui->frameContents);
    layout->addWidget(widget);
    SetTitleText(m_ui->labelTitle, widget->windowTitle());
}

void InfoDialog::SetTitle(const QString &title)
{
    SetTitleText(m_ui->labelTitle, title);
}

QString InfoDialog::Title() const
{
    return m_ui->labelTitle->text();
}

void InfoDialog::on_buttonExit_clicked()
{
    reject();
}

int InfoDialog::exec()
{
    return 0;
}

} // namespace Generic
