#include "Process.h"

#include <cstdint>
#include <cstring>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace QtTools {
namespace {

// The decimal number a /proc/self/fd entry names, or -1 for anything else ("." and "..").
int DescriptorFromName(const char *name)
{
    if (*name == '\0')
        return -1;
    int value = 0;
    for (; *name != '\0'; ++name) {
        if (*name < '0' || *name > '9' || value > 100000000)
            return -1;
        value = value * 10 + (*name - '0');
    }
    return value;
}

void MarkCloseOnExec(int fd)
{
    const int flags = fcntl(fd, F_GETFD);
    if (flags >= 0 && !(flags & FD_CLOEXEC))
        fcntl(fd, F_SETFD, flags | FD_CLOEXEC);
}

// Runs between fork and exec, where the parent may have had other threads in the middle
// of an allocation: only raw system calls on stack memory are used here, no QDir.
//
// Every descriptor above 2 is marked close-on-exec rather than closed on the spot. The
// effect on the new program is the same (it starts with 0, 1 and 2 only), but QProcess
// keeps a close-on-exec pipe open in the child at this point through which a failed exec
// is reported to the parent; closing it would make a missing program look started.
void KeepOnlyStandardDescriptors()
{
    const int dir = open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir < 0) {
        // No /proc: sweep the whole descriptor range instead.
        rlimit limit {};
        long highest = 1024;
        if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY)
            highest = static_cast<long>(limit.rlim_cur);
        for (long fd = 3; fd < highest; ++fd)
            MarkCloseOnExec(static_cast<int>(fd));
        return;
    }
    alignas(8) char buffer[2048];
    for (;;) {
        const long count = syscall(SYS_getdents64, dir, buffer, sizeof buffer);
        if (count <= 0)
            break;
        // struct linux_dirent64: u64 inode, s64 offset, u16 record length, u8 type, name.
        for (long at = 0; at < count;) {
            std::uint16_t length = 0;
            std::memcpy(&length, buffer + at + 16, sizeof length);
            const int fd = DescriptorFromName(buffer + at + 19);
            if (fd > 2 && fd != dir)
                MarkCloseOnExec(fd);
            if (length == 0)
                break;
            at += length;
        }
    }
    close(dir);
}

} // namespace

Process::Process(QObject *parent)
    : QProcess(parent)
{
    connect(this, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            failedToStart = true;
    });
}

Process::Process(const QString &program, const QStringList &arguments, int priority, QObject *parent)
    : Process(parent)
{
    this->program = program;
    this->arguments = arguments;
    this->priority = priority;
}

Process::~Process() = default;

void Process::SetCommand(const QString &newProgram, const QStringList &newArguments)
{
    program = newProgram;
    arguments = newArguments;
}

void Process::SetPriority(int newPriority)
{
    priority = newPriority;
}

int Process::GetPriority() const
{
    return priority;
}

QString Process::GetProgram() const
{
    return program;
}

QStringList Process::GetArguments() const
{
    return arguments;
}

void Process::SetDeleteWhenFinished()
{
    connect(this, SIGNAL(finished(int, QProcess::ExitStatus)), this, SLOT(deleteLater()));
}

int Process::exitCode() const
{
    return failedToStart ? 0 : QProcess::exitCode();
}

bool Process::Execute()
{
    failedToStart = false;
    QProcess::start(program, arguments, QIODevice::ReadWrite);
    return QProcess::waitForFinished(-1);
}

void Process::Start()
{
    failedToStart = false;
    QProcess::start(program, arguments, QIODevice::ReadWrite);
}

void Process::setupChildProcess()
{
    if (priority != 0)
        setpriority(PRIO_PROCESS, 0, priority);
    KeepOnlyStandardDescriptors();
}

} // namespace QtTools
