// What the tests of the service client share: scripted TCP peers in the service's place, and the
// client's system calls, watched and replaced.
//
// For the one source file of a test program, linked with ZOR_CLIENT_WRAP: it
// defines functions that the link puts in the place of the C library's.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <iomanip>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "syslog_capture.h"
#include "test_support.h"

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

constexpr int SERVICE_PORT = 1753;

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

inline std::vector<std::string> log_lines() {
    auto entries = history();
    std::erase_if(entries, [](const auto& entry) { return entry.starts_with("* "); });
    return entries;
}

inline std::vector<std::string> system_calls() {
    auto entries = history();
    std::erase_if(entries, [](const auto& entry) { return !entry.starts_with("* "); });
    return entries;
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

    // No call reaches the system: the socket has this handle, and every call succeeds; send takes
    // everything, recv has nothing.
    void pretend_success(int handle = 4711) {
        socket = [handle](int, int, int) {
            return handle;
        };
        connect = [](int, const sockaddr*, socklen_t) {
            return 0;
        };
        setsockopt = [](int, int, int, const void*, socklen_t) {
            return 0;
        };
        send = [](int, const void*, std::size_t size, int) {
            return static_cast<ssize_t>(size);
        };
        recv = [](int, void*, std::size_t, int) {
            return ssize_t{0};
        };
        close = [](int) {
            return 0;
        };
    }

    // The handle that the latest socket call gave.
    int latest_handle() const { return m_latest_handle; }

    // The one that counts on this thread, or null.
    static ClientCalls* current() { return s_current; }

    // "#1" for the first socket that was made, and so on.
    std::string name_of(int handle) const {
        const auto found = m_names.find(handle);
        return found != m_names.end() ? found->second : "unknown " + std::to_string(handle);
    }

    void remember(int handle) {
        m_latest_handle = handle;
        m_names[handle] = "#" + std::to_string(++m_count);
    }

    static void note(const std::string& call) { SyslogCapture::add_line({CALL_PRIORITY, call}); }

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
    return "(" + ClientCalls::current()->name_of(handle) + ", " + std::to_string(size) + ", " +
           std::to_string(flags) + ")";
}

int __wrap_inet_pton(int family, const char* text, void* address) {
    auto* calls = ClientCalls::current();
    if (calls == nullptr) {
        return __real_inet_pton(family, text, address);
    }
    ClientCalls::note("inet_pton(" + named(family, AF_INET, "AF_INET") + ", " + text + ")");
    return calls->inet_pton(family, text, address);
}

int __wrap_socket(int family, int type, int protocol) {
    auto* calls = ClientCalls::current();
    if (calls == nullptr) {
        return __real_socket(family, type, protocol);
    }
    ClientCalls::note("socket(" + named(family, AF_INET, "AF_INET") + ", " +
                      named(type, SOCK_STREAM, "SOCK_STREAM") + ", " + std::to_string(protocol) +
                      ")");
    const int handle = calls->socket(family, type, protocol);
    calls->remember(handle);
    return handle;
}

int __wrap_connect(int handle, const sockaddr* address, socklen_t size) {
    auto* calls = ClientCalls::current();
    if (calls == nullptr) {
        return __real_connect(handle, address, size);
    }
    ClientCalls::note("connect(" + calls->name_of(handle) + ", " + describe_address(address, size) +
                      ")");
    return calls->connect(handle, address, size);
}

int __wrap_setsockopt(int handle, int level, int option, const void* value, socklen_t size) {
    auto* calls = ClientCalls::current();
    if (calls == nullptr) {
        return __real_setsockopt(handle, level, option, value, size);
    }
    ClientCalls::note("setsockopt(" + calls->name_of(handle) + ", " +
                      describe_option(level, option, value, size) + ")");
    return calls->setsockopt(handle, level, option, value, size);
}

ssize_t __wrap_send(int handle, const void* data, std::size_t size, int flags) {
    auto* calls = ClientCalls::current();
    if (calls == nullptr) {
        return __real_send(handle, data, size, flags);
    }
    ClientCalls::note("send" + describe_transfer(handle, size, flags));
    return calls->send(handle, data, size, flags);
}

ssize_t __wrap_recv(int handle, void* data, std::size_t size, int flags) {
    auto* calls = ClientCalls::current();
    if (calls == nullptr) {
        return __real_recv(handle, data, size, flags);
    }
    ClientCalls::note("recv" + describe_transfer(handle, size, flags));
    return calls->recv(handle, data, size, flags);
}

int __wrap_close(int handle) {
    auto* calls = ClientCalls::current();
    struct stat file = {};
    const bool is_configuration = fstat(handle, &file) == 0 && S_ISREG(file.st_mode);
    if (calls == nullptr || is_configuration) {
        return __real_close(handle);
    }
    ClientCalls::note("close(" + calls->name_of(handle) + ")");
    return calls->close(handle);
}

// How many descriptors this process has open.
inline std::ptrdiff_t count_descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
}

// ---- Peers --------------------------------------------------------------------------------------

// A number as 8 bytes, the least significant one first.
inline std::string length_prefix(std::uint64_t length) {
    std::string bytes;
    for (unsigned shift = 0; shift < 64; shift += 8) {
        bytes += static_cast<char>(length >> shift & 0xFF);
    }
    return bytes;
}

inline std::string frame(const std::string& text) {
    return length_prefix(text.size()) + text;
}

// The service's end of one connection. Throws std::runtime_error when the client does not do what
// is waited for in time.
class PeerConnection {
public:
    explicit PeerConnection(int handle) : m_handle(handle) {
        const auto deadline = scaled(std::chrono::seconds(10));
        timeval time{};
        time.tv_sec = static_cast<decltype(time.tv_sec)>(
            std::chrono::duration_cast<std::chrono::seconds>(deadline).count());
        const int on = 1;
        __real_setsockopt(m_handle, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
        __real_setsockopt(m_handle, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    PeerConnection(PeerConnection&& other) noexcept : m_handle(std::exchange(other.m_handle, -1)) {}
    PeerConnection& operator=(PeerConnection&&) = delete;
    ~PeerConnection() { close(); }

    void close() {
        if (m_handle != -1) {
            __real_close(std::exchange(m_handle, -1));
        }
    }

    // Closes in a way that the client sees as a broken connection.
    void reset() {
        const linger at_once{1, 0};
        __real_setsockopt(m_handle, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
        close();
    }

    std::string receive(std::size_t size) {
        std::string bytes(size, '\0');
        std::size_t total = 0;
        while (total < size) {
            const auto more = __real_recv(m_handle, bytes.data() + total, size - total, 0);
            if (more <= 0) {
                throw std::runtime_error("the client sent " + std::to_string(total) +
                                         " bytes instead of " + std::to_string(size));
            }
            total += static_cast<std::size_t>(more);
        }
        return bytes;
    }

    // One frame, with its prefix.
    std::string receive_frame() {
        auto bytes = receive(8);
        std::uint64_t length = 0;
        for (std::size_t i = 8; i-- > 0;) {
            length = length << 8 | static_cast<unsigned char>(bytes[i]);
        }
        if (length > 1ULL << 30) {
            throw std::runtime_error("the client announced " + std::to_string(length) + " bytes");
        }
        return bytes + receive(static_cast<std::size_t>(length));
    }

    // All that comes until the client closes.
    std::string receive_rest() {
        std::string bytes;
        char buffer[4096];
        while (true) {
            const auto more = __real_recv(m_handle, buffer, sizeof buffer, 0);
            if (more == 0 || (more < 0 && errno == ECONNRESET)) {
                return bytes;
            }
            if (more < 0) {
                throw std::runtime_error("the client did not close");
            }
            bytes.append(buffer, static_cast<std::size_t>(more));
        }
    }

    void send(const std::string& bytes) {
        std::size_t total = 0;
        while (total < bytes.size()) {
            const auto more =
                __real_send(m_handle, bytes.data() + total, bytes.size() - total, MSG_NOSIGNAL);
            if (more <= 0) {
                throw std::runtime_error("the client does not take the reply");
            }
            total += static_cast<std::size_t>(more);
        }
    }

    // Whether the client has the connection open and has sent nothing that was not received.
    bool is_silent() {
        char byte = 0;
        return __real_recv(m_handle, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == -1 && errno == EAGAIN;
    }

private:
    int m_handle;
};

// Listens in the service's place and runs a script on a thread of its own. A script that throws
// fails the test.
class FakePeer {
public:
    using Script = std::function<void(FakePeer&)>;

    explicit FakePeer(Script script) : m_script(std::move(script)) {
        m_listener = __real_socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int on = 1;
        __real_setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(SERVICE_PORT);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            listen(m_listener, 128) != 0) {
            __real_close(m_listener);
            throw std::runtime_error("cannot listen on port 1753; not in the sandbox?");
        }
        m_thread = std::thread([this] { run(); });
    }

    ~FakePeer() {
        finish();
        __real_close(m_listener);
    }

    FakePeer(const FakePeer&) = delete;
    FakePeer& operator=(const FakePeer&) = delete;

    // Waits for the end of the script; the port stays open.
    void finish() {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

    // The next connection in the order in which the client made them.
    PeerConnection accept() {
        if (!has_connection(scaled(std::chrono::seconds(10)))) {
            throw std::runtime_error("the client did not connect");
        }
        return PeerConnection(accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC));
    }

    // Whether the client made a connection that was not accepted yet.
    bool has_connection(std::chrono::milliseconds deadline = std::chrono::milliseconds(0)) const {
        pollfd polled{m_listener, POLLIN, 0};
        return poll(&polled, 1, static_cast<int>(deadline.count())) == 1;
    }

private:
    void run() {
        try {
            m_script(*this);
        } catch (const std::exception& ex) {
            ADD_FAILURE() << "the peer: " << ex.what();
        }
    }

    Script m_script;
    int m_listener = -1;
    std::thread m_thread;
};

// Takes one request, answers with these bytes as they are, and waits for the client to close.
inline FakePeer::Script answer_with_bytes(std::string bytes) {
    return [bytes = std::move(bytes)](FakePeer& peer) {
        auto connection = peer.accept();
        connection.receive_frame();
        connection.send(bytes);
        EXPECT_EQ(connection.receive_rest(), "");
    };
}
