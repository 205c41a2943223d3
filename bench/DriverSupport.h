#pragma once
// What the benchmark drivers share: a job run the way the restore program runs one.

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QObject>
#include <QThread>

#include <functional>

namespace BenchDriver {

// Runs `job` to its end with its percentages queued to a receiver in the main thread and
// delivered by the event loop, as the progress dialog gets them; `onPercent` sees each
// one. Returns the wall-clock seconds from the start to the thread's end.
template<typename Job>
double RunToEnd(QCoreApplication &app, Job &job, const std::function<void(int)> &onPercent)
{
    QObject receiver;
    QObject::connect(&job, &Job::PercentProgress, &receiver, [&](int percent) { onPercent(percent); });
    QObject::connect(&job, &QThread::finished, &app, &QCoreApplication::quit);
    QElapsedTimer timer;
    timer.start();
    job.start();
    app.exec();
    job.wait();
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

} // namespace BenchDriver
