#pragma once
// The frame of every content dialog: a bold title, a contents frame that a subclass or
// caller fills, and a row of up to four coloured buttons (help, centre, accept, cancel).
//
// Button modes: 0 accept and cancel, 1 a single done button, 2 cancel only, 3 no buttons
// (the row is hidden). Any other mode leaves the row as the form made it.
// Sizes: a subclass builds its contents and then calls ApplyDefaultSize(), which fixes the
// dialog at 818 by 610 unless the subclass chose a minimum size of its own.

#include "Dialog.h"
#include "ResultButtonInfo.h"

#include <memory>

namespace Generic {

// The button rows of a standard dialog. The display's other programs pass the plain
// numbers, which keep their meaning.
enum ButtonMode : int {
    AcceptAndCancel = 0, // accept on the left, cancel on the right
    DoneOnly = 1,        // one centre button
    CancelOnly = 2,      // cancel on the right
    NoButtons = 3,       // no button row at all
};

class StandardButtonsDialog : public Dialog
{
    Q_OBJECT
public:
    // `mode` is a ButtonMode; any other number leaves the form's buttons as they are.
    StandardButtonsDialog(int mode, QWidget *parent = nullptr, bool framed = true);
    ~StandardButtonsDialog() override;

public slots:
    // Runs the modal loop; the dialog then survives its closing and the caller deletes it.
    int exec() override;
    virtual void SetTitle(QString title);
    // Enables the accept and the centre button together.
    virtual void EnableAccept(bool enable);
    void EnableAccept() { EnableAccept(true); }
    void EnableCancel(bool enable);
    void EnableCancel() { EnableCancel(true); }
    void EnableCenter(bool enable);
    void EnableCenter() { EnableCenter(true); }
    void on_ui_buttonAccept_clicked();
    void on_ui_buttonOk_clicked();
    void on_ui_buttonCancel_clicked();
    void on_ui_buttonHelp_clicked();

public:
    // Asked before the accept or centre button closes the dialog; a subclass refuses
    // with false and the dialog stays open.
    virtual bool CanAccept();
    virtual QString Title() const;
    // 1 accepts, 0 rejects, any other value finishes the dialog with that value.
    virtual void Finish(int result);
    // The accept button is shown and enabled.
    virtual bool IsAcceptEnabled() const;

    // Store the description and apply it to its button (shown or hidden, picture, text).
    void SetCenterButton(const ResultButtonInfo &info);
    void SetAcceptButton(const ResultButtonInfo &info);
    void SetCancelButton(const ResultButtonInfo &info);

    // Puts the widget into the contents frame and sets the title.
    void SetContents(QWidget *widget, const QString &title);
    // Takes ownership of the widget that the help button shows, and shows the help button.
    void SetHelpWidget(QWidget *widget);
    QWidget *ContentsFrame() const;

    // Fixes the size at 818 by 610 if no subclass set a minimum size of its own.
    void ApplyDefaultSize();

    // Connects the dialog's slots named on_<object>_<signal> to the signals of the
    // widgets inside contents (Qt's connectSlotsByName only looks inside one widget
    // tree, and a content dialog keeps its form inside the contents frame).
    static void ConnectContentsSlots(QObject *dialog, QWidget *contents);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace Generic
