// The system calls of the service client, watched and replaced, among its log lines.
//
// For the one source file of a test program, linked with ZOR_CLIENT_WRAP: it defines functions that
// the link puts in the place of the C library's. Threads that made no ClientCalls, as those of
// peers, meet the C library's own.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <iomanip>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fake_peer.h"
#include "syslog_capture.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool HAS_SANITIZER_ALLOCATOR = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool HAS_SANITIZER_ALLOCATOR = true;
#else
constexpr bool HAS_SANITIZER_ALLOCATOR = false;
#endif
#else
constexpr bool HAS_SANITIZER_ALLOCATOR = false;
#endif

constexpr bool HAS_32_BITS = sizeof(std::size_t) == 4;

// The program leaves this to GTK, which is not there in these tests.
class SigpipeEnvironment : public testing::Environment {
public:
    void SetUp() override { std::signal(SIGPIPE, SIG_IGN); }
};

inline auto* const sigpipe_environment = testing::AddGlobalTestEnvironment(new SigpipeEnvironment);

// ---- The log and the calls ----------------------------------------------------------------------

// The priority of a SyslogLine that is a system call and no line of the log.
constexpr int CALL_PRIORITY = -1;

// The log line without its line number, which must be there: "gui_socket.cpp GUISocket begin".
inline std::string without_line_number(const SyslogLine& line) {
    const auto colon = line.text.find(':');
    const auto blank = line.text.find(' ');
    if (line.priority != LOG_INFO || colon == std::string::npos || blank <= colon + 1 ||
        line.text.find_first_not_of("0123456789", colon + 1) != blank) {
        return "no proper line: " + std::to_string(line.priority) + " " + line.text;
    }
    return line.text.substr(0, colon) + line.text.substr(blank);
}

// The log lines and, while a ClientCalls lives, the system calls ("* connect(#1, ...)") in order.
inline std::vector<std::string> history() {
    std::vector<std::string> entries;
    for (const auto& line : SyslogCapture::lines()) {
        entries.push_back(line.priority == CALL_PRIORITY ? "* " + line.text
                                                         : without_line_number(line));
    }
    return entries;
}

// Of these, the system calls or the others.
inline std::vector<std::string> history_of(bool calls) {
    auto entries = history();
    std::erase_if(entries, [calls](const auto& entry) { return entry.starts_with("* ") != calls; });
    return entries;
}
inline std::vector<std::string> log_lines() {
    return history_of(false);
}
inline std::vector<std::string> system_calls() {
    return history_of(true);
}

// Several lists of history entries as one.
inline std::vector<std::string> joined(const std::vector<std::vector<std::string>>& lists) {
    std::vector<std::string> all;
    for (const auto& list : lists) {
        all.insert(all.end(), list.begin(), list.end());
    }
    return all;
}

// Where 32 bits held the time and now 64 do, setsockopt goes by another name in the object files.
#if defined(__TIMESIZE) && __TIMESIZE == 32 && defined(__USE_TIME_BITS64)
#define ZOR_SETSOCKOPT "__setsockopt64"
#else
#define ZOR_SETSOCKOPT "setsockopt"
#endif

extern "C" {
int __real_inet_pton(int family, const char* text, void* address);
int __real_socket(int family, int type, int protocol);
int __real_connect(int handle, const sockaddr* address, socklen_t size);
int __real_setsockopt(int handle, int level, int option, const void* value,
                      socklen_t size) __asm__("__real_" ZOR_SETSOCKOPT);
ssize_t __real_send(int handle, const void* data, std::size_t size, int flags);
ssize_t __real_recv(int handle, void* data, std::size_t size, int flags);
int __real_close(int handle);
int __wrap_inet_pton(int family, const char* text, void* address);
int __wrap_socket(int family, int type, int protocol);
int __wrap_connect(int handle, const sockaddr* address, socklen_t size);
int __wrap_setsockopt(int handle, int level, int option, const void* value,
                      socklen_t size) __asm__("__wrap_" ZOR_SETSOCKOPT);
ssize_t __wrap_send(int handle, const void* data, std::size_t size, int flags);
ssize_t __wrap_recv(int handle, void* data, std::size_t size, int flags);
int __wrap_close(int handle);
}

// The client's system calls on the thread that made this object, for as long as it lives. Each is
// noted among the log lines; a test may give it another body. Of several the youngest one counts.
class ClientCalls {
public:
    ClientCalls() : m_elder(s_current) { s_current = this; }
    ~ClientCalls() { s_current = m_elder; }
    ClientCalls(const ClientCalls&) = delete;
    ClientCalls& operator=(const ClientCalls&) = delete;

    std::function<decltype(__real_inet_pton)> inet_pton = __real_inet_pton;
    std::function<decltype(__real_socket)> socket = __real_socket;
    std::function<decltype(__real_connect)> connect = __real_connect;
    std::function<decltype(__real_setsockopt)> setsockopt = __real_setsockopt;
    std::function<decltype(__real_send)> send = __real_send;
    std::function<decltype(__real_recv)> recv = __real_recv;
    std::function<decltype(__real_close)> close = __real_close;

    // What a call does that always gives this result.
    template <typename Result>
    static auto always(Result result) {
        return [result](auto&&...) {
            return result;
        };
    }

    // No call reaches the system: the socket has this handle, and every call succeeds; send takes
    // everything, recv has nothing.
    void pretend_success(int handle = 4711) {
        socket = always(handle);
        connect = always(0);
        setsockopt = always(0);
        close = always(0);
        send = [](int, const void*, std::size_t size, int) {
            return static_cast<ssize_t>(size);
        };
        recv = always(ssize_t{0});
    }

    // The handle that the latest socket call gave.
    int latest_handle() const { return m_latest_handle; }

    // The one that counts on this thread, or null.
    static ClientCalls* current() { return s_current; }

    // "#1" for the first socket that was made, and so on.
    static std::string name_of(int handle) {
        if (s_current == nullptr || s_current->m_names.count(handle) == 0) {
            return "unknown " + std::to_string(handle);
        }
        return s_current->m_names[handle];
    }

    void remember(int handle) {
        m_latest_handle = handle;
        m_names[handle] = "#" + std::to_string(++m_count);
    }

    // Makes a call of this thread as it counts here, with a note of it, or the real one.
    template <typename Call, typename... Arguments>
    static auto make(std::function<Call> ClientCalls::*call, Call* real, const std::string& note,
                     Arguments... arguments) {
        if (s_current == nullptr) {
            return real(arguments...);
        }
        SyslogCapture::add_line({CALL_PRIORITY, note});
        return (s_current->*call)(arguments...);
    }

private:
    static inline thread_local ClientCalls* s_current = nullptr;

    ClientCalls* m_elder;
    std::map<int, std::string> m_names;
    int m_count = 0;
    int m_latest_handle = -1;
};

// The name of a constant when it is the expected one, its value otherwise.
inline std::string named(int value, int expected, const char* name) {
    return value == expected ? name : std::to_string(value);
}

inline std::string describe_address(const sockaddr* raw, socklen_t size) {
    sockaddr_in address{};
    if (size != sizeof address) {
        return "an address of " + std::to_string(size) + " bytes";
    }
    std::copy_n(reinterpret_cast<const char*>(raw), size, reinterpret_cast<char*>(&address));
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address.sin_addr, text, sizeof text);
    const bool is_clean = std::all_of(std::begin(address.sin_zero), std::end(address.sin_zero),
                                      [](unsigned char byte) { return byte == 0; });
    return named(address.sin_family, AF_INET, "AF_INET") + " " + text + ":" +
           std::to_string(ntohs(address.sin_port)) + (is_clean ? "" : " and rubbish");
}

// A time-out option as "SO_RCVTIMEO, 1.500000".
inline std::string describe_option(int level, int option, const void* value, socklen_t size) {
    timeval time{};
    if (level != SOL_SOCKET || size != sizeof time) {
        return "another option";
    }
    std::copy_n(static_cast<const char*>(value), size, reinterpret_cast<char*>(&time));
    std::ostringstream text;
    text << (option == SO_SNDTIMEO ? "SO_SNDTIMEO" : named(option, SO_RCVTIMEO, "SO_RCVTIMEO"))
         << ", " << time.tv_sec << "." << std::setw(6) << std::setfill('0') << time.tv_usec;
    return text.str();
}

inline std::string describe_transfer(int handle, std::size_t size, int flags) {
    return "(" + ClientCalls::name_of(handle) + ", " + std::to_string(size) + ", " +
           std::to_string(flags) + ")";
}

int __wrap_inet_pton(int family, const char* text, void* address) {
    return ClientCalls::make(&ClientCalls::inet_pton, __real_inet_pton,
                             "inet_pton(" + named(family, AF_INET, "AF_INET") + ", " + text + ")",
                             family, text, address);
}

int __wrap_socket(int family, int type, int protocol) {
    const int handle = ClientCalls::make(&ClientCalls::socket, __real_socket,
                                         "socket(" + named(family, AF_INET, "AF_INET") + ", " +
                                             named(type, SOCK_STREAM, "SOCK_STREAM") + ", " +
                                             std::to_string(protocol) + ")",
                                         family, type, protocol);
    if (ClientCalls::current() != nullptr) {
        ClientCalls::current()->remember(handle);
    }
    return handle;
}

int __wrap_connect(int handle, const sockaddr* address, socklen_t size) {
    return ClientCalls::make(&ClientCalls::connect, __real_connect,
                             "connect(" + ClientCalls::name_of(handle) + ", " +
                                 describe_address(address, size) + ")",
                             handle, address, size);
}

int __wrap_setsockopt(int handle, int level, int option, const void* value, socklen_t size) {
    return ClientCalls::make(&ClientCalls::setsockopt, __real_setsockopt,
                             "setsockopt(" + ClientCalls::name_of(handle) + ", " +
                                 describe_option(level, option, value, size) + ")",
                             handle, level, option, value, size);
}

ssize_t __wrap_send(int handle, const void* data, std::size_t size, int flags) {
    return ClientCalls::make(&ClientCalls::send, __real_send,
                             "send" + describe_transfer(handle, size, flags), handle, data, size,
                             flags);
}

ssize_t __wrap_recv(int handle, void* data, std::size_t size, int flags) {
    return ClientCalls::make(&ClientCalls::recv, __real_recv,
                             "recv" + describe_transfer(handle, size, flags), handle, data, size,
                             flags);
}

int __wrap_close(int handle) {
    struct stat file = {};
    if (fstat(handle, &file) == 0 && S_ISREG(file.st_mode)) { // the configuration
        return __real_close(handle);
    }
    return ClientCalls::make(&ClientCalls::close, __real_close,
                             "close(" + ClientCalls::name_of(handle) + ")", handle);
}

// How many descriptors this process has open.
inline std::ptrdiff_t count_descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
}

// Whether the process has this many descriptors open again: a peer in it may hold its end of the
// last connection for a moment.
inline bool has_descriptors(std::ptrdiff_t count) {
    return wait_until([count] { return count_descriptors() == count; });
}

constexpr int MANY = 1000;
