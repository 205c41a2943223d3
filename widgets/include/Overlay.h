#pragma once
// A translucent sheet laid over a widget that must not be used for the moment (a dialog
// below the top of the dialog stack). It takes the clicks meant for what it covers.

#include <QColor>
#include <QWidget>

namespace Widgets {

class Overlay : public QWidget
{
    Q_OBJECT
public:
    // Fills itself with the overlay colour in the given brush style and, with a parent,
    // covers the parent's whole area. The owner shows it.
    explicit Overlay(QWidget *parent = nullptr, Qt::BrushStyle style = Qt::SolidPattern);

    // The overlay colour is black with this alpha (0..255) for overlays made afterwards;
    // 102 at start-up.
    static void SetOverlayAlpha(int alpha);
    static QColor OverlayColor();
};

} // namespace Widgets
