#include "expectations.h"

#include <algorithm>
#include <limits>

#include "documents.h"

namespace printer_simulator {

namespace {

using Kind = Expectation::Kind;

// More commands than that are counted only.
constexpr std::size_t SHOWN_COMMANDS = 10;

std::string quoted(std::string_view text) {
    return '"' + escaped_text(text) + '"';
}

std::string command_words(int action, std::string_view printer, std::string_view job) {
    const std::string_view name = action_name(action);
    return "command " + (name == "unknown" ? std::to_string(action) : std::string(name)) + " " +
           quoted(printer) + " " + quoted(job);
}

int parse_action(const std::string& word) {
    for (const int action : {ACTION_CANCEL, ACTION_RESUME, ACTION_RETRY}) {
        if (word == action_name(action)) {
            return action;
        }
    }
    if (word.find_first_not_of("0123456789") != std::string::npos) {
        throw CommandError("unknown action \"" + word +
                           "\"; it is cancel, resume, retry or a number");
    }
    const std::uint64_t number = parse_number(word, "action");
    if (number > static_cast<std::uint64_t>(std::numeric_limits<int>::max())) {
        throw CommandError("bad action \"" + word + "\"");
    }
    return static_cast<int>(number);
}

void require_word(Tokenizer& words, const std::string& wanted) {
    const std::string word = words.require("\"" + wanted + "\"");
    if (word != wanted) {
        throw CommandError("\"" + word + "\" where \"" + wanted + "\" belongs");
    }
}

std::string counted(std::uint64_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

} // namespace

std::string Expectation::description() const {
    const std::string length = std::to_string(time.count()) + "ms";
    switch (kind) {
    case Kind::command:
        return command_words(action, printer, job) + " within " + length;
    case Kind::no_command:
        return "no command for " + length;
    case Kind::status:
        break;
    }
    return "status within " + length;
}

Expectation parse_expectation_words(Tokenizer& words) {
    Expectation expectation;
    const std::string first = words.require("what is expected");
    if (first == "command") {
        expectation.kind = Kind::command;
        expectation.action = parse_action(words.require("ACTION"));
        expectation.printer = words.require("PRINTER");
        expectation.job = words.require("JOB");
    } else if (first == "no") {
        expectation.kind = Kind::no_command;
        require_word(words, "command");
    } else if (first != "status") {
        throw CommandError("nothing known to expect: \"" + first + "\"");
    }
    require_word(words, expectation.kind == Kind::no_command ? "for" : "within");
    expectation.time = parse_time(words.require("TIME"), "time");
    words.expect_end();
    return expectation;
}

Expectations::Expectations(Timeline& timeline, std::function<void(const Occurrence&)> tell)
    : m_timeline(timeline), m_tell(std::move(tell)) {}

void Expectations::begin(const Expectation& expectation, const std::string& where,
                         std::function<void()> settled) {
    Waiting waiting;
    waiting.expectation = expectation;
    waiting.where = where;
    waiting.settled = std::move(settled);
    waiting.since = Clock::now();
    const Place place = m_waiting.insert(m_waiting.end(), std::move(waiting));
    place->deadline = m_timeline.at(place->since + expectation.time, [this, place] {
        settle(place, place->expectation.kind == Kind::no_command);
    });
}

void Expectations::saw(const Occurrence& occurrence) {
    if (occurrence.words() == "request command") {
        saw_command(occurrence);
    } else if (occurrence.words() == "request status") {
        saw_status();
    } else if (occurrence.words() == "request unreadable") {
        for (Waiting& waiting : m_waiting) {
            ++waiting.unreadable_requests;
        }
    }
}

void Expectations::saw_command(const Occurrence& occurrence) {
    const int action = std::stoi(occurrence.value("action"));
    const std::string words =
        command_words(action, occurrence.value("printer"), occurrence.value("job"));
    const auto meant =
        std::find_if(m_waiting.begin(), m_waiting.end(), [&](const Waiting& waiting) {
            const Expectation& expected = waiting.expectation;
            return expected.kind == Kind::command &&
                   words == command_words(expected.action, expected.printer, expected.job);
        });
    if (meant != m_waiting.end()) {
        settle(meant, true);
        return;
    }
    for (Place next = m_waiting.begin(); next != m_waiting.end();) {
        const Place waiting = next++;
        waiting->commands.push_back(words);
        if (waiting->expectation.kind == Kind::no_command) {
            settle(waiting, false);
        }
    }
}

void Expectations::saw_status() {
    for (Place next = m_waiting.begin(); next != m_waiting.end();) {
        const Place waiting = next++;
        ++waiting->status_requests;
        if (waiting->expectation.kind == Kind::status) {
            settle(waiting, true);
        }
    }
}

void Expectations::settle(Place place, bool met) {
    const Waiting waiting = std::move(*place);
    m_waiting.erase(place);
    m_missed += met ? 0U : 1U;
    const auto after =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - waiting.since);
    Occurrence occurrence(met ? "expectation met" : "expectation missed");
    occurrence.text("where", waiting.where)
        .text("expected", waiting.expectation.description())
        .number("after_ms", static_cast<std::uint64_t>(after.count()));
    if (!met) {
        occurrence.text("came", what_came(waiting));
    }
    m_tell(occurrence);
    // Also without anything to follow: the timeline is to notice that nobody waits any more. And
    // before the deadline goes, lest it notice too early.
    m_timeline.at(Clock::now(), [settled = waiting.settled] {
        if (settled) {
            settled();
        }
    });
    m_timeline.cancel(waiting.deadline);
}

std::string Expectations::what_came(const Waiting& waiting) {
    std::vector<std::string> parts = waiting.commands;
    if (parts.size() > SHOWN_COMMANDS) {
        parts.resize(SHOWN_COMMANDS);
        parts.push_back(counted(waiting.commands.size() - SHOWN_COMMANDS, "more command"));
    }
    if (waiting.unreadable_requests != 0) {
        parts.push_back(counted(waiting.unreadable_requests, "unreadable request"));
    }
    if (waiting.status_requests != 0) {
        parts.push_back(counted(waiting.status_requests, "status request"));
    }
    std::string out;
    for (const std::string& part : parts) {
        out += (out.empty() ? "" : ", ") + part;
    }
    return out.empty() ? "nothing" : out;
}

void Expectations::end() {
    while (!m_waiting.empty()) {
        settle(m_waiting.begin(), false);
    }
}

} // namespace printer_simulator
