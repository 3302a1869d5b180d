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
    std::erase_if(faults_, [&](const Active& old) {
        return fault.target == FaultTarget::both || old.fault.target == fault.target;
    });
    for (Active& old : faults_) {
        if (old.fault.target == FaultTarget::both) {
            old.fault.target = opposite(fault.target);
        }
    }
    if (fault.kind != FaultKind::none) {
        faults_.push_back({fault, std::mt19937_64(fault.seed)});
    }
}

bool ActiveFaults::refuses() const noexcept {
    return std::any_of(faults_.begin(), faults_.end(),
                       [](const Active& active) { return active.fault.kind == FaultKind::refuse; });
}

void ActiveFaults::stop_refusing() {
    std::erase_if(faults_,
                  [](const Active& active) { return active.fault.kind == FaultKind::refuse; });
}

std::optional<ActiveFaults::Turn> ActiveFaults::next_reply(FaultTarget target) {
    const auto found = std::find_if(faults_.begin(), faults_.end(), [target](const Active& active) {
        return meets(active.fault.target, target);
    });
    if (found == faults_.end()) {
        return std::nullopt;
    }
    // Not a distribution of the standard library: those differ from one library to the next.
    if (found->random() % found->fault.one_in != 0) {
        return std::nullopt;
    }
    Turn turn{found->fault, false};
    if (found->fault.times && --*found->fault.times == 0) {
        turn.ended = true;
        faults_.erase(found);
    }
    return turn;
}

std::string ActiveFaults::description() const {
    std::string out;
    for (const Active& active : faults_) {
        out += (out.empty() ? "" : "; ") + active.fault.description();
    }
    return out.empty() ? Fault().description() : out;
}

} // namespace printer_simulator
