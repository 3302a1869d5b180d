#include "timeline.h"

#include <algorithm>

namespace printer_simulator {

Timeline::Timeline(GMainContext* context, std::function<void()> drained)
    : context_(context), drained_(std::move(drained)) {}

void Timeline::at(Clock::time_point due, std::function<void()> action) {
    const auto entry = waiting_.emplace(due, std::move(action));
    if (entry == waiting_.begin()) {
        arm();
    }
}

void Timeline::arm() {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(waiting_.begin()->first - Clock::now());
    timer_ = MainSource::timer(context_, std::max(left, milliseconds(0)), [this] {
        run_due();
        return false;
    });
}

void Timeline::run_due() {
    timer_.reset();
    while (!waiting_.empty() && waiting_.begin()->first <= Clock::now()) {
        const auto action = std::move(waiting_.extract(waiting_.begin()).mapped());
        action();
    }
    if (!waiting_.empty()) {
        arm();
    } else if (drained_) {
        drained_();
    }
}

} // namespace printer_simulator
