#pragma once
// Private to the archive module.
//
// How every threaded job answers Cancel(): it asks the run to stop at its next polling
// point, waits for the thread a bounded time, and then marks the job cancelled whatever
// the run had reached, so the caller never waits longer than the bound and always reads
// a cancelled job afterwards (see docs/behaviour.md).

#include <QThread>

#include <atomic>

namespace Archive {
namespace Detail {

inline void CancelAndMark(QThread &thread, std::atomic<bool> &requested, unsigned long waitMs,
                          std::atomic<qint32> &result, qint32 cancelled)
{
    requested.store(true);
    thread.wait(waitMs);
    result.store(cancelled);
}

} // namespace Detail
} // namespace Archive
