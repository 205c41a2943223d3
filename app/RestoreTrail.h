#pragma once
// Private to the restore application.
//
// What the program did, kept where a service technician finds it: on the display its
// standard error goes nowhere. While a RestoreTrail exists, every line of the program's
// logging categories ("qvb.*") still goes to standard error and is also collected, from
// any thread; Save() keeps the trails of the last five restores, each under a line with
// its date and time, in a hidden file in "/home/data/" (hidden entries survive both
// clearings). The file is written aside and renamed over the old one, so a power cut
// leaves the old or the new file whole, never a mixture. Whether it could be written
// never changes the restore (see docs/behaviour.md).

#include <QByteArray>
#include <QMutex>
#include <QtGlobal>

class RestoreTrail
{
public:
    static constexpr char kPath[] = "/home/data/.qvb-restore-trail";
    static constexpr int kRestoresKept = 5;
    static constexpr int kMaximumSize = 64 * 1024;

    RestoreTrail();
    ~RestoreTrail();
    RestoreTrail(const RestoreTrail &) = delete;
    RestoreTrail &operator=(const RestoreTrail &) = delete;

    // Rewrites the file with the earlier restores' trails and this one's so far; saved
    // again later, this restore's trail replaces what was saved of it before. 0, or the
    // error number.
    int Save();

    // The file's new text: the trails in `old`, oldest first, then `current` (which begins
    // with its own heading line), at most `kept` trails and `maximum` bytes, the oldest
    // going first; a trail with the same heading as `current` is replaced by it. Whatever
    // in `old` stands before the first heading is not a trail and goes.
    static QByteArray Merge(const QByteArray &old, const QByteArray &current, int kept, int maximum);

private:
    static void Collect(QtMsgType type, const QMessageLogContext &context, const QString &message);

    QMutex mutex;
    QByteArray lines; // this restore's trail, heading first
    QtMessageHandler previous = nullptr;
};
