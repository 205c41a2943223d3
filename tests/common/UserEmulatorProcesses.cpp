// Linked into the test programs of a cross build that runs under qemu's user-mode
// emulation only (see cmake/QvbTesting.cmake); never part of a native build or the product.
//
// Qt starts a child process with the raw system call clone(CLONE_PIDFD | SIGCHLD) once
// waitid(P_PIDFD) shows that the kernel knows process descriptors, and then follows the
// child through that descriptor alone. Under qemu-user 7.2 the probe reaches the host
// kernel and succeeds, but qemu refuses CLONE_PIDFD with EINVAL, so every plain QProcess
// fails to start: the product's own "rm", "ln", "tail" and "gzip" as well as the tests'
// "bsdtar".
//
// Here that one call is carried out as the kernel would: a plain fork, which qemu
// emulates, and the child's descriptor from pidfd_open (which qemu passes on), written
// where CLONE_PIDFD would have put it. Qt's path is then the same as on a real kernel.
// (Making the probe fail instead would send Qt to its older fork-and-SIGCHLD path; under
// qemu-i386 the main thread returns from a signal handler with another thread's TLS,
// which breaks any program with a second thread.) Every other system call goes through
// unchanged.
//
// The definition below takes precedence over the C library's "syscall" for Qt as well,
// because the executable comes first in the dynamic linker's search order.

#include <cerrno>
#include <csignal>
#include <cstdarg>

#include <dlfcn.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#ifndef CLONE_PIDFD
#define CLONE_PIDFD 0x00001000
#endif
#ifndef SYS_pidfd_open
#define SYS_pidfd_open 434
#endif

namespace {

using SyscallFunction = long (*)(long, ...);

SyscallFunction CLibrarySyscall()
{
    static const SyscallFunction function
        = reinterpret_cast<SyscallFunction>(dlsym(RTLD_NEXT, "syscall"));
    return function;
}

// Where clone takes its flags and the parent's descriptor slot: s390 passes the stack
// first and the flags second.
#if defined(__s390__)
constexpr int kFlagsArgument = 1;
#else
constexpr int kFlagsArgument = 0;
#endif
constexpr int kParentSlotArgument = 2;

long Forward(SyscallFunction function, long number, const long (&a)[6])
{
    return function(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}

} // namespace

extern "C" long syscall(long number, ...)
{
    // The C library's syscall takes up to six word-sized arguments; it reads all six
    // whatever the caller passed, and so does this.
    va_list list;
    va_start(list, number);
    long arguments[6];
    for (long &argument : arguments)
        argument = va_arg(list, long);
    va_end(list);
    const SyscallFunction function = CLibrarySyscall();
    if (function == nullptr) {
        errno = ENOSYS;
        return -1;
    }
    const unsigned long flags = static_cast<unsigned long>(arguments[kFlagsArgument]);
    // Only a fork asking for a descriptor, nothing that shares memory or needs a stack.
    if (number != SYS_clone || !(flags & CLONE_PIDFD) || (flags & ~(CLONE_PIDFD | CSIGNAL)) != 0)
        return Forward(function, number, arguments);

    int *const slot = reinterpret_cast<int *>(arguments[kParentSlotArgument]);
    long plain[6] = {arguments[0], arguments[1], arguments[2], arguments[3], arguments[4],
                     arguments[5]};
    plain[kFlagsArgument] = static_cast<long>(flags & ~static_cast<unsigned long>(CLONE_PIDFD));
    const long pid = Forward(function, SYS_clone, plain);
    if (pid <= 0)
        return pid; // the child, or no child at all
    // The child is not waited for yet, so its number cannot have gone to another process.
    const long descriptor = function(SYS_pidfd_open, pid, 0L);
    if (descriptor < 0) {
        const int error = errno;
        kill(static_cast<pid_t>(pid), SIGKILL);
        waitpid(static_cast<pid_t>(pid), nullptr, 0);
        errno = error;
        return -1;
    }
    *slot = static_cast<int>(descriptor);
    return pid;
}
