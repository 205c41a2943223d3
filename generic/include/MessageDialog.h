#pragma once
// The message box of the dialog family (520 by 315): a title, an icon, a bold wrapped
// text and the buttons of a button mode, with one-call helpers.
//
// Create... functions build a dialog and return it (the caller shows or runs it).
// Show... functions build one without a parent, run it modally until the user dismisses
// it (or, for ShowWait, until its time-out) and delete it.

#include "Images.h"
#include "StandardButtonsDialog.h"

#include <memory>

namespace Ui {
class MessageDialog;
}

namespace Generic {

class MessageDialog : public StandardButtonsDialog
{
    Q_OBJECT
public:
    // mode: the button mode (0 accept and cancel, 1 done, 2 cancel, 3 none).
    MessageDialog(const QString &title, const QString &text, Images::Type icon, int mode,
                  QWidget *parent = nullptr);
    ~MessageDialog() override;

    // Information: icon MessageInfo, one Done button (result 1).
    static MessageDialog *CreateInformation(const QString &title, const QString &text,
                                            QWidget *parent = nullptr);
    static void ShowInformation(const QString &title, const QString &text);
    // Warning: icon MessageWarning, one Done button.
    static MessageDialog *CreateWarning(const QString &title, const QString &text,
                                        QWidget *parent = nullptr);
    static void ShowWarning(const QString &title, const QString &text);
    // Question: icon MessageQuestion, Accept (1) and Cancel (0); ShowQuestion returns
    // the answer.
    static MessageDialog *CreateQuestion(const QString &title, const QString &text,
                                         QWidget *parent = nullptr);
    static int ShowQuestion(const QString &title, const QString &text);
    // Wait: icon MessageWait, no buttons; with timeoutMs of 1 or more the dialog rejects
    // itself that many milliseconds after it was created; with 0 it stays until closed.
    static MessageDialog *CreateWait(const QString &title, const QString &text, int timeoutMs,
                                     QWidget *parent = nullptr);
    static void ShowWait(const QString &title, const QString &text, int timeoutMs);

public slots:
    void SetText(QString text);
    void SetIcon(Images::Type icon);

private:
    std::unique_ptr<Ui::MessageDialog> m_ui;
};

} // namespace Generic
