// Draws the compiled-in fallback pictures of the dialogs and the resource file that
// lists them. Run at build time:
//
//   qvb_image_generator <output-directory>
//
// writes <output-directory>/Images/<Name>.png and <output-directory>/qvb_images.qrc.
// The display's own resource folders take precedence over these; they only make sure a
// dialog looks complete on a machine without them. Everything is drawn from geometry
// (no fonts), so the pictures are the same on every build machine.

#include <QDir>
#include <QFile>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QStringList>
#include <QTextStream>

#include <cstdio>
#include <functional>

namespace {

const QColor kWhite(255, 255, 255);
const QColor kShadow(0, 0, 0, 70);

QImage Canvas(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QPen Stroke(const QColor &colour, qreal width)
{
    return QPen(colour, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

// A path drawn twice: a soft shadow one pixel down and right, then the stroke.
void StrokeWithShadow(QPainter &p, const QPainterPath &path, const QColor &colour, qreal width)
{
    p.strokePath(path.translated(1.5, 1.5), Stroke(kShadow, width));
    p.strokePath(path, Stroke(colour, width));
}

// A round badge with a light top and a darker bottom edge.
void Badge(QPainter &p, const QRectF &r, const QColor &colour)
{
    QRadialGradient fill(r.center().x() - r.width() * 0.2, r.top() + r.height() * 0.3, r.width() * 0.75);
    fill.setColorAt(0, colour.lighter(135));
    fill.setColorAt(1, colour);
    p.setPen(QPen(colour.darker(140), 2));
    p.setBrush(fill);
    p.drawEllipse(r);
}

QPainterPath Tick(const QRectF &r)
{
    QPainterPath path;
    path.moveTo(r.left() + r.width() * 0.12, r.top() + r.height() * 0.55);
    path.lineTo(r.left() + r.width() * 0.40, r.top() + r.height() * 0.82);
    path.lineTo(r.left() + r.width() * 0.88, r.top() + r.height() * 0.18);
    return path;
}

QPainterPath Cross(const QRectF &r)
{
    QPainterPath path;
    path.moveTo(r.topLeft());
    path.lineTo(r.bottomRight());
    path.moveTo(r.topRight());
    path.lineTo(r.bottomLeft());
    return path;
}

// A button's picture: the mark in white with its shadow, on a 40 by 40 canvas.
QImage WhiteMark(const QPainterPath &mark)
{
    QImage image = Canvas(40, 40);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    StrokeWithShadow(p, mark, kWhite, 6);
    return image;
}

QImage StandardAccept()
{
    return WhiteMark(Tick(QRectF(4, 4, 32, 32)));
}

QImage StandardCancel()
{
    return WhiteMark(Cross(QRectF(9, 9, 22, 22)));
}

// The info dialog's close button: a dark rounded key with a white cross; the pressed
// form is darker with a grey cross.
QImage CloseWindow(bool pressed)
{
    QImage image = Canvas(60, 40);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient fill(0, 0, 0, 40);
    fill.setColorAt(0, pressed ? QColor(40, 48, 60) : QColor(98, 112, 132));
    fill.setColorAt(1, pressed ? QColor(62, 72, 88) : QColor(52, 62, 78));
    p.setPen(QPen(QColor(30, 36, 46), 1.5));
    p.setBrush(fill);
    p.drawRoundedRect(QRectF(2, 2, 56, 36), 7, 7);
    const QColor cross = pressed ? QColor(170, 175, 182) : kWhite;
    StrokeWithShadow(p, Cross(QRectF(21, 11, 18, 18)), cross, 4.5);
    return image;
}

// A 64x64 message picture: a round badge in `colour` with a symbol drawn on it.
template<typename Symbol>
QImage BadgeIcon(const QColor &colour, Symbol drawSymbol)
{
    QImage image = Canvas(64, 64);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    Badge(p, QRectF(3, 3, 58, 58), colour);
    drawSymbol(p);
    return image;
}

QImage MessageInfo()
{
    return BadgeIcon(QColor(0, 102, 204), [](QPainter &p) {
        p.setPen(Qt::NoPen);
        p.setBrush(kWhite);
        p.drawEllipse(QPointF(32, 17.5), 4.5, 4.5);
        p.drawRoundedRect(QRectF(27.5, 26, 9, 25), 2.5, 2.5);
    });
}

QImage MessageWarning()
{
    QImage image = Canvas(64, 64);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath triangle;
    triangle.moveTo(32, 4);
    triangle.lineTo(61, 58);
    triangle.lineTo(3, 58);
    triangle.closeSubpath();
    QLinearGradient fill(0, 4, 0, 58);
    fill.setColorAt(0, QColor(255, 214, 92));
    fill.setColorAt(1, QColor(236, 160, 20));
    p.setPen(Stroke(QColor(170, 110, 10), 3));
    p.setBrush(fill);
    p.drawPath(triangle);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(40, 30, 10));
    QPainterPath bar;
    bar.moveTo(28.5, 21);
    bar.lineTo(35.5, 21);
    bar.lineTo(34, 42);
    bar.lineTo(30, 42);
    bar.closeSubpath();
    p.drawPath(bar);
    p.drawEllipse(QPointF(32, 49), 3.8, 3.8);
    return image;
}

QImage MessageCritical()
{
    return BadgeIcon(QColor(200, 36, 36), [](QPainter &p) {
        p.strokePath(Cross(QRectF(21, 21, 22, 22)), Stroke(kWhite, 7));
    });
}

// An hourglass on a teal badge.
QImage MessageWait()
{
    return BadgeIcon(QColor(0, 128, 140), [](QPainter &p) {
        QPainterPath glass;
        glass.moveTo(20, 15);
        glass.lineTo(44, 15);
        glass.cubicTo(44, 27, 34, 28, 34, 32);
        glass.cubicTo(34, 36, 44, 37, 44, 49);
        glass.lineTo(20, 49);
        glass.cubicTo(20, 37, 30, 36, 30, 32);
        glass.cubicTo(30, 28, 20, 27, 20, 15);
        glass.closeSubpath();
        p.setPen(Stroke(kWhite, 3));
        p.setBrush(QColor(255, 255, 255, 60));
        p.drawPath(glass);
        p.setPen(Qt::NoPen);
        p.setBrush(kWhite);
        QPainterPath sand;
        sand.moveTo(24, 47);
        sand.lineTo(40, 47);
        sand.cubicTo(40, 41, 33, 40, 32, 36);
        sand.cubicTo(31, 40, 24, 41, 24, 47);
        p.drawPath(sand);
        p.drawRect(QRectF(18, 12, 28, 4));
        p.drawRect(QRectF(18, 48, 28, 4));
    });
}

QImage MessageQuestion()
{
    return BadgeIcon(QColor(40, 90, 170), [](QPainter &p) {
        QPainterPath hook;
        hook.arcMoveTo(QRectF(22, 13, 20, 18), 160);
        hook.arcTo(QRectF(22, 13, 20, 18), 160, -250);
        hook.quadTo(32, 33, 32, 39);
        p.strokePath(hook, Stroke(kWhite, 6.5));
        p.setPen(Qt::NoPen);
        p.setBrush(kWhite);
        p.drawEllipse(QPointF(32, 48.5), 4.2, 4.2);
    });
}

// The full-screen dialog background: a quiet vertical blue-grey gradient, so a dialog of
// any size shows the same top part and the picture never visibly tiles.
QImage DialogBackground()
{
    QImage image(1024, 768, QImage::Format_RGB32);
    QPainter p(&image);
    QLinearGradient fill(0, 0, 0, 768);
    fill.setColorAt(0, QColor(222, 229, 238));
    fill.setColorAt(1, QColor(170, 184, 202));
    p.fillRect(image.rect(), fill);
    return image;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <output-directory>\n", argv[0]);
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    if (!QDir().mkpath(out + QStringLiteral("/Images"))) {
        std::fprintf(stderr, "cannot create %s/Images\n", argv[1]);
        return 1;
    }

    const std::pair<const char *, std::function<QImage()>> pictures[] = {
        {"StandardAccept", StandardAccept},
        {"StandardCancel", StandardCancel},
        {"CloseWindow", [] { return CloseWindow(false); }},
        {"CloseWindowPressed", [] { return CloseWindow(true); }},
        {"MessageInfo", MessageInfo},
        {"MessageWarning", MessageWarning},
        {"MessageCritical", MessageCritical},
        {"MessageWait", MessageWait},
        {"MessageQuestion", MessageQuestion},
        {"DialogBackground", DialogBackground},
    };

    QStringList entries;
    for (const auto &picture : pictures) {
        const QString file = QStringLiteral("Images/%1.png").arg(QLatin1String(picture.first));
        if (!picture.second().save(out + QLatin1Char('/') + file, "PNG")) {
            std::fprintf(stderr, "cannot write %s/%s\n", argv[1], qPrintable(file));
            return 1;
        }
        entries << file;
    }

    // The files sit under "Images/" next to the resource file, so ":/Images/<Name>.png"
    // is what the "images" search prefix finds.
    QFile qrc(out + QStringLiteral("/qvb_images.qrc"));
    if (!qrc.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        std::fprintf(stderr, "cannot write %s/qvb_images.qrc\n", argv[1]);
        return 1;
    }
    QTextStream text(&qrc);
    text << "<!DOCTYPE RCC><RCC version=\"1.0\">\n<qresource prefix=\"/\">\n";
    for (const QString &file : entries)
        text << "  <file>" << file << "</file>\n";
    text << "</qresource>\n</RCC>\n";
    text.flush();
    return qrc.error() == QFile::NoError ? 0 : 1;
}
