// Peers in the printer service's place that do what a test's script says, down to the last byte.
// Where a test only needs a service that tells events, printer_simulator::ServiceThread is simpler.
#pragma once

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "test_support.h"

constexpr int SERVICE_PORT = 1753;

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
        ::setsockopt(m_handle, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
        ::setsockopt(m_handle, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    PeerConnection(PeerConnection&& other) noexcept : m_handle(std::exchange(other.m_handle, -1)) {}
    PeerConnection& operator=(PeerConnection&&) = delete;
    ~PeerConnection() { close(); }

    // For poll; -1 once it is closed.
    int handle() const { return m_handle; }

    void close() {
        if (m_handle != -1) {
            ::close(std::exchange(m_handle, -1));
        }
    }

    // Closes in a way that the client sees as a broken connection.
    void reset() {
        const linger at_once{1, 0};
        ::setsockopt(m_handle, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
        close();
    }

    std::string receive(std::size_t size) {
        std::string bytes(size, '\0');
        std::size_t total = 0;
        while (total < size) {
            const auto more = ::recv(m_handle, bytes.data() + total, size - total, 0);
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
            const auto more = ::recv(m_handle, buffer, sizeof buffer, 0);
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
                ::send(m_handle, bytes.data() + total, bytes.size() - total, MSG_NOSIGNAL);
            if (more <= 0) {
                throw std::runtime_error("the client does not take the reply");
            }
            total += static_cast<std::size_t>(more);
        }
    }

    // Whether the client has the connection open and has sent nothing that was not received.
    bool is_silent() {
        char byte = 0;
        return ::recv(m_handle, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == -1 && errno == EAGAIN;
    }

    // Whether the client has closed the connection, and all that it sent was received.
    bool is_at_its_end() {
        char byte = 0;
        const auto size = ::recv(m_handle, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
        return size == 0 || (size < 0 && errno == ECONNRESET);
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
        m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const int on = 1;
        ::setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(SERVICE_PORT);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            listen(m_listener, 128) != 0) {
            ::close(m_listener);
            throw std::runtime_error("cannot listen on port 1753; not in the sandbox?");
        }
        m_thread = std::thread([this] { run(); });
    }

    ~FakePeer() {
        finish();
        ::close(m_listener);
    }

    FakePeer(const FakePeer&) = delete;
    FakePeer& operator=(const FakePeer&) = delete;

    // Waits for the end of the script; the port stays open.
    void finish() {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

    // For poll: readable when a connection waits to be accepted.
    int handle() const { return m_listener; }

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
