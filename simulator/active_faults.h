// The faults on show, and which of them spoils the next reply.
#pragma once

#include <optional>
#include <random>
#include <string>
#include <vector>

#include "fault.h"

namespace printer_simulator {

// At most one fault for the replies to status requests and one for those to job commands, or one
// for both. Pure data: one thread at a time.
class ActiveFaults {
public:
    // Puts `fault` on show. What was on show for the same replies ends; for other replies it goes
    // on, with the count that it has left. FaultKind::none only ends. A refusal stands alone.
    void set(const Fault& fault);

    // Whether connects are to be refused.
    bool refuses() const noexcept;
    // Ends a refusal.
    void stop_refusing();

    // What happens to one reply.
    struct Turn {
        Fault fault;        // with the count of replies before this one
        bool ended = false; // this was the last reply to be spoiled
    };
    // The fault for the next reply to a status request or to a job command, nothing for a proper
    // reply. Counts the reply: call it once for each. A fault of one reply in so many draws lots
    // for each reply, begins with its seed when it is set, and counts the replies it spoils.
    std::optional<Turn> next_status_reply() { return next_reply(FaultTarget::status); }
    std::optional<Turn> next_command_reply() { return next_reply(FaultTarget::commands); }

    // Each fault in the words that give it again, `; ` between two; `none` without a fault.
    std::string description() const;

private:
    std::optional<Turn> next_reply(FaultTarget target);

    // A fault and what chooses the replies that it spoils. Each has its own generator, so that
    // its choice does not depend on replies that are none of its business.
    struct Active {
        Fault fault;
        std::mt19937_64 random;
    };

    std::vector<Active> m_faults; // no two for the same replies
};

} // namespace printer_simulator
