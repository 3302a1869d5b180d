// Actions that wait for their time, on one timer of a main context.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>

#include "glib_support.h"

namespace printer_simulator {

/// Runs actions at their time; those of the same time in the order in which they were added.
///
/// Belongs to the thread of its context. `timer_` is armed exactly while `waiting_` is not empty,
/// for the time of the first entry.
class Timeline {
public:
    using Clock = std::chrono::steady_clock;

    /// `drained` is called each time the last waiting action has run. The context is not owned and
    /// must outlive the timeline.
    explicit Timeline(GMainContext* context, std::function<void()> drained = {});

    void at(Clock::time_point due, std::function<void()> action);
    bool empty() const noexcept { return waiting_.empty(); }

private:
    void arm();
    void run_due();

    GMainContext* context_;
    std::function<void()> drained_;
    std::multimap<Clock::time_point, std::function<void()>> waiting_;
    MainSource timer_;
};

} // namespace printer_simulator
