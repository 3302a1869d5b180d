// What the simulator's tests share: a client on real sockets, a log of occurrences, builders.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "documents.h"
#include "occurrence.h"
#include "printer_service.h"
#include "test_support.h"

namespace printer_simulator::test {

// No test waits longer than this for something that must come.
inline const std::chrono::milliseconds DEADLINE = scaled(std::chrono::seconds(10));

// Runs a context's sources until the condition holds; false when DEADLINE passes first.
inline bool turn_until(GMainContext* context, const std::function<bool()>& condition) {
    return wait_until([&] {
        g_main_context_iteration(context, FALSE);
        return condition();
    });
}

// A blocking client connection to 127.0.0.1; receives give up after DEADLINE.
class WireClient {
public:
    // Throws std::runtime_error when the connection is refused.
    explicit WireClient(std::uint16_t port);
    WireClient(const WireClient&) = delete;
    WireClient& operator=(const WireClient&) = delete;
    ~WireClient();

    void send(std::string_view bytes);
    void shut_down_sending();
    // Ends the connection with a reset; nothing can be done with it then.
    void reset();
    // Up to `count` bytes; fewer only when the peer closed. Throws std::runtime_error at DEADLINE.
    std::string receive(std::size_t count);
    std::string receive_until_closed();
    // Waits for the end of the connection, whatever comes before it; whether that was a reset.
    // Throws std::runtime_error at DEADLINE.
    bool ends_with_reset();
    // Whether bytes or a close arrive within `time`.
    bool is_readable_within(std::chrono::milliseconds time) const;

private:
    int m_socket;
};

// The bytes that come back for one framed request, until the service closes.
std::string raw_exchange(std::uint16_t port, std::string_view request);
// The reply text. Throws std::runtime_error when the reply is not one whole frame.
std::string framed_exchange(std::uint16_t port, std::string_view request);
// One status poll as the real client does it, with a silent connection beside it.
std::string poll_status(std::uint16_t port, std::string_view quoted = {});

// The text of the first element `name` in a document; empty without one.
std::string element(const std::string& document, const std::string& name);

// Gathers occurrences from a service's thread.
class OccurrenceLog {
public:
    ServiceObserver observer();
    // Waits until `words` happened `count` times and returns the last of these. Throws
    // std::runtime_error at DEADLINE.
    Occurrence wait_for(std::string_view words, std::size_t count = 1);
    std::vector<Occurrence> all(std::string_view words);

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Occurrence> m_occurrences;
};

} // namespace printer_simulator::test
