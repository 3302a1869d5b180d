#include "printer_model.h"

#include <algorithm>

namespace printer_simulator {

PrinterModel::PrinterModel(std::size_t history_limit) : m_history(history_limit) {}

PublishedEvent PrinterModel::publish(EventKind kind, const PrinterError& error) {
    std::string text = status_document(kind, error, m_history.next_number());
    PublishedEvent event{0, kind, error, text.size()};
    event.number = m_history.append(std::move(text), kind == EventKind::show);
    return event;
}

PublishedEvent PrinterModel::publish_error(const PrinterError& error) {
    const JobKey key(error.printer, error.job);
    if (const auto open = m_open.find(key); open != m_open.end()) {
        m_history.unpin(open->second.event);
        m_open_by_age.erase(open->second.event);
    }
    m_awaiting_failure.erase(key);
    PublishedEvent event = publish(EventKind::show, error);
    m_open[key] = OpenError{error, event.number};
    m_open_by_age[event.number] = key;
    return event;
}

PublishedEvent PrinterModel::publish_raw(std::string text) {
    PublishedEvent event;
    event.size = text.size();
    event.number = m_history.append(std::move(text), false);
    return event;
}

std::optional<PublishedEvent> PrinterModel::withdraw(const JobKey& key) {
    const auto open = m_open.find(key);
    if (open == m_open.end()) {
        return std::nullopt;
    }
    const OpenError closed = open->second;
    m_open.erase(open);
    m_open_by_age.erase(closed.event);
    m_history.unpin(closed.event);
    const auto event = publish(EventKind::remove, closed.error);
    if (m_newest_sent > 0) {
        m_unseen_withdrawals.insert(event.number);
    }
    return event;
}

std::optional<PublishedEvent> PrinterModel::clear(const std::string& printer,
                                                  const std::string& job) {
    const JobKey key(printer, job);
    m_plans.erase(key);
    m_awaiting_failure.erase(key);
    return withdraw(key);
}

std::vector<PublishedEvent> PrinterModel::clear_all() {
    m_plans.clear();
    m_awaiting_failure.clear();
    std::vector<PublishedEvent> events;
    while (!m_open_by_age.empty()) {
        const JobKey key = m_open_by_age.begin()->second;
        events.push_back(*withdraw(key));
    }
    return events;
}

void PrinterModel::plan_failures(const std::string& printer, const std::string& job,
                                 std::uint64_t times, std::chrono::milliseconds after) {
    const JobKey key(printer, job);
    if (times == 0) {
        m_plans.erase(key);
    } else {
        m_plans[key] = FailurePlan{times, after};
    }
}

CommandSubject PrinterModel::subject_of(const JobCommand& command) const {
    const auto open = m_open.find(JobKey(command.printer, command.job));
    CommandSubject subject;
    subject.job_known = open != m_open.end();
    subject.action_known = action_name(command.action) != "unknown";
    subject.event = subject.job_known ? open->second.event : 0;
    return subject;
}

CommandOutcome PrinterModel::execute(const JobCommand& command, const CommandSubject& subject) {
    const JobKey key(command.printer, command.job);
    const auto open = m_open.find(key);
    CommandOutcome outcome;
    if (!subject.action_known || open == m_open.end() || open->second.event != subject.event) {
        return outcome;
    }
    const auto plan = m_plans.find(key);
    if (command.action == ACTION_RETRY && plan != m_plans.end()) {
        outcome.fails_again_after = plan->second.after;
        m_awaiting_failure[key] = open->second.error;
        if (--plan->second.times == 0) {
            m_plans.erase(plan);
        }
    } else {
        m_plans.erase(key);
    }
    outcome.withdrawn = withdraw(key);
    return outcome;
}

std::optional<PublishedEvent> PrinterModel::fail_again_now(const std::string& printer,
                                                           const std::string& job) {
    const auto waiting = m_awaiting_failure.find(JobKey(printer, job));
    if (waiting == m_awaiting_failure.end()) {
        return std::nullopt;
    }
    const PrinterError error = waiting->second;
    return publish_error(error);
}

std::optional<EventNumber> PrinterModel::position_of(std::string_view quoted) {
    if (const auto position = idle_document_position(quoted)) {
        // An earlier run may have counted further.
        return *position <= newest_event() ? position : std::nullopt;
    }
    return m_history.position_of(quoted);
}

StatusReply PrinterModel::reply_with(const std::optional<EventHistory::Event>& event,
                                     EventNumber position) {
    StatusReply reply;
    reply.text = event ? event->text : idle_document_after(position);
    reply.event = event ? event->number : 0;
    reply.new_position = event ? event->number : position;
    return reply;
}

StatusReply PrinterModel::first_reply() const {
    auto first = m_open_by_age.empty() ? newest_event() : m_open_by_age.begin()->first;
    bool is_news = m_retelling || !m_open_by_age.empty();
    if (!m_unseen_withdrawals.empty() && *m_unseen_withdrawals.begin() <= first) {
        first = *m_unseen_withdrawals.begin();
        is_news = true;
    }
    if (!is_news) {
        return reply_with(std::nullopt, newest_event());
    }
    StatusReply reply = reply_with(m_history.find(first), 0);
    reply.is_new = reply.event != 0;
    return reply;
}

StatusReply PrinterModel::choose_reply(std::string_view quoted) {
    const std::optional<EventNumber> position = position_of(quoted);
    if (!position) {
        StatusReply reply = first_reply();
        reply.quoted = quoted.empty() ? Quoted::none : Quoted::unknown;
        return reply;
    }
    m_unseen_withdrawals.erase(m_unseen_withdrawals.begin(),
                               m_unseen_withdrawals.upper_bound(*position));
    const auto next = m_history.next_after(*position);
    StatusReply reply = reply_with(next || !m_retelling ? next : m_history.newest(), *position);
    reply.quoted = Quoted::known;
    reply.position = *position;
    reply.is_new = next.has_value();
    return reply;
}

void PrinterModel::reply_sent(const StatusReply& reply) {
    m_history.mark_sent(reply.event);
    m_newest_sent = std::max(m_newest_sent, reply.event);
}

void PrinterModel::reply_spoiled(const StatusReply& reply, std::string_view text) {
    if (reply.quoted == Quoted::known) {
        m_history.alias(text, reply.position);
    }
}

void PrinterModel::reply_padded(const StatusReply& reply, std::string_view text) {
    m_history.alias(text, reply.new_position);
}

std::vector<PrinterModel::OpenError> PrinterModel::open_errors() const {
    std::vector<OpenError> errors;
    for (const auto& [event, key] : m_open_by_age) {
        errors.push_back(m_open.at(key));
    }
    return errors;
}

} // namespace printer_simulator
