#include "DialogLook.h"

#include "Images.h"
#include "ResultButtonInfo.h"

#include <QApplication>
#include <QFrame>
#include <QEvent>
#include <QFontMetrics>
#include <QIcon>
#include <QLabel>
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

// Keeps one title label's text inside the label (see FitTitleToLabel).
class TitleFitter : public QObject
{
public:
    explicit TitleFitter(QLabel *title)
        : QObject(title)
        , m_title(title)
        , m_formFont(title->font())
    {
        title->installEventFilter(this);
    }

    void Refit()
    {
        // Until a layout has given the label its place, its width means nothing.
        if (!m_title->testAttribute(Qt::WA_Resized))
            return;
        const int margin = m_title->margin();
        const QRect area = m_title->contentsRect().adjusted(margin, margin, -margin, -margin);
        if (area.width() <= 0 || m_formFont.pointSizeF() <= 0)
            return;
        const QString text = m_title->text();
        const Qt::Alignment alignment = m_title->alignment();
        QFont font = m_formFont;
        bool wrap = false;
        const auto fits = [&](int flags) {
            const QRect needed = QFontMetrics(font, m_title).boundingRect(area, int(alignment) | flags, text);
            return needed.width() <= area.width() && needed.height() <= area.height();
        };
        qreal points = m_formFont.pointSizeF();
        for (; points >= kSmallestTitlePoints; points -= 1) {
            font.setPointSizeF(points);
            if (fits(0))
                break;
        }
        if (points < kSmallestTitlePoints) {
            wrap = true;
            for (points = m_formFont.pointSizeF(); points > 1; points -= 1) {
                font.setPointSizeF(points);
                if (fits(Qt::TextWordWrap))
                    break;
            }
        }
        m_refitting = true;
        m_title->setWordWrap(wrap);
        m_title->setFont(font);
        m_refitting = false;
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == m_title && !m_refitting && event->type() == QEvent::Resize)
            Refit();
        return false;
    }

private:
    QLabel *m_title;
    const QFont m_formFont;
    bool m_refitting = false;
};

} // namespace

void FitTitleToLabel(QLabel *title)
{
    if (title->findChild<TitleFitter *>(QString(), Qt::FindDirectChildrenOnly))
        return;
    QSizePolicy policy = title->sizePolicy();
    policy.setHorizontalPolicy(QSizePolicy::Ignored);
    title->setSizePolicy(policy);
    (new TitleFitter(title))->Refit();
}

void SetTitleText(QLabel *title, const QString &text)
{
    title->setText(text);
    if (auto *fitter = title->findChild<TitleFitter *>(QString(), Qt::FindDirectChildrenOnly))
        fitter->Refit();
}

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
    // The application palette as it comes has no role marked as set, and a widget given
    // such a palette keeps inheriting its dialog's: the panel would be filled with the
    // dialog's background picture and show as a mere outline. Every role is set here.
    const QPalette application = QApplication::palette(frame);
    QPalette panel = application;
    for (int group = 0; group < QPalette::NColorGroups; ++group) {
        for (int role = 0; role < QPalette::NColorRoles; ++role) {
            const auto g = static_cast<QPalette::ColorGroup>(group);
            const auto r = static_cast<QPalette::ColorRole>(role);
            panel.setBrush(g, r, application.brush(g, r));
        }
    }
    frame->setPalette(panel);
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
    FitCaption(button);
    return true;
}

void FitCaption(QPushButton *button)
{
    // The width the form gave the button, kept from the first call: a later shorter
    // caption gives the room back.
    static const char kFormWidth[] = "qvbFormWidth";
    if (!button->property(kFormWidth).isValid())
        button->setProperty(kFormWidth, button->minimumWidth());
    int width = button->property(kFormWidth).toInt();
    if (!button->text().isEmpty()) {
        QStyleOptionButton option;
        option.initFrom(button);
        option.text = button->text();
        option.icon = button->icon();
        option.iconSize = button->iconSize();
        QSize contents = button->fontMetrics().size(Qt::TextShowMnemonic, button->text());
        if (!button->icon().isNull())
            contents.rwidth() += button->iconSize().width() + 4;
        // Measured wide, so the style's least width for captioned buttons does not count.
        constexpr int kWide = 1000;
        const int needed = button->style()
                               ->sizeFromContents(QStyle::CT_PushButton, &option, contents + QSize(kWide, 0), button)
                               .width() - kWide;
        width = qMax(width, needed + 2 * kCaptionMargin);
    }
    button->setFixedWidth(width);
}

} // namespace Generic
