// The guard against every history of what can happen to a box, and against the rule in the words of
// somebody who sees the whole history.

#include "typing_guard.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

enum Event : char {
    OLD = 'o',    // the box has been on the screen for a while
    COMES = 'c',  // the focus
    GOES = 'g',   // the focus
    ASKED = 'a',  // a press in the box, or a request for it
    PAUSED = 'p', // no key for a while
    LATE = 'l',   // a key that was pressed before that
};

constexpr const char ALL_EVENTS[] = {OLD, COMES, GOES, ASKED, PAUSED, LATE};

void tell(TypingGuard& guard, char event) {
    switch (event) {
    case OLD:
        guard.box_is_old();
        break;
    case COMES:
        guard.focus_came();
        break;
    case GOES:
        guard.focus_went();
        break;
    case ASKED:
        guard.was_asked_for();
        break;
    case PAUSED:
        guard.typing_paused();
        break;
    default:
        guard.key_was_late();
        break;
    }
}

TypingGuard guard_after(const std::string& history) {
    TypingGuard guard;
    for (const char event : history) {
        tell(guard, event);
    }
    return guard;
}

// Whether the box has the focus at the end of a history.
bool has_focus(const std::string& history) {
    const auto last = history.find_last_of("cg");
    return last != std::string::npos && history[last] == COMES;
}

// The rule: keys count unless the focus came while the box was new, before anybody asked for it,
// and since then nobody asked, and there was no pause with the focus in the box since the last key
// that only came late.
bool keys_should_count(const std::string& history) {
    const auto pushed = history.find(COMES);
    if (pushed == std::string::npos ||
        history.substr(0, pushed).find_first_of("oa") != std::string::npos) {
        return true;
    }
    if (history.find(ASKED, pushed) != std::string::npos) {
        return true;
    }
    const auto late = history.find_last_of(LATE);
    const auto begin = late == std::string::npos ? pushed : std::max(late, pushed);
    for (auto i = begin; i < history.size(); ++i) {
        if (history[i] == PAUSED && has_focus(history.substr(0, i))) {
            return true;
        }
    }
    return false;
}

void for_each_history(std::size_t longest, const std::function<void(const std::string&)>& look) {
    std::vector<std::string> histories{""};
    for (std::size_t i = 0; i < histories.size(); ++i) {
        const auto history = histories[i];
        look(history);
        if (history.size() < longest) {
            for (const char event : ALL_EVENTS) {
                histories.push_back(history + event);
            }
        }
    }
}

TEST(TypingGuard, follows_the_rule_in_every_history_of_up_to_seven_events) {
    std::size_t refused = 0;
    for_each_history(7, [&refused](const std::string& history) {
        const auto guard = guard_after(history);
        EXPECT_EQ(guard.keys_count(), keys_should_count(history)) << history;
        EXPECT_EQ(guard.waits_for_pause(), !keys_should_count(history) && has_focus(history))
            << history;
        refused += guard.keys_count() ? 0U : 1U;
    });
    EXPECT_GT(refused, 1000U); // both answers were asked for
}

TEST(TypingGuard, waits_for_a_request_until_nothing_can_depend_on_it) {
    for_each_history(4, [](const std::string& history) {
        if (!guard_after(history).waits_for_request()) {
            for_each_history(3, [&history](const std::string& rest) {
                EXPECT_TRUE(guard_after(history + rest).keys_count()) << history << " " << rest;
            });
        }
    });
    EXPECT_TRUE(TypingGuard().waits_for_request());
    EXPECT_TRUE(guard_after("c").waits_for_request());
    EXPECT_FALSE(guard_after("ca").waits_for_request());
    EXPECT_FALSE(guard_after("o").waits_for_request());
}

TEST(TypingGuard, takes_keys_of_who_turned_to_an_old_box) {
    EXPECT_TRUE(guard_after("oc").keys_count());
}

TEST(TypingGuard, takes_no_keys_where_the_focus_came_with_the_box) {
    EXPECT_FALSE(guard_after("c").keys_count());
    EXPECT_FALSE(guard_after("co").keys_count()); // the box grows old, and the typing goes on
}

TEST(TypingGuard, takes_keys_after_a_pause) {
    EXPECT_TRUE(guard_after("cp").keys_count());
    EXPECT_TRUE(guard_after("cpgc").keys_count());
}

TEST(TypingGuard, takes_no_keys_that_only_came_late) {
    EXPECT_FALSE(guard_after("cpl").keys_count());
    EXPECT_TRUE(guard_after("cplp").keys_count());
    EXPECT_TRUE(guard_after("cpal").keys_count());
}

TEST(TypingGuard, takes_no_keys_where_the_focus_falls_back_to_a_box_that_nobody_turned_to) {
    EXPECT_FALSE(guard_after("cogc").keys_count());
    EXPECT_FALSE(guard_after("cogpc").keys_count()); // somebody paused elsewhere
}

TEST(TypingGuard, takes_keys_at_once_where_somebody_asked_for_the_box) {
    EXPECT_TRUE(guard_after("ac").keys_count());
    EXPECT_TRUE(guard_after("ca").keys_count());
    EXPECT_TRUE(guard_after("cagc").keys_count());
}

TEST(TypingGuard, refuses_no_keys_that_come_without_the_focus) {
    EXPECT_TRUE(guard_after("").keys_count());
    EXPECT_FALSE(guard_after("").waits_for_pause());
}

} // namespace
