// The image table and its lookup, background pictures, the pixmap button and the
// overlay. Runs inside a throwaway root: stand-in pictures are written under
// "/home/resources/".

#include "Images.h"
#include "Overlay.h"
#include "Palettes.h"
#include "PixmapButton.h"
#include "TestSupport.h"

#include <QBuffer>
#include <QMetaEnum>
#include <QPainter>
#include <QPixmapCache>
#include <QtTest>
#include <QWidget>

namespace {

// Writes a solid picture of the given size and colour as a PNG file.
void WritePicture(const QString &path, QSize size, QColor colour)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    QVERIFY(image.save(&buffer, "PNG"));
    QVERIFY(TestSupport::WriteFile(path, png));
}

QImage Solid(QSize size, QColor colour)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

// Renders a widget into a fresh image over a known background.
QImage Render(QWidget *widget, QColor background = Qt::magenta)
{
    QImage image(widget->size(), QImage::Format_ARGB32);
    image.fill(background);
    widget->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

} // namespace

class TestWidgets : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    // image table
    void fileNames_data();
    void fileNames();
    void enumeratorsFollowFileNames();

    // lookup and cache
    void searchOrder_data();
    void searchOrder();
    void loadsAreCached();
    void missingFileIsCachedEmpty();
    void backgroundPictureIsTiled();
    void palettePresets_data();
    void palettePresets();

    // pixmap button
    void buttonPicksImageByState_data();
    void buttonPicksImageByState();
    void buttonCentresSmallAndClipsLargeImages();
    void buttonSizeHint();
    void nullInactiveImageIsRefused();
    void buttonTakesImagesFromFilesAndPixmaps();

    // overlay
    void overlayDimsWholeParent();
    void overlayAlphaAppliesToLaterOverlays();
};

void TestWidgets::initTestCase()
{
    QVB_REQUIRE_THROWAWAY_ROOT();
}

void TestWidgets::fileNames_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("fileName");
    QTest::newRow("first") << 0 << "images:Undefined.png";
    QTest::newRow("last") << 347 << "images:TramlineRight.png";
    QTest::newRow("accept") << 25 << "images:StandardAccept.png";
    QTest::newRow("cancel") << 26 << "images:StandardCancel.png";
    QTest::newRow("close") << 50 << "images:CloseWindow.png";
    QTest::newRow("close pressed") << 51 << "images:CloseWindowPressed.png";
    QTest::newRow("info") << 56 << "images:MessageInfo.png";
    QTest::newRow("warning") << 57 << "images:MessageWarning.png";
    QTest::newRow("critical") << 58 << "images:MessageCritical.png";
    QTest::newRow("wait") << 59 << "images:MessageWait.png";
    QTest::newRow("question") << 60 << "images:MessageQuestion.png";
    QTest::newRow("dash") << 8 << "images:bullet-empty.png";
    QTest::newRow("subfolder") << 290 << "images:FieldNotes/AirTemperature.png";
    QTest::newRow("after the unnamed pair") << 163 << "images:guidance-unselected-point.png";
    QTest::newRow("duplicate first") << 22 << "images:WarningSmall.png";
    QTest::newRow("duplicate second") << 338 << "images:WarningSmall.png";
    QTest::newRow("left arrow again") << 48 << "images:ArrowWhiteLeft.png";
    QTest::newRow("right arrow again") << 49 << "images:ArrowWhiteRight.png";
}

void TestWidgets::fileNames()
{
    QFETCH(int, value);
    QFETCH(QString, fileName);
    QCOMPARE(Images::FileName(static_cast<Images::Type>(value)), fileName);
}

// Every enumerator names its own file: "-" and "/" become "_", and the second of a
// duplicated name carries a "2". A row out of step with the enumeration shows up here.
void TestWidgets::enumeratorsFollowFileNames()
{
    const QMetaEnum type = QMetaEnum::fromType<Images::Type>();
    QCOMPARE(type.keyCount(), Images::Count);
    QCOMPARE(Images::Count, 348);
    const QSet<int> duplicates{48, 49, 338};
    for (int i = 0; i < type.keyCount(); ++i) {
        QCOMPARE(type.value(i), i);
        QString name = Images::FileName(static_cast<Images::Type>(i));
        QVERIFY2(name.startsWith("images:") && name.endsWith(".png"), qPrintable(name));
        name = name.mid(7, name.size() - 11).replace('-', '_').replace('/', '_');
        if (duplicates.contains(i))
            name += '2';
        QCOMPARE(QString::fromLatin1(type.key(i)), name);
    }
}

void TestWidgets::searchOrder_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QStringList>("standIns"); // folders holding a stand-in, in writing order
    QTest::addColumn<int>("expectedWidth"); // 0: the compiled-in picture, -1: none

    // Stand-ins are 10 + folder index pixels wide, so the width tells which one was read.
    QTest::newRow("icon before image")
        << int(Images::StandardAccept) << QStringList{"/home/resources/image/", "/home/resources/icon/"} << 10;
    QTest::newRow("image before tarin")
        << int(Images::StandardCancel) << QStringList{"/home/resources/icon/tarin/", "/home/resources/image/"} << 11;
    QTest::newRow("tarin before compiled-in")
        << int(Images::CloseWindow) << QStringList{"/home/resources/icon/tarin/"} << 12;
    QTest::newRow("compiled-in fallback") << int(Images::MessageQuestion) << QStringList{} << 0;
    QTest::newRow("nowhere") << int(Images::SatPlotBackground) << QStringList{} << -1;
}

void TestWidgets::searchOrder()
{
    QFETCH(int, type);
    QFETCH(QStringList, standIns);
    QFETCH(int, expectedWidth);

    const QStringList folders{"/home/resources/icon/", "/home/resources/image/", "/home/resources/icon/tarin/"};
    const QString file = Images::FileName(static_cast<Images::Type>(type)).mid(7);
    for (const QString &folder : standIns)
        WritePicture(folder + file, QSize(10 + folders.indexOf(folder), 5), Qt::red);

    const QPixmap pixmap = ImagePixmap(static_cast<Images::Type>(type));
    if (expectedWidth < 0) {
        QVERIFY(pixmap.isNull());
    } else if (expectedWidth == 0) {
        QVERIFY(!pixmap.isNull());
        const QImage compiledIn(":/Images/" + file);
        QVERIFY(!compiledIn.isNull());
        QCOMPARE(pixmap.toImage().convertToFormat(QImage::Format_ARGB32),
                 compiledIn.convertToFormat(QImage::Format_ARGB32));
    } else {
        QCOMPARE(pixmap.width(), expectedWidth);
    }
}

void TestWidgets::loadsAreCached()
{
    const QString path = "/home/resources/image/Cached.png";
    WritePicture(path, QSize(10, 10), Qt::red);
    QCOMPARE(LoadPixmap(path).size(), QSize(10, 10));

    // A changed file is not read again while the cache holds the name... (a new time
    // stamp, so that nothing but LoadPixmap's own cache entry can hide the change)
    WritePicture(path, QSize(12, 12), Qt::blue);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(120), QFileDevice::FileModificationTime));
    file.close();
    QCOMPARE(LoadPixmap(path).size(), QSize(10, 10));
    // ...and is read once the cache has forgotten it.
    QPixmapCache::clear();
    QCOMPARE(LoadPixmap(path).size(), QSize(12, 12));
}

void TestWidgets::missingFileIsCachedEmpty()
{
    const QString path = "/home/resources/image/Late.png";
    QVERIFY(LoadPixmap(path).isNull());
    WritePicture(path, QSize(8, 8), Qt::green);
    QVERIFY(LoadPixmap(path).isNull());
    QPixmapCache::clear();
    QCOMPARE(LoadPixmap(path).size(), QSize(8, 8));
}

void TestWidgets::backgroundPictureIsTiled()
{
    // A 4 by 4 tile: red top-left pixel, blue elsewhere.
    QImage tile = Solid(QSize(4, 4), Qt::blue);
    tile.setPixelColor(0, 0, Qt::red);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    QVERIFY(tile.save(&buffer, "PNG"));
    QVERIFY(TestSupport::WriteFile("/home/resources/image/Tile.png", png));

    QWidget widget;
    widget.resize(10, 10);
    SetBackgroundPixmap(&widget, "/home/resources/image/Tile.png");
    QVERIFY(widget.autoFillBackground());
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        QCOMPARE(widget.palette().brush(group, widget.backgroundRole()).texture().size(), QSize(4, 4));

    const QImage image = Render(&widget);
    QCOMPARE(image.pixelColor(0, 0), QColor(Qt::red));
    QCOMPARE(image.pixelColor(4, 8), QColor(Qt::red));
    QCOMPARE(image.pixelColor(8, 4), QColor(Qt::red));
    QCOMPARE(image.pixelColor(9, 9), QColor(Qt::blue));
}

void TestWidgets::palettePresets_data()
{
    QTest::addColumn<QPalette>("palette");
    QTest::addColumn<QColor>("active");
    QTest::addColumn<QColor>("inactive");
    const QColor standard = QPalette().color(QPalette::Inactive, QPalette::Window);
    QTest::newRow("light") << LightPalette() << QColor(245, 245, 225) << QColor(245, 245, 225);
    QTest::newRow("active light") << ActiveLightPalette() << QColor(230, 230, 211) << standard;
    QTest::newRow("green") << GreenPalette() << QColor(31, 242, 83) << QColor(31, 242, 83);
}

void TestWidgets::palettePresets()
{
    QFETCH(QPalette, palette);
    QFETCH(QColor, active);
    QFETCH(QColor, inactive);
    QCOMPARE(palette.color(QPalette::Active, QPalette::Window), active);
    QCOMPARE(palette.color(QPalette::Inactive, QPalette::Window), inactive);
    QCOMPARE(palette.brush(QPalette::Active, QPalette::Window).style(), Qt::SolidPattern);
}

void TestWidgets::buttonPicksImageByState_data()
{
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("down");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<QString>("images"); // letters of the images set: c, i, p, d
    QTest::addColumn<QColor>("expected");

    const QColor checked(Qt::yellow), inactive(Qt::green), pressed(Qt::red), disabled(Qt::gray);
    QTest::newRow("normal") << true << false << false << "cipd" << inactive;
    QTest::newRow("checked") << true << false << true << "cipd" << checked;
    QTest::newRow("held down") << true << true << false << "cipd" << pressed;
    QTest::newRow("held down wins over checked") << true << true << true << "cipd" << pressed;
    QTest::newRow("disabled wins over all") << false << true << true << "cipd" << disabled;
    QTest::newRow("disabled without its image") << false << false << false << "cip" << inactive;
    QTest::newRow("pressed without its image") << true << true << false << "cid" << inactive;
    QTest::newRow("checked without its image") << true << false << true << "ipd" << inactive;
    QTest::newRow("no inactive image draws nothing") << true << false << false << "" << QColor(Qt::magenta);
}

void TestWidgets::buttonPicksImageByState()
{
    QFETCH(bool, enabled);
    QFETCH(bool, down);
    QFETCH(bool, checked);
    QFETCH(QString, images);
    QFETCH(QColor, expected);

    Widgets::PixmapButton button;
    button.resize(20, 20);
    const QSize size(20, 20);
    if (images.contains('c'))
        button.SetCheckedImage(Solid(size, Qt::yellow));
    if (images.contains('i'))
        button.SetInactiveImage(Solid(size, Qt::green));
    if (images.contains('p'))
        button.SetPressedImage(Solid(size, Qt::red));
    if (images.contains('d'))
        button.SetDisabledImage(Solid(size, Qt::gray));
    button.setCheckable(true);
    button.setChecked(checked);
    button.setDown(down);
    button.setEnabled(enabled);

    QCOMPARE(Render(&button).pixelColor(10, 10), expected);
}

void TestWidgets::buttonCentresSmallAndClipsLargeImages()
{
    Widgets::PixmapButton button;
    button.resize(31, 21);

    // 10 by 6 in 31 by 21: x = 21 / 2 = 10, y = 15 / 2 = 7.
    QImage small = Solid(QSize(10, 6), Qt::green);
    small.setPixelColor(0, 0, Qt::red);
    button.SetInactiveImage(small);
    QImage image = Render(&button);
    QCOMPARE(image.pixelColor(10, 7), QColor(Qt::red));
    QCOMPARE(image.pixelColor(9, 7), QColor(Qt::magenta));
    QCOMPARE(image.pixelColor(19, 12), QColor(Qt::green));
    QCOMPARE(image.pixelColor(20, 13), QColor(Qt::magenta));

    // 40 by 30 in 31 by 21: drawn from the top-left corner, the rest clipped.
    QImage large = Solid(QSize(40, 30), Qt::green);
    large.setPixelColor(0, 0, Qt::red);
    button.SetInactiveImage(large);
    image = Render(&button);
    QCOMPARE(image.pixelColor(0, 0), QColor(Qt::red));
    QCOMPARE(image.pixelColor(30, 20), QColor(Qt::green));

    // Wider than the button but not as tall: x from 0, y centred.
    QImage wide = Solid(QSize(40, 5), Qt::green);
    wide.setPixelColor(0, 0, Qt::red);
    button.SetInactiveImage(wide);
    image = Render(&button);
    QCOMPARE(image.pixelColor(0, 8), QColor(Qt::red));
    QCOMPARE(image.pixelColor(0, 7), QColor(Qt::magenta));
}

void TestWidgets::buttonSizeHint()
{
    Widgets::PixmapButton button;
    QCOMPARE(button.sizeHint(), QSize(20, 20));
    QCOMPARE(button.focusPolicy(), Qt::NoFocus);
    QVERIFY(button.testAttribute(Qt::WA_NoSystemBackground));
    button.SetInactiveImage(Solid(QSize(60, 40), Qt::green));
    QCOMPARE(button.sizeHint(), QSize(60, 40));
    // Only the normal picture decides the size.
    button.SetPressedImage(Solid(QSize(90, 90), Qt::red));
    QCOMPARE(button.sizeHint(), QSize(60, 40));
}

void TestWidgets::nullInactiveImageIsRefused()
{
    Widgets::PixmapButton button;
    button.resize(20, 20);
    button.SetInactiveImage(Solid(QSize(20, 20), Qt::green));
    const char *message = "PixmapButton: Attempting to set NULL image for inactive state.";
    QTest::ignoreMessage(QtDebugMsg, message);
    button.SetInactiveImage(QImage());
    QTest::ignoreMessage(QtDebugMsg, message);
    button.SetInactiveImage(QPixmap());
    QTest::ignoreMessage(QtDebugMsg, message);
    button.SetInactiveImage(QString("/home/resources/icon/NoSuchFile.png"));
    QCOMPARE(Render(&button).pixelColor(10, 10), QColor(Qt::green));
    QCOMPARE(button.sizeHint(), QSize(20, 20));
}

void TestWidgets::buttonTakesImagesFromFilesAndPixmaps()
{
    WritePicture("/home/resources/icon/ButtonFace.png", QSize(16, 16), Qt::blue);
    Widgets::PixmapButton button;
    button.resize(16, 16);
    button.SetInactiveImage(QString("/home/resources/icon/ButtonFace.png"));
    QCOMPARE(Render(&button).pixelColor(8, 8), QColor(Qt::blue));
    QPixmap pressed(16, 16);
    pressed.fill(Qt::red);
    button.SetPressedImage(pressed);
    button.setDown(true);
    QCOMPARE(Render(&button).pixelColor(8, 8), QColor(Qt::red));
}

void TestWidgets::overlayDimsWholeParent()
{
    QWidget parent;
    parent.resize(50, 40);
    parent.setAutoFillBackground(true);
    QPalette palette = parent.palette();
    palette.setColor(QPalette::Window, Qt::white);
    parent.setPalette(palette);

    Widgets::Overlay overlay(&parent, Qt::SolidPattern);
    QCOMPARE(overlay.geometry(), QRect(0, 0, 50, 40));
    QVERIFY(overlay.autoFillBackground());
    overlay.show();

    // Black at alpha 102 over white: 255 * (255 - 102) / 255 = 153.
    const QImage image = Render(&parent);
    for (QPoint p : {QPoint(0, 0), QPoint(25, 20), QPoint(49, 39)}) {
        const QColor c = image.pixelColor(p);
        QVERIFY2(qAbs(c.red() - 153) <= 1 && c.red() == c.green() && c.green() == c.blue(),
                 qPrintable(QString("pixel at %1,%2 is %3").arg(p.x()).arg(p.y()).arg(c.name())));
    }

    // Without a parent there is nothing to cover.
    Widgets::Overlay loose(nullptr, Qt::SolidPattern);
    QVERIFY(loose.autoFillBackground());
}

void TestWidgets::overlayAlphaAppliesToLaterOverlays()
{
    QWidget parent;
    parent.resize(10, 10);
    Widgets::Overlay before(&parent, Qt::SolidPattern);
    Widgets::Overlay::SetOverlayAlpha(200);
    Widgets::Overlay after(&parent, Qt::SolidPattern);
    Widgets::Overlay::SetOverlayAlpha(102);
    QCOMPARE(before.palette().color(QPalette::Window), QColor(0, 0, 0, 102));
    QCOMPARE(after.palette().color(QPalette::Window), QColor(0, 0, 0, 200));
    QCOMPARE(after.palette().color(QPalette::Disabled, QPalette::Window), QColor(0, 0, 0, 200));
}

QTEST_MAIN(TestWidgets)
#include "tst_widgets.moc"
