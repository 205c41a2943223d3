#include "Overlay.h"

#include <QPalette>

namespace Widgets {
namespace {

QColor &Colour()
{
    static QColor colour(0, 0, 0, 102);
    return colour;
}

} // namespace

Overlay::Overlay(QWidget *parent, Qt::BrushStyle style)
    : QWidget(parent)
{
    setAutoFillBackground(true);
    QPalette palette = this->palette();
    palette.setBrush(QPalette::Window, QBrush(Colour(), style));
    setPalette(palette);
    if (parent)
        setGeometry(0, 0, parent->width(), parent->height());
}

void Overlay::SetOverlayAlpha(int alpha)
{
    Colour() = QColor(0, 0, 0, alpha);
}

QColor Overlay::OverlayColor()
{
    return Colour();
}

} // namespace Widgets
