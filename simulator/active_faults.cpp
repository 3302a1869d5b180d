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
    std::erase_if(faults_, [&](const Fault& old) {
        return fault.target == FaultTarget::both || old.target == fault.target;
    });
    for (Fault& old : faults_) {
        if (old.target == FaultTarget::both) {
            old.target = opposite(fault.target);
        }
    }
    if (fault.kind != FaultKind::none) {
        faults_.push_back(fault);
    }
}

bool ActiveFaults::refuses() const noexcept {
    return std::any_of(faults_.begin(), faults_.end(),
                       [](const Fault& fault) { return fault.kind == FaultKind::refuse; });
}

void ActiveFaults::stop_refusing() {
    std::erase_if(faults_, [](const Fault& fault) { return fault.kind == FaultKind::refuse; });
}

std::optional<ActiveFaults::Turn> ActiveFaults::next_reply(FaultTarget target) {
    const auto found = std::find_if(faults_.begin(), faults_.end(), [target](const Fault& fault) {
        return meets(fault.target, target);
    });
    if (found == faults_.end()) {
        return std::nullopt;
    }
    Turn turn{*found, false};
    if (found->times && --*found->times == 0) {
        turn.ended = true;
        faults_.erase(found);
    }
    return turn;
}

std::string ActiveFaults::description() const {
    std::string out;
    for (const Fault& fault : faults_) {
        out += (out.empty() ? "" : "; ") + fault.description();
    }
    return out.empty() ? Fault().description() : out;
}

} // namespace printer_simulator
