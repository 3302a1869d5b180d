// Any bytes as the reply to a request, through a real connection: the reply is what the length in
// front of it announces, or the exchange fails with the right exception.
//
// Memory ends at MEMORY_LIMIT for the exchange, so that a length which lies fails as on a machine
// that cannot hold it, and the sanitizer does not take it for a fault of the program.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

#include "fuzz_support.h"
#include "zor_printer_io.h"

namespace {

constexpr std::size_t MEMORY_LIMIT = std::size_t{1} << 20;
thread_local bool memory_is_short = false;

void* allocate(std::size_t size) {
    void* const memory =
        memory_is_short && size > MEMORY_LIMIT ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

void* operator new[](std::size_t size) {
    return allocate(size);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace {

// Keeps the fuzzer's alarm away from this thread: to the program an interrupted call is a failure
// like any other.
class NoInterruption {
public:
    NoInterruption() {
        sigset_t alarm;
        sigemptyset(&alarm);
        sigaddset(&alarm, SIGALRM);
        pthread_sigmask(SIG_BLOCK, &alarm, &m_before);
    }
    ~NoInterruption() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    NoInterruption(const NoInterruption&) = delete;
    NoInterruption& operator=(const NoInterruption&) = delete;

private:
    sigset_t m_before;
};

const std::string REQUEST = "{{get-published-info}}";
constexpr std::size_t PREFIX_SIZE = 8;

// Serves one connection after the other on a thread of its own: reads the whole request, sends the
// reply, and waits until the client has closed.
class Peer {
public:
    Peer() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(1753);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_listener = socket(AF_INET, SOCK_STREAM, 0);
        const int on = 1;
        setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        require(bind(m_listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0,
                "port 1753 is taken: not in the sandbox?");
        require(listen(m_listener, 16) == 0, "cannot listen");
        const NoInterruption guard; // the thread starts with the same signals blocked
        std::thread([this] { serve(); }).detach();
    }

    void set_reply(std::string reply) {
        const std::lock_guard<std::mutex> locker(m_mux);
        m_reply = std::move(reply);
    }

private:
    [[noreturn]] void serve() {
        for (;;) {
            const int connection = accept(m_listener, nullptr, nullptr);
            require(connection >= 0, "cannot accept");
            receive_request(connection);
            send_reply(connection);
            shutdown(connection, SHUT_WR);
            std::array<char, 256> rest;
            while (recv(connection, rest.data(), rest.size(), 0) > 0) {
            }
            close(connection);
        }
    }

    static void receive_request(int connection) {
        std::string request(PREFIX_SIZE + REQUEST.size(), '\0');
        require(recv(connection, request.data(), request.size(), MSG_WAITALL) ==
                    static_cast<ssize_t>(request.size()),
                "the request is too short");
        require(request == std::string("\x16\0\0\0\0\0\0\0", PREFIX_SIZE) + REQUEST,
                "the request is another one");
    }

    void send_reply(int connection) {
        const std::lock_guard<std::mutex> locker(m_mux);
        std::size_t sent = 0;
        while (sent < m_reply.size()) {
            const ssize_t more = send(connection, m_reply.data() + sent, m_reply.size() - sent, 0);
            if (more < 0) {
                return; // the client has what it wanted
            }
            sent += static_cast<std::size_t>(more);
        }
    }

    int m_listener = -1;
    std::mutex m_mux;
    std::string m_reply;
};

struct outcome {
    std::string reply;
    std::string failure;

    bool operator==(const outcome&) const = default;
};

outcome expected_outcome(const std::string& bytes) {
    if (bytes.size() < PREFIX_SIZE) {
        return {"", "Empty receive."};
    }
    std::uint64_t length = 0;
    for (std::size_t i = PREFIX_SIZE; i-- > 0;) {
        length = length * 256 + static_cast<unsigned char>(bytes[i]);
    }
    if (length > MEMORY_LIMIT) {
        return {"", "out of memory"};
    }
    if (length > bytes.size() - PREFIX_SIZE) {
        return {"", "Empty receive."};
    }
    return {bytes.substr(PREFIX_SIZE, static_cast<std::size_t>(length)), ""};
}

outcome exchange() {
    const NoInterruption guard;
    memory_is_short = true;
    outcome result;
    try {
        result.reply = execute_printer_op(REQUEST);
    } catch (const std::bad_alloc&) {
        result.failure = "out of memory";
    } catch (const std::runtime_error& ex) {
        result.failure = ex.what();
    }
    memory_is_short = false;
    return result;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Peer& peer = []() -> Peer& {
        signal(SIGPIPE, SIG_IGN);
        return *new Peer; // its thread never ends
    }();
    const auto bytes = to_text(data, size);
    peer.set_reply(bytes);
    const auto result = exchange();
    const auto expected = expected_outcome(bytes);
    if (result != expected) {
        std::fprintf(stderr, "failure \"%s\", expected \"%s\"\n", result.failure.c_str(),
                     expected.failure.c_str());
    }
    require(result == expected, "another outcome of the exchange");
    return 0;
}
