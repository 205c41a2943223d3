// Headless digest driver for the benchmark: one Archive::MD5SumProcess run with its
// progress queued to a receiver in the main thread, as the data check runs it.
//
//   bench_md5 FILE [OFFSET]
//
// Prints "DIGEST  result=R progress-events=N seconds=S", the digest first in md5sum's
// lower-case hex so the two can be compared directly; exit status 0 when the job
// finished its digest (result 4).

#include "DriverSupport.h"
#include "MD5SumProcess.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QObject>
#include <QStringList>

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments().mid(1);
    if (arguments.isEmpty() || arguments.size() > 2) {
        std::fprintf(stderr, "usage: bench_md5 FILE [OFFSET]\n");
        return 2;
    }
    qint64 offset = 0;
    if (arguments.size() == 2) {
        bool ok = false;
        offset = arguments.at(1).toLongLong(&ok);
        if (!ok || offset < 0) {
            std::fprintf(stderr, "bench_md5: bad offset\n");
            return 2;
        }
    }

    Archive::MD5SumProcess job(arguments.at(0), offset);
    qint64 progressEvents = 0;
    const double seconds = BenchDriver::RunToEnd(app, job, [&](int) { ++progressEvents; });

    const auto digest = job.GetDigest();
    const QByteArray bytes(reinterpret_cast<const char *>(digest.data()), static_cast<int>(digest.size()));
    const int result = static_cast<int>(job.GetResult());
    std::printf("%s  result=%d progress-events=%lld seconds=%.3f\n", bytes.toHex().constData(), result,
                static_cast<long long>(progressEvents), seconds);
    return result == 4 ? 0 : 1;
}
