#include "Dialog.h"

#include "Overlay.h"

#include <QDebug>
#include <QHideEvent>
#include <QScreen>
#include <QShowEvent>

namespace Generic {
namespace {

// The display's full screen.
constexpr int kScreenWidth = 1024;
constexpr int kScreenHeight = 768;

// What full-screen mode adds to the window flags.
const Qt::WindowFlags kFullScreenFlags = Qt::FramelessWindowHint;

// GUI thread only, like the dialogs themselves.
QList<Dialog *> &DialogStack()
{
    static QList<Dialog *> stack;
    return stack;
}

} // namespace

Dialog::Dialog(QWidget *parent)
    : QDialog(parent, Qt::WindowFlags())
{
    setModal(true);
}

Dialog::~Dialog()
{
    // Hiding takes the dialog off the stack and uncovers the one below.
    if (isVisible())
        hide();
    m_overlay = nullptr; // a child: deleted with the dialog
}

bool Dialog::IsAccepted() const
{
    return result() == QDialog::Accepted;
}

Dialog *Dialog::FindParentDialog(QObject *object)
{
    for (QObject *o = object ? object->parent() : nullptr; o; o = o->parent()) {
        if (auto *dialog = qobject_cast<Dialog *>(o))
            return dialog;
    }
    return nullptr;
}

void Dialog::Disable()
{
    if (!m_overlay) {
        m_overlay = new Widgets::Overlay(this, Qt::SolidPattern);
        m_overlay->show();
        m_overlay->raise();
    }
    emit Disabled();
}

void Dialog::Enable()
{
    if (m_overlay) {
        delete m_overlay;
        m_overlay = nullptr;
    }
    activateWindow();
    emit Enabled();
}

bool Dialog::IsEnabled() const
{
    return m_overlay == nullptr;
}

void Dialog::stackUnder(QWidget *)
{
    qWarning("Dialog::stackUnder not implemented.");
}

void Dialog::SetFullScreen(bool on)
{
    if (on) {
        setWindowFlags(windowFlags() | kFullScreenFlags);
        m_minimumWidth = minimumWidth();
        m_minimumHeight = minimumHeight();
        m_maximumWidth = maximumWidth();
        m_maximumHeight = maximumHeight();
        setFixedSize(kScreenWidth, kScreenHeight);
    } else {
        setWindowFlags(windowFlags() & ~kFullScreenFlags);
        if (m_minimumWidth > 0 && m_minimumHeight > 0)
            setMinimumSize(m_minimumWidth, m_minimumHeight);
        if (m_maximumWidth > 0 && m_maximumHeight > 0)
            setMaximumSize(m_maximumWidth, m_maximumHeight);
    }
}

QList<Dialog *> Dialog::Stack()
{
    return DialogStack();
}

void Dialog::lower()
{
    QList<Dialog *> &stack = DialogStack();
    stack.removeAll(this);
    stack.prepend(this);
    if (stack.size() < 2) {
        QDialog::lower();
        return;
    }
    Disable();
    stack.last()->Enable();
    QDialog::lower();
}

void Dialog::raise()
{
    QList<Dialog *> &stack = DialogStack();
    stack.removeAll(this);
    if (!stack.isEmpty())
        stack.last()->Disable();
    Enable();
    stack.append(this);
    QDialog::raise();
}

void Dialog::showEvent(QShowEvent *event)
{
    if (event->spontaneous()) {
        QDialog::showEvent(event);
        return;
    }
    QList<Dialog *> &stack = DialogStack();
    if (!stack.isEmpty() && windowModality() != Qt::NonModal)
        stack.last()->Disable();
    stack.append(this);
    const bool placedByCaller = testAttribute(Qt::WA_Moved);
    QDialog::showEvent(event);
    // The toolkit shifts a new dialog left and up to leave room for a window frame it
    // expects a window manager to draw; this display has none, so a dialog nobody placed
    // goes to the middle of its screen. Moved before it is mapped: no jump on screen.
    if (isWindow() && !placedByCaller)
        CentreOnScreen();
    // Without a window manager nothing else may resize a dialog once it is up.
    setFixedSize(geometry().size());
}

void Dialog::CentreOnScreen()
{
    QScreen *shownOn = screen();
    if (!shownOn)
        return;
    const QRect area = shownOn->geometry();
    const QSize size = frameGeometry().size();
    move(area.x() + (area.width() - size.width()) / 2, area.y() + (area.height() - size.height()) / 2);
    // Not a caller's choice: the next showing centres again, on whatever screen it is.
    setAttribute(Qt::WA_Moved, false);
}

void Dialog::hideEvent(QHideEvent *event)
{
    if (!event->spontaneous()) {
        QList<Dialog *> &stack = DialogStack();
        stack.removeAll(this);
        if (!stack.isEmpty())
            stack.last()->Enable();
    }
    QDialog::hideEvent(event);
}

} // namespace Generic
