// Headless extraction driver for the benchmark: one Archive::ExtractArchive run wired the
// way the restore program wires it (progress queued to a receiver in the main thread and
// delivered by its event loop, the thread's finished() ending the loop), without the
// dialogs and without touching the data areas.
//
//   bench_extract [--digest HEX] DESTINATION BACKUP OFFSET
//
// DESTINATION must exist; the archive's relative entries are unpacked beneath it.
// OFFSET is the backup header's length (where the archive body starts). With --digest the
// job checks the body against HEX (the header's stored digest) while it reads it.
//
// Prints one line: "result=R progress-events=N last-percent=P seconds=S"; the exit
// status is 0 when the job's result is Ok.

#include "DriverSupport.h"
#include "ExtractArchive.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QObject>
#include <QStringList>

#include <cstdio>

namespace {

int Usage()
{
    std::fprintf(stderr, "usage: bench_extract [--digest HEX] DESTINATION BACKUP OFFSET\n");
    return 2;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QStringList arguments = app.arguments().mid(1);

    QByteArray expectedDigest;
    if (arguments.size() >= 2 && arguments.first() == QLatin1String("--digest")) {
        expectedDigest = QByteArray::fromHex(arguments.at(1).toLatin1());
        if (expectedDigest.isEmpty())
            return Usage();
        arguments = arguments.mid(2);
    }
    if (arguments.size() != 3)
        return Usage();
    bool offsetOk = false;
    const qint64 offset = arguments.at(2).toLongLong(&offsetOk);
    if (!offsetOk || offset < 0)
        return Usage();

    // The job looks a relative archive path up after moving into the destination, so
    // both are made absolute here.
    Archive::ExtractArchive job(QFileInfo(arguments.at(0)).absoluteFilePath(),
                                QFileInfo(arguments.at(1)).absoluteFilePath(), offset);
    if (!expectedDigest.isEmpty())
        job.SetExpectedDigest(expectedDigest);

    qint64 progressEvents = 0;
    int lastPercent = -1;
    const double seconds = BenchDriver::RunToEnd(app, job, [&](int percent) {
        ++progressEvents;
        lastPercent = percent;
    });

    const int result = static_cast<int>(job.GetResult());
    std::printf("result=%d progress-events=%lld last-percent=%d seconds=%.3f\n", result,
                static_cast<long long>(progressEvents), lastPercent, seconds);
    return result == Archive::ArchiveProcess::Ok ? 0 : 1;
}
