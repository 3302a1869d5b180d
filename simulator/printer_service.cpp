#include "printer_service.h"

#include <stdexcept>
#include <utility>

namespace printer_simulator {

namespace {

constexpr int BACKLOG = 512;
constexpr std::uint16_t FREE_PORT_FIRST = 20000;
constexpr std::uint16_t FREE_PORT_LAST = 32767;
constexpr int FREE_PORT_ATTEMPTS = 200;
constexpr std::size_t SHOWN_TEXT_LIMIT = 65536;

std::string_view quoted_name(Quoted quoted) {
    switch (quoted) {
    case Quoted::none:
        return "none";
    case Quoted::known:
        return "known";
    case Quoted::unknown:
        return "unknown";
    }
    return "";
}

std::string_view event_kind_name(const PublishedEvent& event) {
    if (!event.kind) {
        return "raw";
    }
    return *event.kind == EventKind::show ? "show" : "remove";
}

std::string_view quoted_text(const Connection& connection) {
    return std::string_view(connection.request().text()).substr(STATUS_REQUEST.size());
}

} // namespace

PrinterService::PrinterService(ServiceObserver observer, std::size_t history_limit)
    : m_observer(std::move(observer)), m_context(g_main_context_ref_thread_default()),
      m_model(history_limit) {}

PrinterService::~PrinterService() {
    m_observer = {};
    stop();
}

bool PrinterService::try_listen(std::uint16_t port, GErrorPtr& error) {
    const GObjectPtr<GInetAddress> loopback(g_inet_address_new_loopback(G_SOCKET_FAMILY_IPV4));
    const GObjectPtr<GSocketAddress> address(g_inet_socket_address_new(loopback.get(), port));
    GObjectPtr<GSocketService> listener(g_socket_service_new());
    g_socket_listener_set_backlog(G_SOCKET_LISTENER(listener.get()), BACKLOG);
    GError* raw_error = nullptr;
    if (!g_socket_listener_add_address(G_SOCKET_LISTENER(listener.get()), address.get(),
                                       G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_TCP, nullptr,
                                       nullptr, &raw_error)) {
        error.reset(raw_error);
        return false;
    }
    const auto incoming = +[](GSocketService*, GSocketConnection* socket_connection, GObject*,
                              gpointer service) -> gboolean {
        static_cast<PrinterService*>(service)->accepted(socket_connection);
        return TRUE;
    };
    g_signal_connect(listener.get(), "incoming", G_CALLBACK(incoming), this);
    g_socket_service_start(listener.get());
    m_listener = std::move(listener);
    m_port = port;
    return true;
}

void PrinterService::listen(std::uint16_t port) {
    stop_listening();
    GErrorPtr error;
    if (port != 0) {
        if (!try_listen(port, error)) {
            throw std::runtime_error("cannot listen on 127.0.0.1 port " + std::to_string(port) +
                                     ": " + error->message);
        }
        return;
    }
    for (int attempt = 0; attempt < FREE_PORT_ATTEMPTS; ++attempt) {
        const auto candidate =
            static_cast<std::uint16_t>(g_random_int_range(FREE_PORT_FIRST, FREE_PORT_LAST + 1));
        if (try_listen(candidate, error)) {
            return;
        }
    }
    throw std::runtime_error(std::string("cannot find a free port: ") + error->message);
}

void PrinterService::stop_listening() {
    if (m_listener == nullptr) {
        return;
    }
    g_signal_handlers_disconnect_by_data(m_listener.get(), this);
    g_socket_service_stop(m_listener.get());
    g_socket_listener_close(G_SOCKET_LISTENER(m_listener.get()));
    m_listener.reset();
}

void PrinterService::resume_listening() {
    if (m_listener == nullptr && m_port != 0) {
        listen(m_port);
    }
}

void PrinterService::accepted(GSocketConnection* socket_connection) {
    m_finished.clear();
    const std::uint64_t id = ++m_last_connection_id;
    tell(Occurrence("connection opened").number("id", id).routine());
    auto connection = std::make_unique<Connection>(
        id, socket_connection, m_context.get(), [this](Connection& c) { take_request(c); },
        [this](Connection& c) { connection_finished(c); });
    connection->start();
    m_connections.emplace(id, std::move(connection));
}

void PrinterService::connection_finished(Connection& connection) {
    if (connection.request().state() == FrameReader::State::too_long) {
        tell(Occurrence("request refused")
                 .number("connection", connection.id())
                 .number("announced", connection.request().announced())
                 .number("limit", REQUEST_LIMIT));
    }
    tell(Occurrence("connection closed")
             .number("id", connection.id())
             .word("outcome", connection.outcome())
             .number("received", connection.received_bytes())
             .number("sent", connection.sent_bytes())
             .routine(connection.outcome() != "broken"));
    m_held.erase(connection.id());
    auto node = m_connections.extract(connection.id());
    if (!node.empty()) {
        m_finished.push_back(std::move(node.mapped()));
    }
}

void PrinterService::take_request(Connection& connection) {
    const FrameReader& request = connection.request();
    if (m_observer.exchanged) {
        m_observer.exchanged(connection.id(), true, request.prefix() + request.text());
    }
    if (request.text().starts_with(STATUS_REQUEST)) {
        take_status_request(connection);
    } else if (const auto command = parse_job_command(request.text())) {
        take_command(connection, *command);
    } else {
        take_unreadable(connection);
    }
}

void PrinterService::take_status_request(Connection& connection) {
    const StatusReply reply = m_model.choose_reply(quoted_text(connection));
    tell(Occurrence("request status")
             .number("connection", connection.id())
             .number("size", connection.request().text().size())
             .word("quoted", quoted_name(reply.quoted))
             .number("position", reply.position)
             .routine(reply.quoted == Quoted::known));
    if (!reply.is_new && m_hold.count() != 0) {
        hold_request(connection);
    } else {
        answer_status(connection, reply);
    }
}

void PrinterService::hold_request(Connection& connection) {
    tell(Occurrence("request held").number("connection", connection.id()).routine());
    m_held[connection.id()] = MainSource::timer(m_context.get(), m_hold, [this, &connection] {
        m_held.erase(connection.id());
        answer_status(connection, m_model.choose_reply(quoted_text(connection)));
        return false;
    });
}

void PrinterService::answer_held() {
    for (const auto& [id, timer] : std::exchange(m_held, {})) {
        const auto found = m_connections.find(id);
        if (found != m_connections.end()) {
            Connection& connection = *found->second;
            answer_status(connection, m_model.choose_reply(quoted_text(connection)));
        }
    }
}

void PrinterService::answer_status(Connection& connection, const StatusReply& reply) {
    Occurrence occurrence("reply status");
    occurrence.number("connection", connection.id())
        .number("event", reply.event)
        .word("new", reply.is_new ? "yes" : "no");
    SpoiledReply spoiled = with_fault(m_faults.next_status_reply(), reply.text, occurrence);
    const bool routine = reply.quoted == Quoted::known && !reply.is_new;
    tell(occurrence.routine(routine && !occurrence.has("fault")));
    switch (spoiled.delivery) {
    case SpoiledReply::Delivery::whole:
        m_model.reply_sent(reply);
        break;
    case SpoiledReply::Delivery::padded:
        m_model.reply_padded(reply, spoiled.text);
        break;
    case SpoiledReply::Delivery::replaced:
        m_model.reply_spoiled(reply, spoiled.text);
        break;
    case SpoiledReply::Delivery::failed:
        break;
    }
    send(connection, std::move(spoiled.plan));
}

void PrinterService::take_command(Connection& connection, const JobCommand& command) {
    const CommandSubject subject = m_model.subject_of(command);
    tell(Occurrence("request command")
             .number("connection", connection.id())
             .number("size", connection.request().text().size())
             .text("printer", command.printer)
             .text("job", command.job)
             .word("action", std::to_string(command.action))
             .word("action_name", action_name(command.action))
             .text("error_code", command.error_code)
             .word("known", subject.job_known ? "yes" : "no")
             .text("text", connection.request().text()));
    if (m_carry_out.count() == 0) {
        execute(command, subject);
    } else if (subject.job_known && subject.action_known) {
        plan_command(command, subject);
    }
    if (!subject.action_known) {
        answer_command(connection, "unknown-action");
    } else {
        answer_command(connection, subject.job_known ? "accepted" : "unknown-job");
    }
}

void PrinterService::plan_command(const JobCommand& command, const CommandSubject& subject) {
    tell(Occurrence("command planned")
             .text("printer", command.printer)
             .text("job", command.job)
             .word("action_name", action_name(command.action))
             .number("after_ms", static_cast<std::uint64_t>(m_carry_out.count())));
    const std::uint64_t id = ++m_last_command_id;
    m_commands[id] = MainSource::timer(m_context.get(), m_carry_out, [this, id, command, subject] {
        const bool done = execute(command, subject);
        tell(Occurrence("command carried out")
                 .text("printer", command.printer)
                 .text("job", command.job)
                 .word("action_name", action_name(command.action))
                 .word("withdrawn", done ? "yes" : "no"));
        m_commands.erase(id);
        return false;
    });
}

bool PrinterService::execute(const JobCommand& command, const CommandSubject& subject) {
    const CommandOutcome outcome = m_model.execute(command, subject);
    if (outcome.withdrawn) {
        tell_published(*outcome.withdrawn);
    }
    if (outcome.fails_again_after) {
        schedule_failure(command, *outcome.fails_again_after);
    }
    return outcome.withdrawn.has_value();
}

void PrinterService::take_unreadable(Connection& connection) {
    const std::string& text = connection.request().text();
    tell(Occurrence("request unreadable")
             .number("connection", connection.id())
             .number("size", text.size())
             .text("text", std::string_view(text).substr(0, SHOWN_TEXT_LIMIT)));
    answer_command(connection, "unreadable-request");
}

void PrinterService::answer_command(Connection& connection, std::string_view result) {
    Occurrence occurrence("reply command");
    occurrence.number("connection", connection.id()).word("result", result);
    SpoiledReply spoiled =
        with_fault(m_faults.next_command_reply(), action_result_document(result), occurrence);
    tell(occurrence);
    send(connection, std::move(spoiled.plan));
}

void PrinterService::send(Connection& connection, ReplyPlan plan) {
    if (m_observer.exchanged && !plan.withheld && !plan.reset) {
        m_observer.exchanged(connection.id(), false, plan.bytes);
    }
    connection.reply(std::move(plan));
}

SpoiledReply PrinterService::with_fault(const std::optional<ActiveFaults::Turn>& turn,
                                        const std::string& text, Occurrence& occurrence) {
    occurrence.number("size", text.size());
    if (!turn) {
        return {plain_reply(text), SpoiledReply::Delivery::whole, {}};
    }
    occurrence.text("fault", turn->fault.description());
    if (turn->ended) {
        tell(Occurrence("fault ended").text("fault", turn->fault.description()));
    }
    return spoiled_reply(turn->fault, text, m_random);
}

void PrinterService::schedule_failure(const JobCommand& command, std::chrono::milliseconds after) {
    const std::uint64_t id = ++m_last_failure_id;
    tell(Occurrence("failure planned")
             .text("printer", command.printer)
             .text("job", command.job)
             .number("after_ms", static_cast<std::uint64_t>(after.count())));
    m_failures[id] = MainSource::timer(
        m_context.get(), after, [this, id, printer = command.printer, job = command.job] {
            if (const auto event = m_model.fail_again_now(printer, job)) {
                tell_published(*event);
            }
            m_failures.erase(id);
            return false;
        });
}

void PrinterService::publish_error(const PrinterError& error) {
    tell_published(m_model.publish_error(error));
}

void PrinterService::publish_raw(std::string text) {
    tell_published(m_model.publish_raw(std::move(text)));
}

bool PrinterService::clear(const std::string& printer, const std::string& job) {
    const auto event = m_model.clear(printer, job);
    if (event) {
        tell_published(*event);
    }
    return event.has_value();
}

std::size_t PrinterService::clear_all() {
    const std::vector<PublishedEvent> events = m_model.clear_all();
    for (const PublishedEvent& event : events) {
        tell_published(event);
    }
    return events.size();
}

void PrinterService::plan_failures(const std::string& printer, const std::string& job,
                                   std::uint64_t times, std::chrono::milliseconds after) {
    m_model.plan_failures(printer, job, times, after);
}

void PrinterService::set_fault(const Fault& fault) {
    m_faults.set(fault);
    m_comeback.reset();
    tell(Occurrence("fault set").text("fault", fault.description()));
    if (m_faults.refuses()) {
        stop_listening();
    } else {
        resume_listening();
    }
}

void PrinterService::set_retelling(bool on) {
    m_model.set_retelling(on);
    tell_settings();
}

void PrinterService::set_hold(std::chrono::milliseconds time) {
    m_hold = time;
    answer_held();
    tell_settings();
}

void PrinterService::set_carry_out(std::chrono::milliseconds time) {
    m_carry_out = time;
    tell_settings();
}

void PrinterService::stop(std::optional<std::chrono::milliseconds> back_after) {
    stop_listening();
    while (!m_connections.empty()) {
        m_connections.begin()->second->finish();
    }
    m_finished.clear();
    tell(Occurrence("service stopped").number("port", m_port));
    m_comeback.reset();
    if (back_after) {
        m_comeback = MainSource::timer(m_context.get(), *back_after, [this] {
            try {
                start();
                return false;
            } catch (const std::runtime_error& error) {
                tell(Occurrence("service not started").text("reason", error.what()));
                return true;
            }
        });
    }
}

void PrinterService::start() {
    if (is_listening()) {
        return;
    }
    m_faults.stop_refusing();
    resume_listening();
    m_comeback.reset();
    tell(Occurrence("service started").number("port", m_port));
}

void PrinterService::tell_published(const PublishedEvent& event) {
    Occurrence occurrence("event published");
    occurrence.number("event", event.number)
        .word("kind", event_kind_name(event))
        .number("size", event.size);
    if (event.kind) {
        occurrence.text("printer", event.error.printer)
            .text("job", event.error.job)
            .text("error_code", event.error.code)
            .text("severity", event.error.severity)
            .text("service_code", event.error.service_code)
            .text("text", event.error.text);
    }
    tell(occurrence);
    answer_held();
}

void PrinterService::tell_settings() const {
    tell(Occurrence("settings")
             .word("retell", m_model.is_retelling() ? "on" : "off")
             .number("hold_ms", static_cast<std::uint64_t>(m_hold.count()))
             .number("carry_out_ms", static_cast<std::uint64_t>(m_carry_out.count())));
}

void PrinterService::tell(const Occurrence& occurrence) const {
    if (m_observer.occurred) {
        m_observer.occurred(occurrence);
    }
}

} // namespace printer_simulator
