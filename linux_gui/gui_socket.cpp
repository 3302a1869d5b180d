#include "gui_socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <limits>
#include <stdexcept>

#include "gui_logger.h"

GUISocket::my_data_members::my_data_members() : soc(-1) {}

GUISocket::my_data_members::~my_data_members() {
    GUI_LOG(VERBOSE, "begin");
    if (soc != -1) {
        const int close_result = close(soc);
        GUI_LOG(VERBOSE, "close_result=" << close_result);
        soc = -1;
    }
    GUI_LOG(VERBOSE, "end");
}

GUISocket::GUISocket(const std::string& host, int port)
    : m_data_members(std::make_shared<my_data_members>()) {
    GUI_LOG(VERBOSE, "begin");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (inet_pton(AF_INET, host.c_str(), &address.sin_addr) <= 0) {
        throw std::runtime_error("Failed to lookup host.");
    }
    m_data_members->soc = socket(AF_INET, SOCK_STREAM, 0);
    if (m_data_members->soc < 0) {
        throw std::runtime_error("Failed to create socket handle.");
    }
    if (connect(m_data_members->soc, reinterpret_cast<const sockaddr*>(&address),
                sizeof(address)) == -1) {
        throw std::runtime_error("Failed to connect socket.");
    }
    GUI_LOG(VERBOSE, "end");
}

GUISocket::~GUISocket() {
    GUI_LOG(VERBOSE, "begin");
    GUI_LOG(VERBOSE, "end");
}

void GUISocket::set_read_write_timeouts_milliseconds(int read_timeout_ms, int write_timeout_ms) {
    const std::array<int, 2> target_operations{SO_RCVTIMEO, SO_SNDTIMEO};
    const std::array<int, 2> target_timeouts_millis{read_timeout_ms, write_timeout_ms};
    for (std::size_t i = 0; i < target_operations.size(); ++i) {
        const int op = target_operations[i];
        const int timeout_ms = target_timeouts_millis[i];
        if (timeout_ms < 0) {
            throw std::runtime_error("Invalid socket timeout value: " + std::to_string(timeout_ms) +
                                     ".");
        }
        timeval time_value{};
        time_value.tv_sec = timeout_ms / 1000;
        time_value.tv_usec = (timeout_ms - time_value.tv_sec * 1000) * 1000;
        if (setsockopt(m_data_members->soc, SOL_SOCKET, op, &time_value, sizeof(time_value)) < 0) {
            throw std::runtime_error("Failed to set socket timeout to " +
                                     std::to_string(timeout_ms) + ".");
        }
    }
}

int GUISocket::send_some(const void* data, std::size_t data_size) {
    const int send_limit = limit_size_t_as_int(data_size);
    if (send_limit < 0) {
        throw std::runtime_error("Invalid data_size: " + std::to_string(data_size));
    }
    const auto result = send(m_data_members->soc, data, static_cast<std::size_t>(send_limit), 0);
    if (result == -1) {
        throw std::runtime_error("Failed writing to socket.");
    }
    if (result == 0 && data_size != 0) {
        throw std::runtime_error("Empty send.");
    }
    return static_cast<int>(result);
}

void GUISocket::send_all(const void* data, std::size_t data_size) {
    const auto* data_bytes = static_cast<const char*>(data);
    std::size_t total_sent = 0;
    while (total_sent != data_size) {
        const int more = send_some(data_bytes + total_sent, data_size - total_sent);
        total_sent += static_cast<std::size_t>(more);
    }
}

int GUISocket::receive_some(void* data, std::size_t data_size) {
    const int limit = limit_size_t_as_int(data_size);
    const auto result = recv(m_data_members->soc, data, static_cast<std::size_t>(limit), 0);
    if (result < 0) {
        throw std::runtime_error("Receive failed.");
    }
    if (result == 0) {
        throw std::runtime_error("Empty receive.");
    }
    return static_cast<int>(result);
}

void GUISocket::receive_all(void* data, std::size_t data_size) {
    auto* data_bytes = static_cast<char*>(data);
    std::size_t total_received = 0;
    while (total_received < data_size) {
        const int more = receive_some(data_bytes + total_received, data_size - total_received);
        total_received += static_cast<std::size_t>(more);
    }
}

int limit_size_t_as_int(std::size_t size) {
    constexpr int max_value = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(size, static_cast<std::size_t>(max_value)));
}
