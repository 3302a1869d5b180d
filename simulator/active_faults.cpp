#include "active_faults.h"

#include <algorithm>

namespace printer_simulator {

namespace {

bool meets(FaultTarget one, FaultTarget other) {
    return one == other || one == FaultTarget::both || other == FaultTarget::both;
}

FaultTarget opposite(FaultTarget target) {
    return target == FaultTarget::status ? FaultTarget::commands : FaultTarget::status;
}

} // namespace

void ActiveFaults::set(const Fault& fault) {
    stop_refusing();
    std::erase_if(m_faults, [&](const Active& old) {
        return fault.target == FaultTarget::both || old.fault.target == fault.target;
    });
    for (Active& old : m_faults) {
        if (old.fault.target == FaultTarget::both) {
            old.fault.target = opposite(fault.target);
        }
    }
    if (fault.kind != FaultKind::none) {
        m_faults.push_back({fault, std::mt19937_64(fault.seed)});
    }
}

bool ActiveFaults::refuses() const noexcept {
    return std::any_of(m_faults.begin(), m_faults.end(),
                       [](const Active& active) { return active.fault.kind == FaultKind::refuse; });
}

void ActiveFaults::stop_refusing() {
    std::erase_if(m_faults,
                  [](const Active& active) { return active.fault.kind == FaultKind::refuse; });
}

std::optional<ActiveFaults::Turn> ActiveFaults::next_reply(FaultTarget target) {
    const auto found =
        std::find_if(m_faults.begin(), m_faults.end(),
                     [target](const Active& active) { return meets(active.fault.target, target); });
    if (found == m_faults.end()) {
        return std::nullopt;
    }
    // Not a distribution of the standard library: those differ from one library to the next.
    if (found->random() % found->fault.one_in != 0) {
        return std::nullopt;
    }
    Turn turn{found->fault, false};
    if (found->fault.times && --*found->fault.times == 0) {
        turn.ended = true;
        m_faults.erase(found);
    }
    return turn;
}

std::string ActiveFaults::description() const {
    std::string out;
    for (const Active& active : m_faults) {
        out += (out.empty() ? "" : "; ") + active.fault.description();
    }
    return out.empty() ? Fault().description() : out;
}

} // namespace printer_simulator
