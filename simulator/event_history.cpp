#include "event_history.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace printer_simulator {

namespace {

constexpr std::size_t ALIAS_LIMIT = 16;

} // namespace

EventHistory::EventHistory(std::size_t limit) : m_limit(std::max<std::size_t>(limit, 1)) {}

EventNumber EventHistory::append(std::string text, bool pinned) {
    const EventNumber number = ++m_newest;
    const auto [use, is_new] = m_texts.try_emplace(std::move(text), TextUse{number, 0});
    ++use->second.events;
    m_events.emplace_hint(m_events.end(), number, Stored{&*use, pinned});
    if (number > m_limit) {
        const auto oldest = m_events.find(number - m_limit);
        if (oldest != m_events.end() && !oldest->second.pinned) {
            drop(oldest);
        }
    }
    return number;
}

void EventHistory::unpin(EventNumber number) {
    const auto event = m_events.find(number);
    if (event == m_events.end()) {
        return;
    }
    event->second.pinned = false;
    if (is_old(number)) {
        drop(event);
    }
}

void EventHistory::drop(std::map<EventNumber, Stored>::iterator event) {
    Texts::value_type& text = *event->second.text;
    if (--text.second.events == 0) {
        m_texts.erase(text.first);
    }
    m_events.erase(event);
}

std::optional<EventHistory::Event> EventHistory::next_after(EventNumber number) const {
    const auto event = m_events.upper_bound(number);
    if (event == m_events.end()) {
        return std::nullopt;
    }
    return Event{event->first, event->second.text->first};
}

std::optional<EventHistory::Event> EventHistory::newest() const {
    return find(m_newest);
}

std::optional<EventHistory::Event> EventHistory::find(EventNumber number) const {
    const auto event = m_events.find(number);
    if (event == m_events.end()) {
        return std::nullopt;
    }
    return Event{event->first, event->second.text->first};
}

void EventHistory::mark_sent(EventNumber number) {
    const auto event = m_events.find(number);
    if (event == m_events.end()) {
        return;
    }
    Texts::value_type& text = *event->second.text;
    text.second.position = number;
    if (text.first.empty()) {
        alias("", number);
    }
}

void EventHistory::alias(std::string_view text, EventNumber number) {
    m_aliases.push_back({text.size(), std::hash<std::string_view>{}(text), number});
    if (m_aliases.size() > ALIAS_LIMIT) {
        m_aliases.pop_front();
    }
}

std::optional<EventNumber> EventHistory::position_of(std::string_view quoted) {
    if (!quoted.empty()) {
        const auto use = m_texts.find(std::string(quoted));
        if (use != m_texts.end()) {
            return use->second.position;
        }
    }
    const std::size_t hash = std::hash<std::string_view>{}(quoted);
    const auto found = std::find_if(m_aliases.rbegin(), m_aliases.rend(), [&](const Alias& known) {
        return known.size == quoted.size() && known.hash == hash;
    });
    if (found == m_aliases.rend()) {
        return std::nullopt;
    }
    const EventNumber number = found->number;
    if (quoted.empty()) {
        std::erase_if(m_aliases, [](const Alias& known) { return known.size == 0; });
    }
    return number;
}

} // namespace printer_simulator
