#include "ProgressDialog.h"

#include "DialogLook.h"

namespace Generic {
namespace {

const QSize kProgressSize(520, 315);

} // namespace

ProgressDialog::ProgressDialog(QWidget *parent)
    : ProgressDialog(NoButtons, parent)
{
}

ProgressDialog::ProgressDialog(int buttonMode, QWidget *parent)
    : StandardButtonsDialog(buttonMode, parent, true)
{
    setupUi(ContentsFrame());
    progressBar->setStyle(FlatStyle());
    ConnectContentsSlots(this, ContentsFrame());
    StandardButtonsDialog::SetTitle(ContentsFrame()->windowTitle());
    ApplyDefaultSize();
    SetFullScreen(false);
    setFixedSize(kProgressSize);
    connect(ui_checkBoxOption, &QCheckBox::toggled, this, &ProgressDialog::CheckBoxToggled);
    ui_checkBoxOption->hide();
}

void ProgressDialog::SetIndeterminate()
{
    progressBar->setRange(0, 0);
}

void ProgressDialog::SetProgressMaximum(int maximum)
{
    progressBar->setMaximum(maximum);
}

void ProgressDialog::SetOptionVisible(bool visible)
{
    ui_checkBoxOption->setVisible(visible);
}

void ProgressDialog::SetOptionText(QString text)
{
    ui_checkBoxOption->setText(text);
}

bool ProgressDialog::IsOptionChecked() const
{
    return ui_checkBoxOption->isChecked();
}

void ProgressDialog::SetTitle(QString title)
{
    StandardButtonsDialog::SetTitle(title);
}

void ProgressDialog::SetText(QString text)
{
    textLabelText->setText(text);
}

void ProgressDialog::SetProgressCount(int count)
{
    progressBar->setValue(count);
}

void ProgressDialog::EnableButton(bool enable)
{
    EnableCenter(enable);
}

void ProgressDialog::EnableButton()
{
    EnableButton(true);
}

} // namespace Generic
