// One accepted connection: reads one request frame, sends one reply as planned, closes cleanly.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "fault.h"
#include "glib_support.h"
#include "wire.h"

namespace printer_simulator {

// Never blocks. Everything runs on the context's thread.
//
// After the last byte of the reply the sending side is shut down, and the connection is finished
// when the peer has closed too, at the latest 5 seconds later. Until the peer closes or a reply is
// complete nothing ever times out here: a connection without a byte may stay for hours.
class Connection {
public:
    // Told once, when the request is complete. Calls `reply`, at once or later.
    using RequestFunction = std::function<void(Connection&)>;
    // Told once, when the socket is closed. Must not destroy the connection, whose functions may
    // still be running, but may arrange for that later.
    using FinishedFunction = std::function<void(Connection&)>;

    // `socket_connection` is shared with the caller. Reading begins at `start`.
    Connection(std::uint64_t id, GSocketConnection* socket_connection, GMainContext* context,
               RequestFunction requested, FinishedFunction finished);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    void start();

    // Answers the request, once it is complete. Does nothing when the connection has ended.
    void reply(ReplyPlan plan);

    // Closes the socket at once, whatever is going on.
    void finish();
    // The same, but the peer gets a reset (RST) instead of an orderly end.
    void reset();

    std::uint64_t id() const noexcept { return m_id; }
    const FrameReader& request() const noexcept { return m_request; }
    std::uint64_t received_bytes() const noexcept { return m_received_bytes; }
    std::uint64_t sent_bytes() const noexcept { return m_sent_bytes; }
    // `silent` without a byte, `served` after a whole reply plan, else `broken`.
    std::string_view outcome() const noexcept;

private:
    enum class State { reading, waiting, sending, closing, closed };

    bool read_available();
    void take(std::string_view bytes);
    void begin_sending();
    void send_more();
    bool send_piece(std::size_t limit);
    void all_sent();
    void peer_closed();

    const std::uint64_t m_id;
    GObjectPtr<GSocketConnection> m_connection;
    GSocket* const m_socket;
    GMainContext* const m_context;
    RequestFunction m_requested;
    FinishedFunction m_finished;

    State m_state = State::reading;
    FrameReader m_request;
    ReplyPlan m_reply;
    std::uint64_t m_received_bytes = 0;
    std::uint64_t m_sent_bytes = 0;
    bool m_everything_sent = false;
    bool m_peer_is_done = false;
    MainSource m_input;
    MainSource m_output;
    MainSource m_timer; // the delay, the trickle or the last grace period: never two at once
};

} // namespace printer_simulator
