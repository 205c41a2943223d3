// A stand-in for the display's "talon_style", used only by the end-to-end tests.
//
// qvb-restore asks for its style by name, and Qt looks that name up among the style
// plugins on QT_PLUGIN_PATH. The tests put this plugin there: it draws like Fusion and
// records, in a plain text file, what a person sees on the screen (window titles, label
// texts, button positions, every value a progress bar takes). The scripts read that file
// to check the dialogs and to know where to click; the product itself carries nothing
// for testing.
//
// The file is named by QVB_STYLE_LOG (default /tmp/talon_style.log). One line per fact,
// fields separated by tabs, tabs/newlines/backslashes in texts escaped. <window> names one
// showing of a top-level window (win1, win2, ...):
//   shown  <window> <class> <x> <y> <width> <height> <app font pt>   (when it is shown)
//   title  <window> <text>
//   label  <window> <object name> <font pt> <text>    (each visible label with a text)
//   bar    <window> <object name> <value>             (each visible progress bar)
//   button <window> <object name> <centre x> <centre y> <text>   (after the first paint,
//                                                     when the layout has settled)
//   painted <window> <ms>     after the window's first paint; <ms> is the wall clock in
//                             milliseconds since 1970. A window hidden before it was ever
//                             painted (the user never saw it) has no such line.
//   hidden <window> <class>
//   progress <value>          each value any progress bar takes

#include <QAbstractButton>
#include <QApplication>
#include <QByteArray>
#include <QDateTime>
#include <QEvent>
#include <QHash>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QProxyStyle>
#include <QSet>
#include <QStyleFactory>
#include <QStylePlugin>
#include <QTimer>
#include <QWidget>

#include <fcntl.h>
#include <unistd.h>

namespace TalonStyleRecorder {

QString Escaped(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    text.replace(QLatin1Char('\t'), QLatin1String("\\t"));
    text.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    return text;
}

class Recorder : public QObject
{
    Q_OBJECT
public:
    static Recorder &Instance()
    {
        static Recorder recorder;
        return recorder;
    }

    // Called for every widget the style polishes: the first one means the application
    // object exists, so the event filter can go in.
    void Watch(QWidget *widget)
    {
        if (!filterInstalled && qApp) {
            qApp->installEventFilter(this);
            filterInstalled = true;
        }
        if (auto *bar = qobject_cast<QProgressBar *>(widget))
            connect(bar, &QProgressBar::valueChanged, this, &Recorder::OnProgress,
                    Qt::UniqueConnection);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *widget = qobject_cast<QWidget *>(watched);
        if (!widget || !widget->isWindow())
            return false;
        switch (event->type()) {
        case QEvent::Show: {
            const QString id = QStringLiteral("win%1").arg(++showings);
            windowIds.insert(widget, id);
            awaitingPaint.insert(widget);
            WriteTexts(widget, id);
            break;
        }
        case QEvent::Paint:
            if (awaitingPaint.remove(widget)) {
                // Report once the paint has reached the screen: after this event.
                QPointer<QWidget> window(widget);
                const QString id = windowIds.value(widget);
                QTimer::singleShot(0, this, [this, window, id] {
                    if (window && window->isVisible())
                        WritePainted(window, id);
                });
            }
            break;
        case QEvent::Hide:
            awaitingPaint.remove(widget);
            Write({QStringLiteral("hidden"), windowIds.take(widget),
                   QString::fromLatin1(widget->metaObject()->className())});
            break;
        default:
            break;
        }
        return false;
    }

private slots:
    void OnProgress(int value) { Write({QStringLiteral("progress"), QString::number(value)}); }

private:
    Recorder()
    {
        QByteArray path = qgetenv("QVB_STYLE_LOG");
        if (path.isEmpty())
            path = "/tmp/talon_style.log";
        fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    }

    void Write(const QStringList &fields)
    {
        if (fd < 0)
            return;
        // One write per line with O_APPEND, so a reader never sees half a line.
        const QByteArray line = fields.join(QLatin1Char('\t')).toUtf8() + '\n';
        ssize_t ignored = ::write(fd, line.constData(), size_t(line.size()));
        (void)ignored;
    }

    void WriteTexts(QWidget *window, const QString &id)
    {
        const QRect frame = window->frameGeometry();
        Write({QStringLiteral("shown"), id,
               QString::fromLatin1(window->metaObject()->className()),
               QString::number(frame.x()), QString::number(frame.y()),
               QString::number(frame.width()), QString::number(frame.height()),
               QString::number(QApplication::font().pointSize())});
        Write({QStringLiteral("title"), id, Escaped(window->windowTitle())});
        const auto children = window->findChildren<QWidget *>();
        for (QWidget *child : children) {
            if (!child->isVisibleTo(window))
                continue;
            if (auto *label = qobject_cast<QLabel *>(child)) {
                if (!label->text().isEmpty())
                    Write({QStringLiteral("label"), id, label->objectName(),
                           QString::number(label->font().pointSize()), Escaped(label->text())});
            } else if (auto *bar = qobject_cast<QProgressBar *>(child)) {
                Write({QStringLiteral("bar"), id, bar->objectName(),
                       QString::number(bar->value())});
            }
        }
    }

    void WritePainted(QWidget *window, const QString &id)
    {
        const auto buttons = window->findChildren<QAbstractButton *>();
        for (QAbstractButton *button : buttons) {
            if (!button->isVisibleTo(window))
                continue;
            const QPoint centre = button->mapToGlobal(button->rect().center());
            Write({QStringLiteral("button"), id, button->objectName(),
                   QString::number(centre.x()), QString::number(centre.y()),
                   Escaped(button->text())});
        }
        Write({QStringLiteral("painted"), id,
               QString::number(QDateTime::currentMSecsSinceEpoch())});
    }

    int fd = -1;
    bool filterInstalled = false;
    QSet<QWidget *> awaitingPaint;
    QHash<QWidget *, QString> windowIds;
    int showings = 0;
};

class RecordingStyle : public QProxyStyle
{
    Q_OBJECT
public:
    RecordingStyle() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion")))
    {
        setObjectName(QStringLiteral("talon_style"));
    }

    using QProxyStyle::polish;
    void polish(QWidget *widget) override
    {
        QProxyStyle::polish(widget);
        Recorder::Instance().Watch(widget);
    }
};

class RecordingStylePlugin : public QStylePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QStyleFactoryInterface_iid FILE "talon_style.json")
public:
    QStyle *create(const QString &key) override
    {
        if (key.compare(QLatin1String("talon_style"), Qt::CaseInsensitive) != 0)
            return nullptr;
        return new RecordingStyle;
    }
};

} // namespace TalonStyleRecorder

#include "RecordingStyle.moc"
