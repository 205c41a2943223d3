// A stand-in for the display's "talon_style": on QT_PLUGIN_PATH,
// qvb-restore's request for its style by name finds it (end-to-end tests, tools/demo, bench).
// It draws like Fusion
// and records what a person sees in the file QVB_STYLE_LOG (default /tmp/talon_style.log), so
// the scripts can check the dialogs and know where to tap. One line per fact, tab-separated;
// backslash, tab and newline in texts escaped. <window> names one showing of a top-level
// window (win1, win2, ...):
//   shown <window> <class> <x> <y> <width> <height> <app font pt>
//   label <window> <object name> <font pt> <text>     each visible label with a text
//   button <window> <object name> <centre x> <centre y> <text>   after the first paint
//   painted <window> <ms since 1970>   after the first paint; none if hidden before it
//   placed <window> <x> <y> <width> <height>   where the window stands then, on the screen
//   hidden <window> <class>            progress <value>   each value any progress bar takes
//   drawn <window> <object name> <label x> <y> <width> <height> <text x> <y> <width> <height>
//         <font pt> <text>    the first time a label draws a text: its box and the text's, on the screen
#include <QAbstractButton>
#include <QApplication>
#include <QDateTime>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QProgressBar>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStylePlugin>
#include <QTimer>

#include <set>

#include <fcntl.h>
#include <unistd.h>

namespace TalonStyleRecorder {

// Writes the log; one per process (TheRecorder).
class Recorder : public QObject
{
public:
    static QString Escaped(QString text) { return text.replace('\\', "\\\\").replace('\t', "\\t").replace('\n', "\\n"); }
    template <typename... Values> static QStringList Numbers(Values... values) { return {QString::number(values)...}; }
    static QStringList Box(const QRect &box) { return Numbers(box.x(), box.y(), box.width(), box.height()); }

    Recorder()
    {
        const QString path = qEnvironmentVariable("QVB_STYLE_LOG", "/tmp/talon_style.log");
        fd = ::open(path.toLocal8Bit().constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        qApp->installEventFilter(this);
    }

    // What the label's paint put on the screen: the font and place the painter really used.
    void OnDrawn(QLabel *label, QPainter *painter, const QRect &rect, int flags, const QString &text)
    {
        const QString id = ids.value(label->window());
        if (id.isEmpty() || !drawn.insert(id + '\t' + label->objectName() + '\t' + text).second)
            return;
        const QRect inLabel = painter->fontMetrics().boundingRect(rect, flags, text);
        Write(QStringList{"drawn", id, label->objectName()} + Box({label->mapToGlobal(QPoint(0, 0)), label->size()})
              + Box({label->mapToGlobal(inLabel.topLeft()), inLabel.size()})
              + Numbers(painter->font().pointSizeF()) + QStringList{Escaped(text)});
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *window = qobject_cast<QWidget *>(watched);
        if (!window || !window->isWindow())
            return false;
        const QString className = window->metaObject()->className();
        if (event->type() == QEvent::Show) {
            const QString id = QStringLiteral("win%1").arg(++showings);
            ids.insert(window, id);
            awaitingPaint.insert(window);
            Write(QStringList{"shown", id, className} + Box(window->frameGeometry())
                  + Numbers(QApplication::font().pointSize()));
            for (QLabel *label : window->findChildren<QLabel *>()) {
                if (label->isVisibleTo(window) && !label->text().isEmpty())
                    Write(QStringList{"label", id, label->objectName()} + Numbers(label->font().pointSize())
                          + QStringList{Escaped(label->text())});
            }
        } else if (event->type() == QEvent::Paint && awaitingPaint.remove(window)) {
            // Reported once the paint has reached the screen: after this event.
            QTimer::singleShot(0, this, [this, shown = QPointer<QWidget>(window), id = ids.value(window)] {
                if (shown && shown->isVisible())
                    WritePainted(shown, id);
            });
        } else if (event->type() == QEvent::Hide) {
            awaitingPaint.remove(window);
            Write({"hidden", ids.take(window), className});
        }
        return false;
    }

    void OnProgress(int value) { Write({"progress", QString::number(value)}); }

private:
    // One write per line with O_APPEND, so a reader never sees half a line.
    void Write(const QStringList &fields)
    {
        const QByteArray line = fields.join('\t').toUtf8() + '\n';
        if (fd >= 0 && ::write(fd, line.constData(), size_t(line.size())) < 0)
            fd = -1;
    }

    void WritePainted(QWidget *window, const QString &id)
    {
        for (QAbstractButton *button : window->findChildren<QAbstractButton *>()) {
            const QPoint centre = button->mapToGlobal(button->rect().center());
            if (button->isVisibleTo(window))
                Write(QStringList{"button", id, button->objectName()} + Numbers(centre.x(), centre.y())
                      + QStringList{Escaped(button->text())});
        }
        Write({"painted", id, QString::number(QDateTime::currentMSecsSinceEpoch())});
        Write(QStringList{"placed", id} + Box(window->frameGeometry()));
    }

    int fd = -1;
    std::set<QString> drawn;
    QSet<QWidget *> awaitingPaint;
    QHash<QWidget *, QString> ids;
    int showings = 0;
};

// Made when the style polishes its first widget, so the application object exists.
Recorder &TheRecorder()
{
    static Recorder recorder;
    return recorder;
}

class RecordingStyle : public QProxyStyle
{
public:
    RecordingStyle() : QProxyStyle(QStyleFactory::create("Fusion")) { setObjectName("talon_style"); }

    using QProxyStyle::polish;
    void polish(QWidget *widget) override
    {
        QProxyStyle::polish(widget);
        Recorder &recorder = TheRecorder();   // made at the first polish: it watches every window
        if (auto *bar = qobject_cast<QProgressBar *>(widget))
            connect(bar, &QProgressBar::valueChanged, &recorder, &Recorder::OnProgress, Qt::UniqueConnection);
    }

    // A label draws its plain text through here, onto itself.
    void drawItemText(QPainter *painter, const QRect &rect, int flags, const QPalette &palette, bool enabled,
                      const QString &text, QPalette::ColorRole textRole) const override
    {
        QProxyStyle::drawItemText(painter, rect, flags, palette, enabled, text, textRole);
        if (auto *label = dynamic_cast<QLabel *>(painter->device()))
            TheRecorder().OnDrawn(label, painter, rect, flags, text);
    }
};

class RecordingStylePlugin : public QStylePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QStyleFactoryInterface_iid FILE "talon_style.json")
public:
    QStyle *create(const QString &key) override
    {
        return key.compare("talon_style", Qt::CaseInsensitive) == 0 ? new RecordingStyle : nullptr;
    }
};

} // namespace TalonStyleRecorder

#include "RecordingStyle.moc"
