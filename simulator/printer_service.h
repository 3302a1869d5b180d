// The simulated printer service: listens on 127.0.0.1, serves the model, shows faults on request.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "active_faults.h"
#include "connection.h"
#include "glib_support.h"
#include "occurrence.h"
#include "printer_model.h"

namespace printer_simulator {

// The port of the printer service link.
inline constexpr std::uint16_t PRINTER_SERVICE_PORT = 1753;

// Those who watch a service. Both are called on the service's thread, in the middle of the
// service's work: they may keep what they are told, but must not call the service.
struct ServiceObserver {
    // Something happened.
    std::function<void(const Occurrence&)> occurred;
    // A request came in whole, or its reply is about to go out: the frame as it is on the wire.
    std::function<void(std::uint64_t connection, bool is_request, std::string_view frame)>
        exchanged;
};

// One simulated printer service.
//
// It belongs to the thread that makes it and to that thread's default main context
// (`g_main_context_push_thread_default`, or else the global default context), which must be
// running for connections to be served. All functions, the destructor too, are for that thread;
// `ServiceThread` carries calls from others over. Several services may run side by side.
class PrinterService {
public:
    explicit PrinterService(ServiceObserver observer = {},
                            std::size_t history_limit = EventHistory::DEFAULT_LIMIT);
    PrinterService(const PrinterService&) = delete;
    PrinterService& operator=(const PrinterService&) = delete;
    ~PrinterService();

    // Starts to listen on 127.0.0.1. Port 0 takes a free one below the range from which the
    // kernel takes the ports of outgoing connections, so that no client gets it while the service
    // is stopped. Throws std::runtime_error with the reason when the port cannot be had.
    void listen(std::uint16_t port);
    // The port of the last `listen`; 0 before.
    std::uint16_t port() const noexcept { return m_port; }
    bool is_listening() const noexcept { return m_listener != nullptr; }

    void publish_error(const PrinterError& error);
    void publish_raw(std::string text);
    // False when the job has no open error.
    bool clear(const std::string& printer, const std::string& job);
    // The number of errors withdrawn.
    std::size_t clear_all();
    void plan_failures(const std::string& printer, const std::string& job, std::uint64_t times,
                       std::chrono::milliseconds after);

    // Puts a fault on show as `ActiveFaults::set` says. A refusal stops listening, any other fault
    // resumes it.
    void set_fault(const Fault& fault);
    const ActiveFaults& faults() const noexcept { return m_faults; }

    // Whether the newest event is told again when there is none newer, as
    // `PrinterModel::set_retelling` says.
    void set_retelling(bool on);

    // Lets a status request without news wait up to `time` for the next event before it is
    // answered; 0, as at first, answers at once. Requests that wait are answered now.
    void set_hold(std::chrono::milliseconds time);
    std::chrono::milliseconds hold() const noexcept { return m_hold; }

    // Lets a command take effect `time` after it came in, 0, as at first, at once. It is answered
    // at once in any case. Commands that are under way keep their time.
    void set_carry_out(std::chrono::milliseconds time);
    std::chrono::milliseconds carry_out() const noexcept { return m_carry_out; }

    // Stops listening and drops every connection, as when the service's process ends; the model
    // keeps its state. With a time it comes back by itself after that.
    void stop(std::optional<std::chrono::milliseconds> back_after = std::nullopt);
    // Listens again on the same port. Throws as `listen`.
    void start();

    const PrinterModel& model() const noexcept { return m_model; }
    std::size_t connection_count() const noexcept { return m_connections.size(); }

private:
    bool try_listen(std::uint16_t port, GErrorPtr& error);
    void stop_listening();
    void resume_listening();
    void accepted(GSocketConnection* socket_connection);
    void connection_finished(Connection& connection);

    void take_request(Connection& connection);
    void take_status_request(Connection& connection);
    void take_command(Connection& connection, const JobCommand& command);
    void plan_command(const JobCommand& command, const CommandSubject& subject);
    bool execute(const JobCommand& command, const CommandSubject& subject);
    void take_unreadable(Connection& connection);
    void hold_request(Connection& connection);
    void answer_held();
    void answer_status(Connection& connection, const StatusReply& reply);
    void answer_command(Connection& connection, std::string_view result);
    void send(Connection& connection, ReplyPlan plan);
    SpoiledReply with_fault(const std::optional<ActiveFaults::Turn>& turn, const std::string& text,
                            Occurrence& occurrence);

    void schedule_failure(const JobCommand& command, std::chrono::milliseconds after);
    void tell_published(const PublishedEvent& event);
    void tell_settings() const;
    void tell(const Occurrence& occurrence) const;

    ServiceObserver m_observer;
    GMainContextPtr m_context;
    PrinterModel m_model;
    std::uint16_t m_port = 0;
    GObjectPtr<GSocketService> m_listener;
    ActiveFaults m_faults;
    std::mt19937 m_random; // seeded alike each time, so that garbage can be repeated
    std::uint64_t m_last_connection_id = 0;
    std::map<std::uint64_t, std::unique_ptr<Connection>> m_connections;
    std::vector<std::unique_ptr<Connection>> m_finished; // freed at the next connection
    std::chrono::milliseconds m_hold{0};
    std::map<std::uint64_t, MainSource> m_held; // by connection: requests that wait for news
    std::chrono::milliseconds m_carry_out{0};
    std::uint64_t m_last_command_id = 0;
    std::map<std::uint64_t, MainSource> m_commands; // those to be carried out
    std::uint64_t m_last_failure_id = 0;
    std::map<std::uint64_t, MainSource> m_failures; // jobs about to fail again
    MainSource m_comeback;
};

} // namespace printer_simulator
