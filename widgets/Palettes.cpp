#include "Palettes.h"

#include <QLinearGradient>

QPalette LightPalette()
{
    QPalette palette;
    palette.setBrush(QPalette::Window, QBrush(QColor(245, 245, 225), Qt::SolidPattern));
    return palette;
}

QPalette ActiveLightPalette()
{
    QPalette palette;
    palette.setBrush(QPalette::Active, QPalette::Window,
                     QBrush(QColor(230, 230, 211), Qt::SolidPattern));
    return palette;
}

QPalette GreenPalette()
{
    QPalette palette;
    palette.setBrush(QPalette::Window, QBrush(QColor(31, 242, 83), Qt::SolidPattern));
    return palette;
}

QBrush GradientBrush()
{
    QLinearGradient gradient(0, 0, 400, 0);
    gradient.setColorAt(0, QColor(200, 215, 250));
    gradient.setColorAt(1, QColor(255, 255, 255));
    return QBrush(gradient);
}
