#include "timeline.h"

#include <algorithm>

namespace printer_simulator {

Timeline::Timeline(GMainContext* context, std::function<void()> drained)
    : context_(context), drained_(std::move(drained)) {}

Timeline::Ticket Timeline::at(Clock::time_point due, std::function<void()> action,
                              Purpose purpose) {
    const auto entry =
        waiting_.emplace(Ticket(due, ++last_number_), Entry{std::move(action), purpose}).first;
    awaited_ += purpose == Purpose::awaited ? 1U : 0U;
    if (entry == waiting_.begin()) {
        arm();
    }
    return entry->first;
}

void Timeline::cancel(const Ticket& ticket) {
    const auto entry = waiting_.find(ticket);
    if (entry == waiting_.end()) {
        return;
    }
    awaited_ -= entry->second.purpose == Purpose::awaited ? 1U : 0U;
    waiting_.erase(entry);
    if (waiting_.empty()) {
        timer_.reset();
    } else {
        arm();
    }
}

void Timeline::arm() {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(waiting_.begin()->first.first - Clock::now());
    timer_ = MainSource::timer(context_, std::max(left, milliseconds(0)), [this] {
        run_due();
        return false;
    });
}

void Timeline::run_due() {
    timer_.reset();
    // What becomes due only meanwhile waits for the next turn of the main loop, so that a quick
    // repetition cannot keep everything else from running.
    const Clock::time_point now = Clock::now();
    while (!waiting_.empty() && waiting_.begin()->first.first <= now) {
        const Entry entry = std::move(waiting_.extract(waiting_.begin()).mapped());
        awaited_ -= entry.purpose == Purpose::awaited ? 1U : 0U;
        entry.action();
    }
    if (!waiting_.empty()) {
        arm();
    }
    if (empty() && drained_) {
        drained_();
    }
}

} // namespace printer_simulator
