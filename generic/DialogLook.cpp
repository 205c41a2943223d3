#include "DialogLook.h"

#include "Images.h"
#include "ResultButtonInfo.h"

#include <QApplication>
#include <QFrame>
#include <QIcon>
#include <QPainter>
#include <QPalette>
#include <QPointer>
#include <QProxyStyle>
#include <QPushButton>
#include <QStyleOption>

namespace Generic {
namespace {

class FlatProxyStyle : public QProxyStyle
{
public:
    // A fresh instance of the application's style underneath: a proxy owns its base.
    explicit FlatProxyStyle(const QString &baseKey)
        : QProxyStyle(baseKey)
    {
    }

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override
    {
        if (element != PE_PanelButtonCommand) {
            QProxyStyle::drawPrimitive(element, option, painter, widget);
            return;
        }
        QColor fill = option->palette.color(QPalette::Button);
        if (option->state & (State_Sunken | State_On))
            fill = fill.darker(130);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(fill.darker(160), 1));
        painter->setBrush(fill);
        painter->drawRoundedRect(QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
        painter->restore();
    }

    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override
    {
        const auto *bar = qstyleoption_cast<const QStyleOptionProgressBar *>(option);
        const bool busy = bar && bar->minimum == 0 && bar->maximum == 0;
        if (element != CE_ProgressBarContents || !bar || busy
            || bar->orientation != Qt::Horizontal || bar->invertedAppearance) {
            QProxyStyle::drawControl(element, option, painter, widget);
            return;
        }
        const qint64 range = qint64(bar->maximum) - bar->minimum;
        const qint64 done = qBound<qint64>(0, qint64(bar->progress) - bar->minimum, range);
        const QRect inside = bar->rect.adjusted(1, 1, -1, -1);
        const int width = range > 0 ? int(inside.width() * done / range) : 0;
        if (width > 0)
            painter->fillRect(QRect(inside.left(), inside.top(), width, inside.height()),
                              bar->palette.brush(QPalette::Highlight));
    }
};

} // namespace

QStyle *FlatStyle()
{
    static QPointer<QStyle> style;
    if (!style) {
        style = new FlatProxyStyle(QApplication::style()->objectName());
        style->setParent(qApp);
    }
    return style;
}

void ApplyDialogBackground(QWidget *widget)
{
    const QString file = QStringLiteral("/home/resources/image/DialogBackground.png");
    InitImageSearchPaths(); // registers the compiled-in pictures
    if (LoadPixmap(file).isNull())
        SetBackgroundPixmap(widget, QStringLiteral(":/Images/DialogBackground.png"));
    else
        SetBackgroundPixmap(widget, file);
}

void ApplyContentsFrame(QWidget *frame)
{
    if (auto *f = qobject_cast<QFrame *>(frame)) {
        f->setFrameShape(QFrame::StyledPanel);
        f->setFrameShadow(QFrame::Raised);
    }
    frame->setPalette(QApplication::palette(frame));
    frame->setAutoFillBackground(true);
}

void ColourButton(QWidget *button, const QColor &colour)
{
    QPalette palette = button->palette();
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
        palette.setBrush(group, QPalette::Button, QBrush(colour, Qt::SolidPattern));
        palette.setBrush(group, QPalette::ButtonText, QBrush(Qt::white, Qt::SolidPattern));
    }
    button->setPalette(palette);
    button->setStyle(FlatStyle());
}

bool ApplyButtonInfo(QPushButton *button, const ResultButtonInfo &info)
{
    if (!info.visible) {
        button->hide();
        return false;
    }
    button->show();
    const QPixmap pixmap = ImagePixmap(static_cast<Images::Type>(info.icon));
    button->setIcon(QIcon(pixmap));
    if (!pixmap.isNull())
        button->setIconSize(pixmap.size());
    button->setText(info.text);
    return true;
}

} // namespace Generic
