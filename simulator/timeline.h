// Actions that wait for their time, on one timer of a main context.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>

#include "glib_support.h"

namespace printer_simulator {

// Runs actions at their time; those of the same time in the order in which they were added.
//
// Belongs to the thread of its context. `m_timer` is armed exactly while `m_waiting` is not empty,
// for the time of the first entry.
class Timeline {
public:
    using Clock = std::chrono::steady_clock;

    // Names one waiting action.
    using Ticket = std::pair<Clock::time_point, std::uint64_t>;

    // Whether somebody waits for an action, or it only goes on as long as something else does.
    enum class Purpose { awaited, companion };

    // `drained` is called when the last awaited action has run, perhaps more than once. The
    // context is not owned and must outlive the timeline.
    explicit Timeline(GMainContext* context, std::function<void()> drained = {});

    Ticket at(Clock::time_point due, std::function<void()> action,
              Purpose purpose = Purpose::awaited);
    // Forgets an action that has not run yet. Does not call `drained`.
    void cancel(const Ticket& ticket);
    // Whether no awaited action is left.
    bool empty() const noexcept { return m_awaited == 0; }

private:
    struct Entry {
        std::function<void()> action;
        Purpose purpose;
    };

    void arm();
    void run_due();

    GMainContext* m_context;
    std::function<void()> m_drained;
    std::map<Ticket, Entry> m_waiting;
    std::uint64_t m_last_number = 0;
    std::size_t m_awaited = 0; // how many of m_waiting
    MainSource m_timer;
};

} // namespace printer_simulator
