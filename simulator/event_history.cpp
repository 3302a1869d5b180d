#include "event_history.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace printer_simulator {

namespace {

constexpr std::size_t ALIAS_LIMIT = 16;

} // namespace

EventHistory::EventHistory(std::size_t limit) : limit_(std::max<std::size_t>(limit, 1)) {}

EventNumber EventHistory::append(std::string text, bool pinned) {
    const EventNumber number = ++newest_;
    const auto [use, is_new] = texts_.try_emplace(std::move(text), TextUse{number, 0});
    ++use->second.events;
    events_.emplace_hint(events_.end(), number, Stored{&use->first, pinned});
    if (number > limit_) {
        const auto oldest = events_.find(number - limit_);
        if (oldest != events_.end() && !oldest->second.pinned) {
            drop(oldest);
        }
    }
    return number;
}

void EventHistory::unpin(EventNumber number) {
    const auto event = events_.find(number);
    if (event == events_.end()) {
        return;
    }
    event->second.pinned = false;
    if (is_old(number)) {
        drop(event);
    }
}

void EventHistory::drop(std::map<EventNumber, Stored>::iterator event) {
    const auto use = texts_.find(*event->second.text);
    if (--use->second.events == 0) {
        texts_.erase(use);
    }
    events_.erase(event);
}

std::optional<EventHistory::Event> EventHistory::next_after(EventNumber number) const {
    const auto event = events_.upper_bound(number);
    if (event == events_.end()) {
        return std::nullopt;
    }
    return Event{event->first, *event->second.text};
}

std::optional<EventHistory::Event> EventHistory::newest() const {
    return find(newest_);
}

std::optional<EventHistory::Event> EventHistory::find(EventNumber number) const {
    const auto event = events_.find(number);
    if (event == events_.end()) {
        return std::nullopt;
    }
    return Event{event->first, *event->second.text};
}

void EventHistory::mark_sent(EventNumber number) {
    const auto event = events_.find(number);
    if (event == events_.end()) {
        return;
    }
    texts_.find(*event->second.text)->second.position = number;
    if (event->second.text->empty()) {
        alias("", number);
    }
}

void EventHistory::alias(std::string_view text, EventNumber number) {
    aliases_.push_back({text.size(), std::hash<std::string_view>{}(text), number});
    if (aliases_.size() > ALIAS_LIMIT) {
        aliases_.pop_front();
    }
}

std::optional<EventNumber> EventHistory::position_of(std::string_view quoted) {
    if (!quoted.empty()) {
        const auto use = texts_.find(std::string(quoted));
        if (use != texts_.end()) {
            return use->second.position;
        }
    }
    const std::size_t hash = std::hash<std::string_view>{}(quoted);
    const auto found = std::find_if(aliases_.rbegin(), aliases_.rend(), [&](const Alias& known) {
        return known.size == quoted.size() && known.hash == hash;
    });
    if (found == aliases_.rend()) {
        return std::nullopt;
    }
    const EventNumber number = found->number;
    if (quoted.empty()) {
        std::erase_if(aliases_, [](const Alias& known) { return known.size == 0; });
    }
    return number;
}

} // namespace printer_simulator
