#pragma once
// A full-size panel with a close button, a title and a frame that takes any widget.
// It deletes itself when closed; a caller shows it (exec() is deliberately a no-op).

#include "Dialog.h"

#include <memory>

namespace Ui {
class InfoDialog;
}

namespace Generic {

class InfoDialog : public Dialog
{
    Q_OBJECT
public:
    explicit InfoDialog(QWidget *parent = nullptr, bool framed = true);
    ~InfoDialog() override;

    // Puts the widget into the frame and takes its window title as the dialog's title.
    void SetContents(QWidget *widget);

    virtual void SetTitle(const QString &title);
    virtual QString Title() const;

public slots:
    void on_buttonExit_clicked();
    // Returns 0 at once without showing anything: an info dialog is shown, not run.
    int exec() override;

private:
    std::unique_ptr<Ui::InfoDialog> m_ui;
};

} // namespace Generic
