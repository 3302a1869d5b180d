// One status exchange with the printer service in plain C++: the same connections, time-outs and
// bytes as the program's, and nothing else. Ends the process when anything fails, since a yardstick
// that did less than it should measures nothing.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

inline void require(bool condition, const char* what) {
    if (!condition) {
        std::perror(what);
        std::exit(1);
    }
}

inline int connect_to_service() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(1753);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int connection = socket(AF_INET, SOCK_STREAM, 0);
    require(connection >= 0, "socket");
    require(connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0,
            "connect");
    const timeval read_timeout{15, 0};
    const timeval write_timeout{1, 0};
    require(setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &read_timeout, sizeof(read_timeout)) ==
                    0 &&
                setsockopt(connection, SOL_SOCKET, SO_SNDTIMEO, &write_timeout,
                           sizeof(write_timeout)) == 0,
            "setsockopt");
    return connection;
}

inline void receive_all(int connection, char* data, std::size_t size) {
    for (std::size_t received = 0; received < size;) {
        const ssize_t more = recv(connection, data + received, size - received, 0);
        require(more > 0, "recv");
        received += static_cast<std::size_t>(more);
    }
}

// Asks for the event after the previous reply; returns the reply.
inline std::string exchange_status(const std::string& previous_reply) {
    const int silent_connection = connect_to_service();
    const int connection = connect_to_service();
    const std::string request = "{{get-published-info}}" + previous_reply;
    std::uint64_t length = request.size();
    require(send(connection, &length, sizeof(length), 0) == static_cast<ssize_t>(sizeof(length)),
            "send");
    require(send(connection, request.data(), length, 0) == static_cast<ssize_t>(length), "send");
    receive_all(connection, reinterpret_cast<char*>(&length), sizeof(length));
    std::string reply(length, '\0');
    receive_all(connection, reply.data(), length);
    close(connection);
    close(silent_connection);
    return reply;
}
