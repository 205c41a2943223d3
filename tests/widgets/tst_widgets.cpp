// Image table and lookup, backgrounds, pixmap button, overlay; pictures in a throwaway root.

#include "Images.h"
#include "Overlay.h"
#include "PixmapButton.h"
#include "TestSupport.h"

#include <QtTest>
#include <QtWidgets>

namespace {

QImage Solid(QSize size, QColor colour, QColor corner = QColor())
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    if (corner.isValid())
        image.setPixelColor(0, 0, corner);
    return image;
}

void WritePicture(const QString &path, const QImage &image)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()) && image.save(path, "PNG"));
}

// Draws a widget over magenta, so that what it leaves undrawn shows.
QImage Render(QWidget *widget)
{
    QImage image(widget->size(), QImage::Format_ARGB32);
    image.fill(Qt::magenta);
    widget->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

} // namespace

class TestWidgets : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVB_REQUIRE_THROWAWAY_ROOT(); }

    // Each enumerator names its own file ("-" and "/" become "_", a duplicate's second
    // ends in "2"); anchored values show a lost or an extra row.
    void imageTable()
    {
        const QMetaEnum type = QMetaEnum::fromType<Images::Type>();
        QCOMPARE(type.keyCount(), 348);
        for (int i = 0; i < type.keyCount(); ++i) {
            QString name = Images::FileName(Images::Type(i)).chopped(4).mid(7);
            name.replace('-', '_').replace('/', '_');
            QCOMPARE(QString(type.key(i)), i == 48 || i == 49 || i == 338 ? name + "2" : name);
        }
        QCOMPARE(int(Images::StandardAccept), 25);
        QCOMPARE(Images::FileName(Images::Type(347)), QString("images:TramlineRight.png"));
    }

    void searchOrder_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QList<int>>("standIns"); // the folders holding one
        QTest::addColumn<int>("found"); // the folder read; -1 none
        QTest::newRow("icon first") << int(Images::StandardAccept) << QList<int>{1, 0} << 0;
        QTest::newRow("then image") << int(Images::StandardCancel) << QList<int>{2, 1} << 1;
        QTest::newRow("then tarin") << int(Images::CloseWindow) << QList<int>{2} << 2;
        QTest::newRow("compiled-in last") << int(Images::MessageQuestion) << QList<int>{} << 3;
        QTest::newRow("nowhere") << int(Images::SatPlotBackground) << QList<int>{} << -1;
    }

    // The stand-ins differ in width, so the picture tells which folder was read.
    void searchOrder()
    {
        QFETCH(int, type);
        QFETCH(QList<int>, standIns);
        QFETCH(int, found);
        const QStringList folders{"/home/resources/icon/", "/home/resources/image/",
                                  "/home/resources/icon/tarin/", ":/Images/"};
        const QString file = Images::FileName(Images::Type(type)).mid(7);
        for (int folder : standIns)
            WritePicture(folders[folder] + file, Solid(QSize(10 + folder, 5), Qt::red));
        const QImage expected = found < 0 ? QImage() : QImage(folders[found] + file);
        QVERIFY(found < 0 || !expected.isNull());
        QCOMPARE(ImagePixmap(Images::Type(type)).toImage().convertToFormat(QImage::Format_ARGB32),
                 expected.convertToFormat(QImage::Format_ARGB32));
    }

    // A name is read once, also when its file was missing, until the cache forgets it.
    void loadsAreCached()
    {
        const QString path = "/home/resources/image/Cached.png", late = "/home/resources/Late.png";
        WritePicture(path, Solid(QSize(10, 10), Qt::red));
        QCOMPARE(LoadPixmap(path).size(), QSize(10, 10));
        QVERIFY(LoadPixmap(late).isNull());
        WritePicture(path, Solid(QSize(12, 12), Qt::blue));
        WritePicture(late, Solid(QSize(8, 8), Qt::blue));
        QVERIFY(LoadPixmap(path).size() == QSize(10, 10) && LoadPixmap(late).isNull());
        QPixmapCache::clear();
        QVERIFY(LoadPixmap(path).size() == QSize(12, 12) && LoadPixmap(late).size() == QSize(8, 8));
    }

    void buttonPicksImageByState_data()
    {
        QTest::addColumn<QString>("state"); // c checked, p held down, d disabled
        QTest::addColumn<QString>("images"); // c checked, i inactive, p pressed, d disabled
        QTest::addColumn<QColor>("drawn");
        QTest::newRow("checked") << "c" << "cipd" << QColor(Qt::yellow);
        QTest::newRow("down wins over checked") << "cp" << "cipd" << QColor(Qt::red);
        QTest::newRow("disabled wins over all") << "cpd" << "cipd" << QColor(Qt::gray);
        QTest::newRow("no disabled image") << "d" << "cip" << QColor(Qt::green);
        QTest::newRow("no image at all") << "" << "" << QColor(Qt::magenta);
    }

    void buttonPicksImageByState()
    {
        QFETCH(QString, state);
        QFETCH(QString, images);
        QFETCH(QColor, drawn);
        Widgets::PixmapButton button;
        button.resize(20, 20);
        if (images.contains('c'))
            button.SetCheckedImage(Solid(button.size(), Qt::yellow));
        if (images.contains('i'))
            button.SetInactiveImage(Solid(button.size(), Qt::green));
        if (images.contains('p'))
            button.SetPressedImage(Solid(button.size(), Qt::red));
        if (images.contains('d'))
            button.SetDisabledImage(Solid(button.size(), Qt::gray));
        button.setCheckable(true);
        button.setChecked(state.contains('c'));
        button.setDown(state.contains('p'));
        button.setEnabled(!state.contains('d'));
        QCOMPARE(Render(&button).pixelColor(10, 10), drawn);
    }

    // Only the normal picture sizes it; each is centred along a shorter side, else from 0.
    void buttonImages()
    {
        Widgets::PixmapButton button;
        QCOMPARE(button.sizeHint(), QSize(20, 20));
        WritePicture("/home/resources/icon/Face.png", Solid(QSize(10, 6), Qt::green, Qt::red));
        button.SetInactiveImage(QString("/home/resources/icon/Face.png"));
        button.SetPressedImage(QPixmap::fromImage(Solid(QSize(40, 5), Qt::blue, Qt::red)));
        QTest::ignoreMessage(QtDebugMsg, "PixmapButton: Attempting to set NULL image for inactive state.");
        button.SetInactiveImage(QString("/home/resources/icon/NoSuchFile.png"));
        QCOMPARE(button.sizeHint(), QSize(10, 6));

        button.resize(31, 21);
        QImage image = Render(&button);
        QCOMPARE(image.pixelColor(10, 7), QColor(Qt::red)); // (31 - 10) / 2, (21 - 6) / 2
        QCOMPARE(image.pixelColor(9, 7), QColor(Qt::magenta));
        button.setDown(true);
        image = Render(&button);
        QCOMPARE(image.pixelColor(0, 8), QColor(Qt::red)); // y = (21 - 5) / 2
        QCOMPARE(image.pixelColor(0, 7), QColor(Qt::magenta));
    }

    // A background picture is tiled; the overlay (black at alpha 102) keeps 153 / 255 of it.
    void backgroundAndOverlay()
    {
        WritePicture("/home/resources/image/Tile.png", Solid(QSize(4, 4), Qt::blue, Qt::red));
        QWidget panel;
        panel.resize(10, 10);
        SetBackgroundPixmap(&panel, "/home/resources/image/Tile.png");
        QCOMPARE(Render(&panel).pixelColor(4, 8), QColor(Qt::red));
        Widgets::Overlay overlay(&panel, Qt::SolidPattern);
        overlay.show();
        const QColor dimmed = Render(&panel).pixelColor(9, 9);
        QVERIFY2(qAbs(dimmed.blue() - 153) <= 1 && dimmed.red() == 0, qPrintable(dimmed.name()));
    }
};

QTEST_MAIN(TestWidgets)
#include "tst_widgets.moc"
