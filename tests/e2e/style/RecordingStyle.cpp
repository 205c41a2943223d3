// A stand-in for the display's "talon_style", used only by the end-to-end tests: they put it
// on QT_PLUGIN_PATH, where qvb-restore's request for its style by name finds it. It draws like
// Fusion and records what a person sees in the file QVB_STYLE_LOG (default
// /tmp/talon_style.log), so the scripts can check the dialogs and know where to click.
//
// One line per fact, tab-separated; backslash, tab and newline in texts escaped. <window>
// names one showing of a top-level window (win1, win2, ...):
//   shown <window> <class> <x> <y> <width> <height> <app font pt>
//   label <window> <object name> <font pt> <text>     each visible label with a text
//   button <window> <object name> <centre x> <centre y> <text>   after the first paint
//   painted <window> <ms since 1970>   after the first paint; none if hidden before it
//   placed <window> <x> <y> <width> <height>   where the window stands then, on the screen
//   hidden <window> <class>
//   progress <value>                   each value any progress bar takes
//   drawn <window> <object name> <label x> <y> <width> <height> <text x> <y> <width> <height>
//         <font pt> <text>             the first time a label draws a text: the label's box
//                                      and the box the text takes as drawn, on the screen
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

QString Escaped(QString text)
{
    return text.replace('\\', "\\\\").replace('\t', "\\t").replace('\n', "\\n");
}

// Writes the log; one per process (TheRecorder).
class Recorder : public QObject
{
public:
    Recorder()
    {
        const QString path = qEnvironmentVariable("QVB_STYLE_LOG", "/tmp/talon_style.log");
        const int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC;
        fd = ::open(path.toLocal8Bit().constData(), flags, 0644);
        qApp->installEventFilter(this);
    }

    void OnProgress(int value) { Write({"progress", QString::number(value)}); }

    // What the label's paint put on the screen: the font and place the painter really used.
    void OnDrawn(QLabel *label, QPainter *painter, const QRect &rect, int flags, const QString &text)
    {
        const QString id = ids.value(label->window());
        if (id.isEmpty() || !drawn.insert(id + '\t' + label->objectName() + '\t' + text).second)
            return;
        const QRect inLabel = painter->fontMetrics().boundingRect(rect, flags, text);
        const QRect box(label->mapToGlobal(QPoint(0, 0)), label->size());
        const QRect textBox(label->mapToGlobal(inLabel.topLeft()), inLabel.size());
        Write({"drawn", id, label->objectName(), QString::number(box.x()), QString::number(box.y()),
               QString::number(box.width()), QString::number(box.height()), QString::number(textBox.x()),
               QString::number(textBox.y()), QString::number(textBox.width()),
               QString::number(textBox.height()), QString::number(painter->font().pointSizeF()),
               Escaped(text)});
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *window = qobject_cast<QWidget *>(watched);
        if (!window || !window->isWindow())
            return false;
        if (event->type() == QEvent::Show) {
            const QString id = QStringLiteral("win%1").arg(++showings);
            ids.insert(window, id);
            awaitingPaint.insert(window);
            WriteTexts(window, id);
        } else if (event->type() == QEvent::Paint && awaitingPaint.remove(window)) {
            // Reported once the paint has reached the screen: after this event.
            const QPointer<QWidget> shown(window);
            QTimer::singleShot(0, this, [this, shown, id = ids.value(window)] {
                if (shown && shown->isVisible())
                    WritePainted(shown, id);
            });
        } else if (event->type() == QEvent::Hide) {
            awaitingPaint.remove(window);
            Write({"hidden", ids.take(window), window->metaObject()->className()});
        }
        return false;
    }

private:

    void Write(const QStringList &fields)
    {
        // One write per line with O_APPEND, so a reader never sees half a line.
        const QByteArray line = fields.join('\t').toUtf8() + '\n';
        if (fd >= 0 && ::write(fd, line.constData(), size_t(line.size())) < 0)
            fd = -1;
    }

    void WriteTexts(QWidget *window, const QString &id)
    {
        const QRect frame = window->frameGeometry();
        Write({"shown", id, window->metaObject()->className(), QString::number(frame.x()),
               QString::number(frame.y()), QString::number(frame.width()),
               QString::number(frame.height()),
               QString::number(QApplication::font().pointSize())});
        for (QLabel *label : window->findChildren<QLabel *>()) {
            const QString points = QString::number(label->font().pointSize());
            if (label->isVisibleTo(window) && !label->text().isEmpty())
                Write({"label", id, label->objectName(), points, Escaped(label->text())});
        }
    }

    void WritePainted(QWidget *window, const QString &id)
    {
        for (QAbstractButton *button : window->findChildren<QAbstractButton *>()) {
            const QPoint centre = button->mapToGlobal(button->rect().center());
            if (button->isVisibleTo(window))
                Write({"button", id, button->objectName(), QString::number(centre.x()),
                       QString::number(centre.y()), Escaped(button->text())});
        }
        Write({"painted", id, QString::number(QDateTime::currentMSecsSinceEpoch())});
        const QRect frame = window->frameGeometry();
        Write({"placed", id, QString::number(frame.x()), QString::number(frame.y()),
               QString::number(frame.width()), QString::number(frame.height())});
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
    RecordingStyle() : QProxyStyle(QStyleFactory::create("Fusion"))
    {
        setObjectName("talon_style");
    }

    using QProxyStyle::polish;
    void polish(QWidget *widget) override
    {
        QProxyStyle::polish(widget);
        Recorder &recorder = TheRecorder();
        if (auto *bar = qobject_cast<QProgressBar *>(widget))
            connect(bar, &QProgressBar::valueChanged, &recorder, &Recorder::OnProgress,
                    Qt::UniqueConnection);
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
