// Catches what the program hands to the system log.
//
// For the one source file of a test program, linked with WRAP openlog syslog __syslog_chk: it
// defines the functions that the link puts in their place, so nothing reaches the system's log.
#pragma once

#include <syslog.h>

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

// One call of syslog: the priority as given, and the text that the format and its arguments make.
struct SyslogLine {
    int priority = 0;
    std::string text;

    bool operator==(const SyslogLine&) const = default;
};

// One call of openlog.
struct SyslogOpening {
    std::string identity;
    int option = 0;
    int facility = 0;

    bool operator==(const SyslogOpening&) const = default;
};

// All calls since the last clear, in their order; any thread.
class SyslogCapture {
public:
    static std::vector<SyslogLine> lines() {
        const std::lock_guard<std::mutex> locker(s_mux);
        return s_lines;
    }

    // Not touched by clear: the log is opened once in a process.
    static std::vector<SyslogOpening> openings() {
        const std::lock_guard<std::mutex> locker(s_mux);
        return s_openings;
    }

    static void clear() {
        const std::lock_guard<std::mutex> locker(s_mux);
        s_lines.clear();
    }

    // For the functions below, and for a test that puts other events among the lines.
    static void add_line(SyslogLine line) {
        const std::lock_guard<std::mutex> locker(s_mux);
        s_lines.push_back(std::move(line));
    }

    static void add_opening(SyslogOpening opening) {
        const std::lock_guard<std::mutex> locker(s_mux);
        s_openings.push_back(std::move(opening));
    }

private:
    static inline std::mutex s_mux; // guards the two below
    static inline std::vector<SyslogLine> s_lines;
    static inline std::vector<SyslogOpening> s_openings;
};

__attribute__((format(printf, 1, 0))) inline std::string
format_syslog_text(const char* format, std::va_list arguments) {
    std::va_list arguments_again;
    va_copy(arguments_again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments_again);
    va_end(arguments_again);
    return text;
}

extern "C" {
void __wrap_openlog(const char* identity, int option, int facility);
void __wrap_syslog(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));
void __wrap___syslog_chk(int priority, int flag, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

void __wrap_openlog(const char* identity, int option, int facility) {
    SyslogCapture::add_opening({identity, option, facility});
}

void __wrap_syslog(int priority, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    SyslogCapture::add_line({priority, format_syslog_text(format, arguments)});
    va_end(arguments);
}

void __wrap___syslog_chk(int priority, int /*flag*/, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    SyslogCapture::add_line({priority, format_syslog_text(format, arguments)});
    va_end(arguments);
}
}
