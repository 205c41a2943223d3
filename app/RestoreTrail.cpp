#include "RestoreTrail.h"

#include "SystemFiles.h"

#include <QDateTime>
#include <QList>
#include <QMutexLocker>

#include <algorithm>
#include <atomic>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr char kHeading[] = "--- restore started ";
constexpr char kAside[] = "/home/data/.qvb-restore-trail.new";

// The one trail that collects, reached from the message handler on any thread.
std::atomic<RestoreTrail *> active {nullptr};

// The trails in `text`, each from its heading to the next; what stands before the first
// heading is no trail.
QList<QByteArray> TrailsIn(const QByteArray &text)
{
    QList<QByteArray> trails;
    int at = text.startsWith(kHeading) ? 0 : text.indexOf(QByteArray("\n") + kHeading);
    if (at > 0)
        ++at;
    while (at >= 0 && at < text.size()) {
        int next = text.indexOf(QByteArray("\n") + kHeading, at);
        if (next >= 0)
            ++next;
        trails << text.mid(at, next < 0 ? -1 : next - at);
        at = next;
    }
    return trails;
}

QByteArray Heading(const QByteArray &trail)
{
    return trail.left(trail.indexOf('\n') + 1);
}

} // namespace

RestoreTrail::RestoreTrail()
    : lines(kHeading + QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")).toLatin1() + '\n')
{
    // The handler forwards to the one it replaces, so that one is known before the
    // handler may run.
    previous = qInstallMessageHandler(&RestoreTrail::Collect);
    active.store(this);
}

RestoreTrail::~RestoreTrail()
{
    qInstallMessageHandler(previous);
    active.store(nullptr);
}

void RestoreTrail::Collect(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    RestoreTrail *trail = active.load();
    if (!trail)
        return;
    if (context.category && qstrncmp(context.category, "qvb.", 4) == 0) {
        const QByteArray line = QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz")).toLatin1() + ' '
                                + context.category + ": " + message.toUtf8() + '\n';
        QMutexLocker lock(&trail->mutex);
        trail->lines += line;
    }
    trail->previous(type, context, message);
}

QByteArray RestoreTrail::Merge(const QByteArray &old, const QByteArray &current, int kept, int maximum)
{
    QList<QByteArray> trails = TrailsIn(old);
    trails.erase(std::remove_if(trails.begin(), trails.end(),
                                [&](const QByteArray &trail) { return Heading(trail) == Heading(current); }),
                 trails.end());
    trails << current;
    qint64 size = 0;
    for (const QByteArray &trail : trails)
        size += trail.size();
    while (trails.size() > 1 && (trails.size() > kept || size > maximum)) {
        size -= trails.first().size();
        trails.removeFirst();
    }
    QByteArray text = trails.join();
    if (text.size() > maximum) {
        // One restore alone said more than the file holds: its heading and its last lines
        // stay, as the end tells how it ended.
        const QByteArray heading = Heading(text);
        QByteArray tail = text.right(maximum - heading.size());
        tail = tail.mid(tail.indexOf('\n') + 1);
        text = heading + tail;
    }
    return text;
}

int RestoreTrail::Save()
{
    QByteArray current;
    {
        QMutexLocker lock(&mutex);
        current = lines;
    }
    QByteArray old;
    {
        QtTools::FileDescriptor file(::open(kPath, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
        char buffer[16384];
        ssize_t count;
        while (file.IsOpen() && old.size() <= 4 * kMaximumSize
               && (count = QtTools::RetryInterrupted([&] { return ::read(file.Get(), buffer, sizeof buffer); })) > 0)
            old.append(buffer, int(count));
    }
    const QByteArray text = Merge(old, current, kRestoresKept, kMaximumSize);

    QtTools::FileDescriptor aside(::open(kAside, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!aside.IsOpen())
        return errno;
    int error = QtTools::WriteAllAndClose(aside, text.constData(), static_cast<std::size_t>(text.size()));
    if (error == 0 && ::rename(kAside, kPath) != 0)
        error = errno;
    if (error != 0) {
        ::unlink(kAside);
        return error;
    }
    return QtTools::FlushPath("/home/data");
}
