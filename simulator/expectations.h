// What the clients are expected to do, and whether they did.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "occurrence.h"
#include "timeline.h"
#include "tokenizer.h"

namespace printer_simulator {

// One thing that is expected, from the moment on at which its command runs.
struct Expectation {
    enum class Kind {
        command,    // this job command comes within `time`
        no_command, // no job command comes for `time`, but those that others expect
        status,     // a status request comes within `time`
    };

    Kind kind = Kind::status;
    int action = 0;      // Kind::command only, as the two below
    std::string printer; // exact bytes
    std::string job;     // exact bytes
    std::chrono::milliseconds time{0};

    // The words after `expect` that give this expectation again.
    std::string description() const;
};

// Reads the words after `expect`. Throws CommandError when they make no sense.
Expectation parse_expectation_words(Tokenizer& words);

// Holds what happens against what is expected.
//
// Each job command meets at most one expectation, the oldest that waits for it. An expectation is
// settled once: `expectation met` or `expectation missed` is told, with what came instead, and
// then the timeline runs what was to follow. All for the timeline's thread.
class Expectations {
public:
    // `tell` gets the two occurrences above. The timeline must outlive this.
    Expectations(Timeline& timeline, std::function<void(const Occurrence&)> tell);

    // Waits for `expectation` from now on. `where` names its line. `settled` runs after it was
    // settled, from the timeline.
    void begin(const Expectation& expectation, const std::string& where,
               std::function<void()> settled = {});

    // Takes notice of what happened in the service. Safe in the middle of the service's work.
    void saw(const Occurrence& occurrence);

    // Gives up what still waits: it is missed.
    void end();

    // How many were missed so far.
    std::size_t missed() const noexcept { return m_missed; }

private:
    using Clock = Timeline::Clock;

    struct Waiting {
        Expectation expectation;
        std::string where;
        std::function<void()> settled;
        Clock::time_point since;
        Timeline::Ticket deadline;
        std::vector<std::string> commands; // those that came instead
        std::uint64_t status_requests = 0;
        std::uint64_t unreadable_requests = 0;
    };
    using Place = std::list<Waiting>::iterator;

    void saw_command(const Occurrence& occurrence);
    void saw_status();
    void settle(Place waiting, bool met);
    static std::string what_came(const Waiting& waiting);

    Timeline& m_timeline;
    std::function<void(const Occurrence&)> m_tell;
    std::list<Waiting> m_waiting;
    std::size_t m_missed = 0;
};

} // namespace printer_simulator
