#pragma once
// The older three-button message box: left (accept), middle (OK) and right (cancel),
// each described by a ResultButtonInfo.
//
// Modes: 0 accept and cancel, 1 a single OK, 2 all three with results 1, 2 and 0,
// 3 no buttons.

#include "Dialog.h"
#include "Images.h"
#include "ResultButtonInfo.h"
#include "ui_LegacyMessageDialog.h"

namespace Generic {

class LegacyMessageDialog : public Dialog, private Ui::LegacyMessageDialog
{
    Q_OBJECT
public:
    enum Button { Left = 0, Middle = 1, Right = 2 };
    Q_ENUM(Button)

    // The older dialog's own button rows. Its mode 2 is not the standard dialogs' "cancel
    // only": all three buttons show and the middle one finishes with result 2.
    enum Mode : int {
        LeftAndRight = 0,      // accept and cancel
        MiddleOnly = 1,        // one OK button
        AllThreeMiddleTwo = 2, // accept, OK with result 2, cancel
        NoButtonRow = 3,       // no buttons until SetButtonInfo gives some
    };

    // `mode` is a Mode; the display's other programs pass the plain numbers.
    LegacyMessageDialog(QWidget *parent = nullptr, int mode = MiddleOnly,
                        Images::Type icon = Images::MessageInfo);

    // A dialog in mode NoButtonRow with a button for each non-empty text: left accepts (result 1,
    // no picture), middle is an OK (1), right cancels (0).
    static LegacyMessageDialog *Create(QWidget *parent, const QString &title,
                                       const QString &text, const QString &leftText,
                                       const QString &middleText, const QString &rightText);

    // After the middle button has finished the dialog, an event of this type is posted
    // to receiver (both must be set; type 0 or a null receiver post nothing).
    void SetPostedEvent(QObject *receiver, int type);

public slots:
    void SetTitle(QString text);
    void SetText(QString text);
    void SetIcon(Images::Type icon);
    void SetLeftButton(ResultButtonInfo button_info);
    void SetMiddleButton(ResultButtonInfo button_info);
    void SetRightButton(ResultButtonInfo button_info);
    void SetButtonInfo(Generic::LegacyMessageDialog::Button button,
                       Generic::ResultButtonInfo info);
    // Runs the modal loop; the dialog then survives its closing and the caller deletes it.
    int exec() override;
    void on_ui_buttonAccept_clicked();
    void on_ui_buttonCancel_clicked();
    void on_ui_buttonOk_clicked();

private:
    QPushButton *ButtonAt(Button button) const;

    int m_postedEventType = 0;
    QObject *m_postedEventReceiver = nullptr;
    ResultButtonInfo m_left;
    ResultButtonInfo m_middle;
    ResultButtonInfo m_right;
};

} // namespace Generic
