// What the sanitizers are told, as part of each program that is built with one (ZOR_SANITIZE): it
// then holds however the program is started. The variables ASAN_OPTIONS and so on still win. The
// names are the sanitizers' own; the functions are called before main.

extern "C" {

const char* __asan_default_options();
const char* __lsan_default_options();
const char* __lsan_default_suppressions();
const char* __tsan_default_options();
const char* __tsan_default_suppressions();
const char* __ubsan_default_options();

const char* __asan_default_options() {
    return "detect_leaks=1:allocator_may_return_null=1";
}

const char* __lsan_default_options() {
    return "print_suppressions=0";
}

// Leaks inside the libraries of the desktop. Nothing of the program's own may stand here.
const char* __lsan_default_suppressions() {
    return
        // The patterns of its configuration live until the end.
        "leak:libfontconfig.so\n"
        // Mesa 25 keeps what it was asked about the screen. Any program with an empty GTK window
        // loses as much.
        "leak:libGLX_mesa.so\n";
}

// One test looks from a signal handler at what was logged; the program itself has no handlers.
const char* __tsan_default_options() {
    return "halt_on_error=1:report_signal_unsafe=0";
}

// The desktop's libraries are not instrumented: the sanitizer sees their calls of malloc, free and
// memcpy, but not the futexes and atomics that order them. Nothing of the program's own may stand
// here, and no "race:" with a library that calls the program back: that would hide races of the
// program in its callbacks.
const char* __tsan_default_suppressions() {
    return
        // Memory that they hand from thread to thread looks unguarded, so that of Pango's thread
        // that reads fonts.
        "called_from_lib:libglib-2.0.so.0\n"
        "called_from_lib:libgobject-2.0.so.0\n"
        "called_from_lib:libgio-2.0.so.0\n"
        "called_from_lib:libfontconfig.so.1\n"
        "called_from_lib:libpangoft2-1.0.so.0\n"
        // So of a recursive mutex of GLib only one of lock and unlock is seen when the other is
        // called on the way back into GTK, GDK, Pango or the accessibility bridge.
        "mutex:libgtk-3.so.0\n"
        "mutex:libgdk-3.so.0\n"
        "mutex:libpango-1.0.so.0\n"
        "deadlock:libatk-bridge-2.0.so.0\n"
        // When its bus ends, libdbus takes its locks in another order than before; only the main
        // thread, which the accessibility bridge runs on, uses it, and so nobody waits for them.
        "deadlock:libdbus-1.so.3\n"
        // Newer GdkPixbufs have their images read by this library, with threads of its own. It is
        // asked for an image and calls nobody back.
        "race:libglycin-2.so.0\n";
}

const char* __ubsan_default_options() {
    return "print_stacktrace=1";
}

} // extern "C"
