#include "connection.h"

#include <sys/socket.h>

#include <algorithm>

namespace printer_simulator {

namespace {

constexpr std::chrono::milliseconds CLOSING_GRACE{5000};

} // namespace

Connection::Connection(std::uint64_t id, GSocketConnection* socket_connection,
                       GMainContext* context, RequestFunction requested, FinishedFunction finished)
    : m_id(id), m_connection(G_SOCKET_CONNECTION(g_object_ref(socket_connection))),
      m_socket(g_socket_connection_get_socket(socket_connection)), m_context(context),
      m_requested(std::move(requested)), m_finished(std::move(finished)) {
    g_socket_set_blocking(m_socket, FALSE);
}

Connection::~Connection() {
    m_finished = nullptr;
    finish();
}

void Connection::start() {
    m_input =
        MainSource::socket_watch(m_context, m_socket, G_IO_IN, [this] { return read_available(); });
}

std::string_view Connection::outcome() const noexcept {
    if (m_received_bytes == 0) {
        return "silent";
    }
    return m_everything_sent ? "served" : "broken";
}

bool Connection::read_available() {
    std::array<char, 65536> buffer;
    GError* raw_error = nullptr;
    const gssize count =
        g_socket_receive(m_socket, buffer.data(), buffer.size(), nullptr, &raw_error);
    const GErrorPtr error(raw_error);
    if (count > 0) {
        take({buffer.data(), static_cast<std::size_t>(count)});
    } else if (count == 0) {
        peer_closed();
        return false;
    } else if (!g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK)) {
        finish();
    }
    return m_state != State::closed;
}

void Connection::take(std::string_view bytes) {
    m_received_bytes += bytes.size();
    if (m_state != State::reading) {
        return;
    }
    m_request.feed(bytes);
    if (m_request.state() == FrameReader::State::too_long) {
        finish();
    } else if (m_request.state() == FrameReader::State::complete) {
        m_state = State::waiting;
        m_requested(*this);
    }
}

void Connection::reply(ReplyPlan plan) {
    if (m_state != State::waiting) {
        return;
    }
    m_reply = std::move(plan);
    if (m_reply.withheld) {
        return;
    }
    if (m_reply.delay.count() == 0) {
        begin_sending();
        return;
    }
    m_timer = MainSource::timer(m_context, m_reply.delay, [this] {
        begin_sending();
        return false;
    });
}

void Connection::begin_sending() {
    if (m_reply.reset) {
        reset();
        return;
    }
    m_state = State::sending;
    if (!m_reply.byte_interval) {
        send_more();
        return;
    }
    m_timer = MainSource::timer(m_context, *m_reply.byte_interval,
                                [this] { return send_piece(1) && m_state == State::sending; });
}

void Connection::send_more() {
    if (!send_piece(m_reply.bytes.size()) || m_state != State::sending || m_output) {
        return;
    }
    m_output = MainSource::socket_watch(m_context, m_socket, G_IO_OUT, [this] {
        return send_piece(m_reply.bytes.size()) && m_state == State::sending;
    });
}

bool Connection::send_piece(std::size_t limit) {
    const std::size_t size =
        std::min(limit, m_reply.bytes.size() - static_cast<std::size_t>(m_sent_bytes));
    GError* raw_error = nullptr;
    const gssize count = size == 0 ? 0
                                   : g_socket_send(m_socket, m_reply.bytes.data() + m_sent_bytes,
                                                   size, nullptr, &raw_error);
    const GErrorPtr error(raw_error);
    if (count < 0) {
        const bool later = g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK);
        if (!later) {
            finish();
        }
        return later;
    }
    m_sent_bytes += static_cast<std::uint64_t>(count);
    if (m_sent_bytes == m_reply.bytes.size()) {
        all_sent();
    }
    return true;
}

void Connection::all_sent() {
    m_everything_sent = true;
    m_state = State::closing;
    if (m_peer_is_done) {
        finish();
        return;
    }
    if (m_reply.hold_open) {
        return;
    }
    g_socket_shutdown(m_socket, FALSE, TRUE, nullptr);
    m_timer = MainSource::timer(m_context, CLOSING_GRACE, [this] {
        finish();
        return false;
    });
}

void Connection::peer_closed() {
    // A peer that has shut down only its sending side still gets its reply.
    m_peer_is_done = true;
    const bool reply_is_due =
        m_state == State::sending || (m_state == State::waiting && !m_reply.withheld);
    if (!reply_is_due) {
        finish();
    }
}

void Connection::reset() {
    // A socket that is closed with this on and no time left to linger is reset by the kernel.
    const linger at_once{1, 0};
    ::setsockopt(g_socket_get_fd(m_socket), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    finish();
}

void Connection::finish() {
    if (m_state == State::closed) {
        return;
    }
    m_state = State::closed;
    m_input.reset();
    m_output.reset();
    m_timer.reset();
    g_io_stream_close(G_IO_STREAM(m_connection.get()), nullptr, nullptr);
    if (m_finished) {
        m_finished(*this);
    }
    m_request = {};
    m_reply = {};
}

} // namespace printer_simulator
