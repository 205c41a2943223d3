// Linked only into the test programs of a cross build run under qemu's user-mode emulation
// (see cmake/QvbTesting.cmake); never into a native build or the product.
//
// Qt starts children with clone(CLONE_PIDFD | SIGCHLD) once waitid(P_PIDFD) works, and
// follows them through that descriptor alone. Under qemu-user 7.2 the probe succeeds but
// qemu refuses CLONE_PIDFD with EINVAL, so no QProcess starts ("rm", "gzip", "bsdtar"...).
// Here that one call becomes a plain fork, which qemu emulates, plus pidfd_open, written
// where CLONE_PIDFD would have put it; every other system call goes through unchanged.
//
// qemu-i386 keeps one descriptor table for all threads, each new thread overwriting the
// TLS entry, and a return from a signal handler reloads %gs from it: the thread goes on
// with the newest thread's TLS ("QThread: Destroyed while thread is still running" from
// QtTest's watchdog after QProcess's SIGCHLD handler). So on i386 every handler installed
// through sigaction runs through a trampoline that puts the running thread's TLS base back.
//
// These definitions take precedence over the C library's, for Qt too: the executable comes
// first in the dynamic linker's search order.

#include <cerrno>
#include <csignal>
#include <cstdarg>

#include <dlfcn.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#if defined(__i386__)
#include <asm/ldt.h>
#include <cstdint>
#endif

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

#if defined(__i386__)
namespace {

struct sigaction installedActions[NSIG];

// Called at the end of a handler: %gs still has this thread's base, cached when the
// selector was last loaded; the table entry it names may hold another thread's.
void RestoreThreadDescriptor()
{
    unsigned short selector = 0;
    asm volatile("mov %%gs, %0" : "=r"(selector));
    if (selector < 8 || (selector & 4) != 0)
        return; // not an entry of the global table
    user_desc descriptor {};
    descriptor.entry_number = selector >> 3;
    if (CLibrarySyscall()(SYS_get_thread_area, &descriptor) != 0)
        return;
    std::uintptr_t threadPointer = 0; // the TCB's first word points at itself
    asm volatile("movl %%gs:0, %0" : "=r"(threadPointer));
    if (descriptor.base_addr == threadPointer)
        return;
    descriptor.base_addr = static_cast<unsigned int>(threadPointer);
    CLibrarySyscall()(SYS_set_thread_area, &descriptor);
}

void Trampoline(int signal, siginfo_t *info, void *context)
{
    const struct sigaction &action = installedActions[signal];
    if (action.sa_flags & SA_SIGINFO)
        action.sa_sigaction(signal, info, context);
    else if (action.sa_handler != SIG_IGN && action.sa_handler != SIG_DFL)
        action.sa_handler(signal);
    RestoreThreadDescriptor();
}

bool IsHandler(const struct sigaction &action)
{
    return (action.sa_flags & SA_SIGINFO)
           || (action.sa_handler != SIG_IGN && action.sa_handler != SIG_DFL);
}

} // namespace

extern "C" int sigaction(int signal, const struct sigaction *action, struct sigaction *old)
{
    using SigactionFunction = int (*)(int, const struct sigaction *, struct sigaction *);
    static const SigactionFunction real
        = reinterpret_cast<SigactionFunction>(dlsym(RTLD_NEXT, "sigaction"));
    if (real == nullptr) {
        errno = ENOSYS;
        return -1;
    }
    if (signal <= 0 || signal >= NSIG)
        return real(signal, action, old);
    struct sigaction wrapped {};
    if (action != nullptr && IsHandler(*action)) {
        wrapped = *action;
        wrapped.sa_flags |= SA_SIGINFO;
        wrapped.sa_sigaction = Trampoline;
    }
    const struct sigaction previous = installedActions[signal];
    struct sigaction replaced {};
    const int result = real(signal, action != nullptr && IsHandler(*action) ? &wrapped : action,
                            &replaced);
    if (result != 0)
        return result;
    // Callers see their own handlers, never the trampoline (Qt chains to the one before).
    const bool replacedWasWrapped
        = (replaced.sa_flags & SA_SIGINFO) && replaced.sa_sigaction == Trampoline;
    if (old != nullptr)
        *old = replacedWasWrapped ? previous : replaced;
    if (action != nullptr)
        installedActions[signal] = *action;
    return 0;
}
#endif
