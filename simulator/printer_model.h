// The printers' state behind the service: open errors, published events, effects of job commands.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "documents.h"
#include "event_history.h"

namespace printer_simulator {

// What a published event did, for those who watch.
struct PublishedEvent {
    EventNumber number = 0;
    std::optional<EventKind> kind; // nothing for a raw text
    PrinterError error;            // empty for a raw text
    std::size_t size = 0;          // bytes of the document
};

// What a request's quoted text turned out to be.
enum class Quoted { none, known, unknown };

// The answer to a status request.
struct StatusReply {
    std::string text;
    EventNumber event = 0;        // 0 for a document that reports nothing
    EventNumber position = 0;     // where the client stood before; 0 when not known
    EventNumber new_position = 0; // where it stands once it has the reply
    Quoted quoted = Quoted::none;
    bool is_new = false; // the client has not got this event yet
};

// What a job command is about.
struct CommandSubject {
    bool job_known = false; // the job has an open error
    bool action_known = false;
    EventNumber event = 0; // as which that error was published; 0 without one
};

// What a job command did.
struct CommandOutcome {
    std::optional<PublishedEvent> withdrawn;
    // Set when the job is to fail again: call `fail_again_now` after this time.
    std::optional<std::chrono::milliseconds> fails_again_after;
};

// Pure state without I/O, clock or threads: one thread at a time.
//
// Each job of a printer has at most one open error; a second one replaces it.
class PrinterModel {
public:
    explicit PrinterModel(std::size_t history_limit = EventHistory::DEFAULT_LIMIT);

    PublishedEvent publish_error(const PrinterError& error);
    // Publishes `text` as it is. It opens and closes no error.
    PublishedEvent publish_raw(std::string text);
    // Withdraws the error of a job; nothing when the job has none.
    std::optional<PublishedEvent> clear(const std::string& printer, const std::string& job);
    // Withdraws all open errors, the oldest first.
    std::vector<PublishedEvent> clear_all();

    // Lets the next `times` retries of the job fail again, each `after` its command.
    void plan_failures(const std::string& printer, const std::string& job, std::uint64_t times,
                       std::chrono::milliseconds after);

    // What a command that comes now is about. Changes nothing.
    CommandSubject subject_of(const JobCommand& command) const;

    // Carries a command out, now or after a while: cancel and resume withdraw the error that it
    // is about, and so does retry, after which the job may fail again as planned. An unknown
    // action, a job without an error, or one with another error by now changes nothing.
    CommandOutcome execute(const JobCommand& command, const CommandSubject& subject);

    // Publishes the error of a retried job again; nothing when it was cleared meanwhile.
    std::optional<PublishedEvent> fail_again_now(const std::string& printer,
                                                 const std::string& job);

    // Whether the newest event is told again when there is none newer. On at first; off, each
    // event is told once, and then a document that reports nothing.
    void set_retelling(bool on) noexcept { m_retelling = on; }
    bool is_retelling() const noexcept { return m_retelling; }

    // Chooses the reply to a status request that quotes the previous reply `quoted`:
    // the event after the quoted one, or the newest again when there is none newer. Without a
    // quoted text, or with an unknown one: the oldest error still open, else the newest event;
    // but nothing later than the first withdrawal that no request has quoted yet, so that a client
    // that lost a reply keeps no error for good.
    // Where the newest would be told again, or there is none: a document that reports nothing.
    // Nothing is marked as sent yet.
    StatusReply choose_reply(std::string_view quoted);

    // The chosen reply went out whole.
    void reply_sent(const StatusReply& reply);
    // The client got `text` instead of the chosen reply, and its event not at all: the next
    // request, which quotes `text`, is to be answered by the same event.
    void reply_spoiled(const StatusReply& reply, std::string_view text);
    // The client got `text`, a longer form of the chosen reply.
    void reply_padded(const StatusReply& reply, std::string_view text);

    struct OpenError {
        PrinterError error;
        EventNumber event = 0;
    };
    // All open errors, the oldest first.
    std::vector<OpenError> open_errors() const;
    std::size_t open_error_count() const noexcept { return m_open_by_age.size(); }
    EventNumber newest_event() const noexcept { return m_history.next_number() - 1; }

private:
    using JobKey = std::pair<std::string, std::string>; // printer name, job id
    struct FailurePlan {
        std::uint64_t times;
        std::chrono::milliseconds after;
    };

    PublishedEvent publish(EventKind kind, const PrinterError& error);
    std::optional<PublishedEvent> withdraw(const JobKey& key);
    std::optional<EventNumber> position_of(std::string_view quoted);
    StatusReply first_reply() const;
    static StatusReply reply_with(const std::optional<EventHistory::Event>& event,
                                  EventNumber position);

    EventHistory m_history;
    bool m_retelling = true;
    EventNumber m_newest_sent = 0;
    std::set<EventNumber> m_unseen_withdrawals; // those that no request has quoted yet
    std::map<JobKey, OpenError> m_open;
    std::map<EventNumber, JobKey> m_open_by_age;
    std::map<JobKey, FailurePlan> m_plans;
    std::map<JobKey, PrinterError> m_awaiting_failure;
};

} // namespace printer_simulator
