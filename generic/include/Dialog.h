#pragma once
// The base of every dialog of the display.
//
// The display has no window manager, so the dialogs keep their own order: a process-wide
// stack of the dialogs that are shown, bottom first. Showing a modal dialog covers the
// current top one with a dimming overlay (it emits Disabled()); hiding the top one
// uncovers and activates the dialog below it (which emits Enabled()). Only the top of
// the stack is usable. Every dialog is modal, and of fixed size once shown.

#include <QDialog>
#include <QList>
#include <QSize>

namespace Widgets {
class Overlay;
}

namespace Generic {

class Dialog : public QDialog
{
    Q_OBJECT
public:
    explicit Dialog(QWidget *parent = nullptr);
    ~Dialog() override;

    // The dialog's result is 1 (accepted).
    bool IsAccepted() const;

    // The nearest ancestor of object (not object itself) that is a Dialog, or null.
    static Dialog *FindParentDialog(QObject *object);

    // Covers the dialog with the overlay (once) and emits Disabled().
    void Disable();
    // Removes the overlay, activates the window and emits Enabled().
    void Enable();
    // True while no overlay covers the dialog.
    bool IsEnabled() const;

    // The stack decides the order of the dialogs; this only warns.
    void stackUnder(QWidget *widget);

    // On: frameless, remembers the minimum and maximum sizes and fixes the size to the
    // full 1024 by 768 screen. Off: drops the frameless hint and brings back the
    // remembered sizes (nothing to bring back before the first switch on).
    virtual void SetFullScreen(bool on);

    // The dialogs currently shown, bottom first.
    static QList<Dialog *> Stack();

signals:
    void Enabled();
    void Disabled();

public slots:
    // Sends the dialog to the bottom of the stack; with another dialog open, that one
    // becomes the usable top and this one is covered.
    void lower();
    // Brings the dialog to the top of the stack, covering the previous top.
    void raise();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void CentreOnScreen();

    int m_minimumWidth = -1;
    int m_minimumHeight = -1;
    int m_maximumWidth = -1;
    int m_maximumHeight = -1;
    Widgets::Overlay *m_overlay = nullptr;
};

} // namespace Generic
