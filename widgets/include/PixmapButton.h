#pragma once
// A button drawn only from pictures: one for each state, centred, never scaled.

#include <QAbstractButton>
#include <QImage>

namespace Widgets {

class PixmapButton : public QAbstractButton
{
    Q_OBJECT
public:
    explicit PixmapButton(QWidget *parent = nullptr);

    // Drawn while checked.
    void SetCheckedImage(const QString &file);
    void SetCheckedImage(const QImage &image);
    void SetCheckedImage(const QPixmap &pixmap);
    // The normal picture and the fallback for every other state. A null picture is
    // refused and the previous one kept.
    void SetInactiveImage(const QString &file);
    void SetInactiveImage(const QImage &image);
    void SetInactiveImage(const QPixmap &pixmap);
    // Drawn while held down.
    void SetPressedImage(const QString &file);
    void SetPressedImage(const QImage &image);
    void SetPressedImage(const QPixmap &pixmap);
    // Drawn while the button is disabled.
    void SetDisabledImage(const QString &file);
    void SetDisabledImage(const QImage &image);
    void SetDisabledImage(const QPixmap &pixmap);

    // The normal picture's size, 20 by 20 without one.
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QImage m_checked;
    QImage m_inactive;
    QImage m_pressed;
    QImage m_disabled;
};

} // namespace Widgets
