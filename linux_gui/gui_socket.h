// A blocking TCP client that turns every failure into an exception with a fixed message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

// One connection, owned by the thread that made it and handled through std::shared_ptr. Every
// failure is a std::runtime_error; nothing is retried, and an interrupted call or a time-out is a
// failure like any other. SIGPIPE is left as the process has it.
class GUISocket {
public:
    // Connects to a dotted IPv4 address (no name is resolved) and a TCP port; waits as long as the
    // system does. Throws "Failed to lookup host.", "Failed to create socket handle." or
    // "Failed to connect socket.", and leaves no handle behind.
    GUISocket(const std::string& host, int port);
    ~GUISocket();
    GUISocket(const GUISocket&) = delete;
    GUISocket& operator=(const GUISocket&) = delete;

    // Sets the time-outs of each later receive and send call, the receive one first; 0 means none.
    // Throws "Invalid socket timeout value: N." for a negative one and "Failed to set socket
    // timeout to N." when the system refuses.
    void set_read_write_timeouts_milliseconds(int read_timeout_ms, int write_timeout_ms);

    // One send call; returns how many bytes it took. Throws "Failed writing to socket.",
    // "Empty send." or "Invalid data_size: N".
    int send_some(const void* data, std::size_t data_size);

    // Sends everything; makes no call for a size of 0. Throws like send_some.
    void send_all(const void* data, std::size_t data_size);

    // One receive call; returns how many bytes it gave. Throws "Receive failed.", and
    // "Empty receive." for no byte, even when none was asked for.
    int receive_some(void* data, std::size_t data_size);

    // Receives exactly data_size bytes; makes no call for a size of 0. Throws like receive_some.
    void receive_all(void* data, std::size_t data_size);

private:
    // Owns the handle, so that it is closed also when the constructor of the socket throws.
    struct my_data_members {
        my_data_members();
        ~my_data_members();
        my_data_members(const my_data_members&) = delete;
        my_data_members& operator=(const my_data_members&) = delete;

        std::int32_t soc; // -1: none
    };

    std::shared_ptr<my_data_members> m_data_members;
};

// The size, or the largest int when the size is larger: the most that one system call is given.
int limit_size_t_as_int(std::size_t size);
