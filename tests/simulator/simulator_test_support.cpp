#include "simulator_test_support.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

#include "wire.h"

namespace printer_simulator::test {

WireClient::WireClient(std::uint16_t port) : m_socket(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    timeval limit{};
    limit.tv_sec = static_cast<time_t>(std::chrono::ceil<std::chrono::seconds>(DEADLINE).count());
    ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    if (::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(m_socket);
        throw std::runtime_error("connect refused");
    }
}

WireClient::~WireClient() {
    if (m_socket >= 0) {
        ::close(m_socket);
    }
}

void WireClient::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0) {
            throw std::runtime_error("send failed");
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void WireClient::shut_down_sending() {
    ::shutdown(m_socket, SHUT_WR);
}

void WireClient::reset() {
    const linger at_once{1, 0};
    ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    ::close(std::exchange(m_socket, -1));
}

std::string WireClient::receive(std::size_t count) {
    std::string received;
    std::array<char, 65536> buffer;
    while (received.size() < count) {
        const ssize_t got =
            ::recv(m_socket, buffer.data(), std::min(buffer.size(), count - received.size()), 0);
        if (got < 0) {
            throw std::runtime_error("receive failed");
        }
        if (got == 0) {
            break;
        }
        received.append(buffer.data(), static_cast<std::size_t>(got));
    }
    return received;
}

std::string WireClient::receive_until_closed() {
    return receive(std::string::npos);
}

bool WireClient::ends_with_reset() {
    std::array<char, 65536> buffer;
    ssize_t got = 1;
    while (got > 0) {
        got = ::recv(m_socket, buffer.data(), buffer.size(), 0);
    }
    if (got < 0 && errno != ECONNRESET) {
        throw std::runtime_error("the connection did not end");
    }
    return got < 0;
}

bool WireClient::is_readable_within(std::chrono::milliseconds time) const {
    pollfd watched{m_socket, POLLIN, 0};
    return ::poll(&watched, 1, static_cast<int>(time.count())) > 0;
}

std::string raw_exchange(std::uint16_t port, std::string_view request) {
    WireClient client(port);
    client.send(framed(request));
    return client.receive_until_closed();
}

std::string framed_exchange(std::uint16_t port, std::string_view request) {
    const std::string bytes = raw_exchange(port, request);
    if (bytes.size() < PREFIX_SIZE || decoded_prefix(bytes) != bytes.size() - PREFIX_SIZE) {
        throw std::runtime_error("the reply is not one frame");
    }
    return bytes.substr(PREFIX_SIZE);
}

std::string poll_status(std::uint16_t port, std::string_view quoted) {
    const WireClient silent(port);
    return framed_exchange(port, std::string(STATUS_REQUEST) + std::string(quoted));
}

std::string element(const std::string& document, const std::string& name) {
    const std::string open = "<" + name + ">";
    const std::size_t begin = document.find(open);
    const std::size_t end = document.find("</" + name + ">");
    if (begin == std::string::npos || end == std::string::npos) {
        return {};
    }
    return document.substr(begin + open.size(), end - begin - open.size());
}

ServiceObserver OccurrenceLog::observer() {
    ServiceObserver observer;
    observer.occurred = [this](const Occurrence& occurrence) {
        const std::lock_guard lock(m_mutex);
        m_occurrences.push_back(occurrence);
        m_changed.notify_all();
    };
    return observer;
}

Occurrence OccurrenceLog::wait_for(std::string_view words, std::size_t count) {
    std::unique_lock lock(m_mutex);
    const Occurrence* found = nullptr;
    const auto happened = [&] {
        std::size_t seen = 0;
        for (const Occurrence& occurrence : m_occurrences) {
            if (occurrence.words() == words && ++seen == count) {
                found = &occurrence;
                return true;
            }
        }
        return false;
    };
    if (!m_changed.wait_for(lock, DEADLINE, happened)) {
        throw std::runtime_error("did not happen: " + std::string(words));
    }
    return *found;
}

std::vector<Occurrence> OccurrenceLog::all(std::string_view words) {
    const std::lock_guard lock(m_mutex);
    std::vector<Occurrence> matching;
    std::copy_if(m_occurrences.begin(), m_occurrences.end(), std::back_inserter(matching),
                 [words](const Occurrence& occurrence) { return occurrence.words() == words; });
    return matching;
}

} // namespace printer_simulator::test
