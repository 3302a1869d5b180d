#include "timeline.h"

#include <algorithm>

namespace printer_simulator {

Timeline::Timeline(GMainContext* context, std::function<void()> drained)
    : m_context(context), m_drained(std::move(drained)) {}

Timeline::Ticket Timeline::at(Clock::time_point due, std::function<void()> action,
                              Purpose purpose) {
    const auto entry =
        m_waiting.emplace(Ticket(due, ++m_last_number), Entry{std::move(action), purpose}).first;
    m_awaited += purpose == Purpose::awaited ? 1U : 0U;
    if (entry == m_waiting.begin()) {
        arm();
    }
    return entry->first;
}

void Timeline::cancel(const Ticket& ticket) {
    const auto entry = m_waiting.find(ticket);
    if (entry == m_waiting.end()) {
        return;
    }
    m_awaited -= entry->second.purpose == Purpose::awaited ? 1U : 0U;
    m_waiting.erase(entry);
    if (m_waiting.empty()) {
        m_timer.reset();
    } else {
        arm();
    }
}

void Timeline::arm() {
    using std::chrono::milliseconds;
    const auto left =
        std::chrono::ceil<milliseconds>(m_waiting.begin()->first.first - Clock::now());
    m_timer = MainSource::timer(m_context, std::max(left, milliseconds(0)), [this] {
        run_due();
        return false;
    });
}

void Timeline::run_due() {
    m_timer.reset();
    // What becomes due only meanwhile waits for the next turn of the main loop, so that a quick
    // repetition cannot keep everything else from running.
    const Clock::time_point now = Clock::now();
    while (!m_waiting.empty() && m_waiting.begin()->first.first <= now) {
        const auto first = m_waiting.begin();
        const Entry entry = std::move(first->second);
        m_waiting.erase(first);
        m_awaited -= entry.purpose == Purpose::awaited ? 1U : 0U;
        entry.action();
    }
    if (!m_waiting.empty()) {
        arm();
    }
    if (empty() && m_drained) {
        m_drained();
    }
}

} // namespace printer_simulator
