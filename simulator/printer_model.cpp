#include "printer_model.h"

#include <algorithm>

namespace printer_simulator {

PrinterModel::PrinterModel(std::size_t history_limit) : history_(history_limit) {}

PublishedEvent PrinterModel::publish(EventKind kind, const PrinterError& error) {
    std::string text = status_document(kind, error, history_.next_number());
    PublishedEvent event{0, kind, error, text.size()};
    event.number = history_.append(std::move(text), kind == EventKind::show);
    return event;
}

PublishedEvent PrinterModel::publish_error(const PrinterError& error) {
    const JobKey key(error.printer, error.job);
    if (const auto open = open_.find(key); open != open_.end()) {
        history_.unpin(open->second.event);
        open_by_age_.erase(open->second.event);
    }
    awaiting_failure_.erase(key);
    PublishedEvent event = publish(EventKind::show, error);
    open_[key] = OpenError{error, event.number};
    open_by_age_[event.number] = key;
    return event;
}

PublishedEvent PrinterModel::publish_raw(std::string text) {
    PublishedEvent event;
    event.size = text.size();
    event.number = history_.append(std::move(text), false);
    return event;
}

std::optional<PublishedEvent> PrinterModel::withdraw(const JobKey& key) {
    const auto open = open_.find(key);
    if (open == open_.end()) {
        return std::nullopt;
    }
    const OpenError closed = open->second;
    open_.erase(open);
    open_by_age_.erase(closed.event);
    history_.unpin(closed.event);
    const auto event = publish(EventKind::remove, closed.error);
    if (newest_sent_ > 0) {
        unseen_withdrawals_.insert(event.number);
    }
    return event;
}

std::optional<PublishedEvent> PrinterModel::clear(const std::string& printer,
                                                  const std::string& job) {
    const JobKey key(printer, job);
    plans_.erase(key);
    awaiting_failure_.erase(key);
    return withdraw(key);
}

std::vector<PublishedEvent> PrinterModel::clear_all() {
    plans_.clear();
    awaiting_failure_.clear();
    std::vector<PublishedEvent> events;
    while (!open_by_age_.empty()) {
        const JobKey key = open_by_age_.begin()->second;
        events.push_back(*withdraw(key));
    }
    return events;
}

void PrinterModel::plan_failures(const std::string& printer, const std::string& job,
                                 std::uint64_t times, std::chrono::milliseconds after) {
    const JobKey key(printer, job);
    if (times == 0) {
        plans_.erase(key);
    } else {
        plans_[key] = FailurePlan{times, after};
    }
}

CommandSubject PrinterModel::subject_of(const JobCommand& command) const {
    const auto open = open_.find(JobKey(command.printer, command.job));
    CommandSubject subject;
    subject.job_known = open != open_.end();
    subject.action_known = action_name(command.action) != "unknown";
    subject.event = subject.job_known ? open->second.event : 0;
    return subject;
}

CommandOutcome PrinterModel::execute(const JobCommand& command, const CommandSubject& subject) {
    const JobKey key(command.printer, command.job);
    const auto open = open_.find(key);
    CommandOutcome outcome;
    if (!subject.action_known || open == open_.end() || open->second.event != subject.event) {
        return outcome;
    }
    const auto plan = plans_.find(key);
    if (command.action == ACTION_RETRY && plan != plans_.end()) {
        outcome.fails_again_after = plan->second.after;
        awaiting_failure_[key] = open->second.error;
        if (--plan->second.times == 0) {
            plans_.erase(plan);
        }
    } else {
        plans_.erase(key);
    }
    outcome.withdrawn = withdraw(key);
    return outcome;
}

std::optional<PublishedEvent> PrinterModel::fail_again_now(const std::string& printer,
                                                           const std::string& job) {
    const auto waiting = awaiting_failure_.find(JobKey(printer, job));
    if (waiting == awaiting_failure_.end()) {
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
    return history_.position_of(quoted);
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
    auto first = open_by_age_.empty() ? newest_event() : open_by_age_.begin()->first;
    bool is_news = retelling_ || !open_by_age_.empty();
    if (!unseen_withdrawals_.empty() && *unseen_withdrawals_.begin() <= first) {
        first = *unseen_withdrawals_.begin();
        is_news = true;
    }
    if (!is_news) {
        return reply_with(std::nullopt, newest_event());
    }
    StatusReply reply = reply_with(history_.find(first), 0);
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
    unseen_withdrawals_.erase(unseen_withdrawals_.begin(),
                              unseen_withdrawals_.upper_bound(*position));
    const auto next = history_.next_after(*position);
    StatusReply reply = reply_with(next || !retelling_ ? next : history_.newest(), *position);
    reply.quoted = Quoted::known;
    reply.position = *position;
    reply.is_new = next.has_value();
    return reply;
}

void PrinterModel::reply_sent(const StatusReply& reply) {
    history_.mark_sent(reply.event);
    newest_sent_ = std::max(newest_sent_, reply.event);
}

void PrinterModel::reply_spoiled(const StatusReply& reply, std::string_view text) {
    if (reply.quoted == Quoted::known) {
        history_.alias(text, reply.position);
    }
}

void PrinterModel::reply_padded(const StatusReply& reply, std::string_view text) {
    history_.alias(text, reply.new_position);
}

std::vector<PrinterModel::OpenError> PrinterModel::open_errors() const {
    std::vector<OpenError> errors;
    for (const auto& [event, key] : open_by_age_) {
        errors.push_back(open_.at(key));
    }
    return errors;
}

} // namespace printer_simulator
