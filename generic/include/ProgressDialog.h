#pragma once
// The box that tells the user a long job is running (520 by 315): a title, a wrapped
// text, a progress bar fed with a percentage, an optional check box and the buttons of a
// button mode (by default mode 3: none, so the user cannot close it). It owns no job and
// no timer; it shows what it is told. Progress from a worker thread arrives through a
// queued connection to SetProgressCount(int).

#include "StandardButtonsDialog.h"
#include "ui_ProgressDialogBase.h"

namespace Generic {

class ProgressDialog : public StandardButtonsDialog, private Ui::ProgressDialogBase
{
    Q_OBJECT
public:
    explicit ProgressDialog(QWidget *parent = nullptr);
    // buttonMode: 0 accept and cancel, 1 a single done button, 2 cancel only, 3 none.
    explicit ProgressDialog(int buttonMode, QWidget *parent = nullptr);

    // The bar shows the busy animation instead of a percentage.
    void SetIndeterminate();
    void SetProgressMaximum(int maximum);
    void SetOptionVisible(bool visible);
    void SetOptionText(QString text);
    bool IsOptionChecked() const;

signals:
    // The check box was toggled.
    void CheckBoxToggled(bool checked);

public slots:
    void SetTitle(QString title) override;
    void SetText(QString text);
    // Passed to the bar unchanged: a value outside its range leaves it where it was.
    void SetProgressCount(int count);
    // Enables the centre button.
    void EnableButton(bool enable);
    void EnableButton();
};

} // namespace Generic
