// The published events in order, and where each client stands in them.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace printer_simulator {

// Number of an event, counted from 1; 0 stands for the time before the first event.
using EventNumber = std::uint64_t;

// Keeps published texts and finds the place of a text that a client quotes.
//
// The last `limit` events are kept, and older ones as long as they are pinned, so that memory is
// bounded. Looking up a text costs one hash, finding the next event one tree search. Equal texts
// may be published more than once: a text stands for the event as which it was last sent. Pure
// data without threads of its own: one thread at a time.
class EventHistory {
public:
    static constexpr std::size_t DEFAULT_LIMIT = 100000;

    struct Event {
        EventNumber number;
        const std::string& text; // valid until the next change of the history
    };

    // `limit` is the number of recent events to keep, at least 1.
    explicit EventHistory(std::size_t limit = DEFAULT_LIMIT);

    // The number that the next event will get.
    EventNumber next_number() const noexcept { return m_newest + 1; }

    // Adds `text` as the newest event. A pinned event stays until `unpin`, whatever its age.
    EventNumber append(std::string text, bool pinned);
    void unpin(EventNumber number);

    // The first event that is still kept after `number`, or nothing.
    std::optional<Event> next_after(EventNumber number) const;
    std::optional<Event> newest() const;
    std::optional<Event> find(EventNumber number) const;

    // Notes that the event's text now stands for this event and for no earlier one.
    void mark_sent(EventNumber number);

    // Notes that a client got `text` (not an event's) while it stood at `number`. The last few
    // such texts are remembered, by size and hash. The empty text is forgotten once it was used,
    // since a client that has just started quotes it too.
    void alias(std::string_view text, EventNumber number);

    // The place that a quoted text stands for, or nothing for an unknown one.
    std::optional<EventNumber> position_of(std::string_view quoted);

    std::size_t size() const noexcept { return m_events.size(); }

private:
    struct TextUse {
        EventNumber position;
        std::size_t events;
    };
    using Texts = std::unordered_map<std::string, TextUse>;
    struct Stored {
        Texts::value_type* text;
        bool pinned;
    };
    struct Alias {
        std::size_t size;
        std::size_t hash;
        EventNumber number;
    };

    bool is_old(EventNumber number) const noexcept { return m_newest - number >= m_limit; }
    void drop(std::map<EventNumber, Stored>::iterator event);

    std::size_t m_limit;
    EventNumber m_newest = 0;
    std::map<EventNumber, Stored> m_events;
    Texts m_texts; // its nodes stay where they are; m_events points to them
    std::deque<Alias> m_aliases;
};

} // namespace printer_simulator
