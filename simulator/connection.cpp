#include "connection.h"

#include <sys/socket.h>

#include <algorithm>

namespace printer_simulator {

namespace {

constexpr std::chrono::milliseconds CLOSING_GRACE{5000};

} // namespace

Connection::Connection(std::uint64_t id, GSocketConnection* socket_connection,
                       GMainContext* context, RequestFunction requested, FinishedFunction finished)
    : id_(id), connection_(G_SOCKET_CONNECTION(g_object_ref(socket_connection))),
      socket_(g_socket_connection_get_socket(socket_connection)), context_(context),
      requested_(std::move(requested)), finished_(std::move(finished)) {
    g_socket_set_blocking(socket_, FALSE);
}

Connection::~Connection() {
    finished_ = nullptr;
    finish();
}

void Connection::start() {
    input_ =
        MainSource::socket_watch(context_, socket_, G_IO_IN, [this] { return read_available(); });
}

std::string_view Connection::outcome() const noexcept {
    if (received_bytes_ == 0) {
        return "silent";
    }
    return everything_sent_ ? "served" : "broken";
}

bool Connection::read_available() {
    std::array<char, 65536> buffer;
    GError* raw_error = nullptr;
    const gssize count =
        g_socket_receive(socket_, buffer.data(), buffer.size(), nullptr, &raw_error);
    const GErrorPtr error(raw_error);
    if (count > 0) {
        take({buffer.data(), static_cast<std::size_t>(count)});
    } else if (count == 0) {
        peer_closed();
        return false;
    } else if (!g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK)) {
        finish();
    }
    return state_ != State::closed;
}

void Connection::take(std::string_view bytes) {
    received_bytes_ += bytes.size();
    if (state_ != State::reading) {
        return;
    }
    request_.feed(bytes);
    if (request_.state() == FrameReader::State::too_long) {
        finish();
    } else if (request_.state() == FrameReader::State::complete) {
        state_ = State::waiting;
        requested_(*this);
    }
}

void Connection::reply(ReplyPlan plan) {
    if (state_ != State::waiting) {
        return;
    }
    reply_ = std::move(plan);
    if (reply_.withheld) {
        return;
    }
    if (reply_.delay.count() == 0) {
        begin_sending();
        return;
    }
    timer_ = MainSource::timer(context_, reply_.delay, [this] {
        begin_sending();
        return false;
    });
}

void Connection::begin_sending() {
    if (reply_.reset) {
        reset();
        return;
    }
    state_ = State::sending;
    if (!reply_.byte_interval) {
        send_more();
        return;
    }
    timer_ = MainSource::timer(context_, *reply_.byte_interval,
                               [this] { return send_piece(1) && state_ == State::sending; });
}

void Connection::send_more() {
    if (!send_piece(reply_.bytes.size()) || state_ != State::sending || output_) {
        return;
    }
    output_ = MainSource::socket_watch(context_, socket_, G_IO_OUT, [this] {
        return send_piece(reply_.bytes.size()) && state_ == State::sending;
    });
}

bool Connection::send_piece(std::size_t limit) {
    const std::size_t size =
        std::min(limit, reply_.bytes.size() - static_cast<std::size_t>(sent_bytes_));
    GError* raw_error = nullptr;
    const gssize count = size == 0 ? 0
                                   : g_socket_send(socket_, reply_.bytes.data() + sent_bytes_, size,
                                                   nullptr, &raw_error);
    const GErrorPtr error(raw_error);
    if (count < 0) {
        const bool later = g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK);
        if (!later) {
            finish();
        }
        return later;
    }
    sent_bytes_ += static_cast<std::uint64_t>(count);
    if (sent_bytes_ == reply_.bytes.size()) {
        all_sent();
    }
    return true;
}

void Connection::all_sent() {
    everything_sent_ = true;
    state_ = State::closing;
    if (peer_is_done_) {
        finish();
        return;
    }
    if (reply_.hold_open) {
        return;
    }
    g_socket_shutdown(socket_, FALSE, TRUE, nullptr);
    timer_ = MainSource::timer(context_, CLOSING_GRACE, [this] {
        finish();
        return false;
    });
}

void Connection::peer_closed() {
    // A peer that has shut down only its sending side still gets its reply.
    peer_is_done_ = true;
    const bool reply_is_due =
        state_ == State::sending || (state_ == State::waiting && !reply_.withheld);
    if (!reply_is_due) {
        finish();
    }
}

void Connection::reset() {
    // A socket that is closed with this on and no time left to linger is reset by the kernel.
    const linger at_once{1, 0};
    ::setsockopt(g_socket_get_fd(socket_), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    finish();
}

void Connection::finish() {
    if (state_ == State::closed) {
        return;
    }
    state_ = State::closed;
    input_.reset();
    output_.reset();
    timer_.reset();
    g_io_stream_close(G_IO_STREAM(connection_.get()), nullptr, nullptr);
    if (finished_) {
        finished_(*this);
    }
    request_ = {};
    reply_ = {};
}

} // namespace printer_simulator
