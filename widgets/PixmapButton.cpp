#include "PixmapButton.h"

#include <QDebug>
#include <QPainter>
#include <QPixmap>

namespace Widgets {

PixmapButton::PixmapButton(QWidget *parent)
    : QAbstractButton(parent)
{
    // The pictures cover what they need; the rest stays the parent's background.
    setAttribute(Qt::WA_NoSystemBackground);
    // A touch screen has no focus to show.
    setFocusPolicy(Qt::NoFocus);
}

void PixmapButton::SetCheckedImage(const QString &file)
{
    SetCheckedImage(QImage(file));
}

void PixmapButton::SetCheckedImage(const QImage &image)
{
    m_checked = image;
    update();
}

void PixmapButton::SetCheckedImage(const QPixmap &pixmap)
{
    SetCheckedImage(pixmap.toImage());
}

void PixmapButton::SetInactiveImage(const QString &file)
{
    SetInactiveImage(QImage(file));
}

void PixmapButton::SetInactiveImage(const QImage &image)
{
    if (image.isNull()) {
        qDebug("PixmapButton: Attempting to set NULL image for inactive state.");
        return;
    }
    m_inactive = image;
    updateGeometry();
    update();
}

void PixmapButton::SetInactiveImage(const QPixmap &pixmap)
{
    SetInactiveImage(pixmap.toImage());
}

void PixmapButton::SetPressedImage(const QString &file)
{
    SetPressedImage(QImage(file));
}

void PixmapButton::SetPressedImage(const QImage &image)
{
    m_pressed = image;
    update();
}

void PixmapButton::SetPressedImage(const QPixmap &pixmap)
{
    SetPressedImage(pixmap.toImage());
}

void PixmapButton::SetDisabledImage(const QString &file)
{
    SetDisabledImage(QImage(file));
}

void PixmapButton::SetDisabledImage(const QImage &image)
{
    m_disabled = image;
    update();
}

void PixmapButton::SetDisabledImage(const QPixmap &pixmap)
{
    SetDisabledImage(pixmap.toImage());
}

QSize PixmapButton::sizeHint() const
{
    return m_inactive.isNull() ? QSize(20, 20) : m_inactive.size();
}

void PixmapButton::paintEvent(QPaintEvent *)
{
    const QImage *image = &m_inactive;
    if (!isEnabled())
        image = &m_disabled;
    else if (isDown())
        image = &m_pressed;
    else if (isChecked())
        image = &m_checked;
    if (image->isNull())
        image = &m_inactive;
    if (image->isNull())
        return;

    // Centred when smaller than the button; from the top-left corner (and clipped)
    // when larger.
    const int x = image->width() < width() ? (width() - image->width()) / 2 : 0;
    const int y = image->height() < height() ? (height() - image->height()) / 2 : 0;
    QPainter painter(this);
    painter.drawImage(x, y, *image);
}

} // namespace Widgets
