/* Sanitizer settings linked into every executable of a sanitizer build by tools/sanitize,
 * so they hold for every program whatever its environment: the end-to-end tests start
 * the restore tool with a cleared environment ("env -i"), where *SAN_OPTIONS would be
 * lost. Each runtime reads only its own functions; the others are never called. */

#define QVB_SANITIZER_SETTING __attribute__((visibility("default"), used))

QVB_SANITIZER_SETTING const char *__asan_default_options(void)
{
    /* Full stacks for every allocation: the fast unwinder stops at the first library
       built without frame pointers, and a leak suppression can only match frames it
       has seen. New blocks are filled with zeros, not ASan's 0xbe: Qt's vnc platform never
       clears its screen image, whose first 4 KiB would otherwise show as a grey line in
       the end-to-end screenshots, where a fresh (zeroed) page shows black. */
    return "detect_leaks=1:abort_on_error=1:detect_stack_use_after_return=1:fast_unwind_on_malloc=0"
           ":malloc_fill_byte=0";
}

QVB_SANITIZER_SETTING const char *__ubsan_default_options(void)
{
    return "print_stacktrace=1:halt_on_error=1";
}

QVB_SANITIZER_SETTING const char *__lsan_default_suppressions(void)
{
    return
        /* Memory that system libraries keep until exit. */
        "leak:libfontconfig.so\n"
        "leak:libdbus-1.so\n"
        "leak:libglib-2.0.so\n"
        /* Qt's offscreen platform plugin never deletes its screen (QScreen and what
           hangs off it). */
        "leak:libqoffscreen.so\n"
        /* Nor does its vnc platform (the end-to-end runs), with the screen's image. */
        "leak:libqvnc.so\n"
        "leak:QScreen::QScreen\n"
        "leak:QPlatformScreen::QPlatformScreen\n"
        "leak:QWindowSystemInterface::handleScreenAdded\n";
}

QVB_SANITIZER_SETTING const char *__tsan_default_options(void)
{
    return "halt_on_error=1:second_deadlock_stack=1";
}

QVB_SANITIZER_SETTING const char *__tsan_default_suppressions(void)
{
    return
        /* Qt's own locking (the futex-based QMutex behind queued signals and posted
           events) is not instrumented, so the sanitizer cannot see the order it
           imposes; races whose accesses lie inside Qt are left out. Our own code
           is instrumented and checked in full. */
        "race:libQt5Core.so\n"
        /* QtTest's watchdog thread and its wait condition, torn down after each test. */
        "race:libQt5Test.so\n";
}
