#include "event_history.h"

#include <gtest/gtest.h>

namespace printer_simulator {
namespace {

TEST(EventHistory, is_empty_at_first) {
    EventHistory history;
    EXPECT_EQ(history.next_number(), 1U);
    EXPECT_FALSE(history.newest());
    EXPECT_FALSE(history.next_after(0));
    EXPECT_FALSE(history.position_of("x"));
}

TEST(EventHistory, keeps_only_the_last_events) {
    EventHistory history(3);
    for (const char* text : {"a", "b", "c", "d", "e"}) {
        history.append(text, false);
    }
    EXPECT_EQ(history.size(), 3U);
    EXPECT_EQ(history.next_after(0)->number, 3U);
    EXPECT_FALSE(history.position_of("b"));
    EXPECT_EQ(history.position_of("c"), 3U);
}

TEST(EventHistory, keeps_a_pinned_event_whatever_its_age) {
    EventHistory history(2);
    history.append("pinned", true);
    for (const char* text : {"b", "c", "d", "e"}) {
        history.append(text, false);
    }
    EXPECT_EQ(history.size(), 3U);
    EXPECT_EQ(history.position_of("pinned"), 1U);
    EXPECT_EQ(history.next_after(1)->number, 4U);
    history.unpin(1);
    EXPECT_EQ(history.size(), 2U);
    EXPECT_FALSE(history.position_of("pinned"));
}

TEST(EventHistory, keeps_a_young_event_after_its_pin_is_gone) {
    EventHistory history(2);
    history.append("a", true);
    history.append("b", false);
    history.unpin(1);
    EXPECT_EQ(history.size(), 2U);
    history.append("c", false);
    EXPECT_FALSE(history.find(1));
}

TEST(EventHistory, keeps_an_equal_text_as_long_as_one_of_its_events) {
    EventHistory history(2);
    history.append("same", false);
    history.append("same", false);
    history.append("other", false);
    ASSERT_TRUE(history.position_of("same"));
    EXPECT_EQ(history.next_after(*history.position_of("same"))->text, "same");
    history.append("last", false);
    EXPECT_FALSE(history.position_of("same"));
}

TEST(EventHistory, takes_a_text_for_the_event_as_which_it_was_last_sent) {
    EventHistory history;
    history.append("same", false);
    history.append("other", false);
    history.append("same", false);
    EXPECT_EQ(history.position_of("same"), 1U);
    history.mark_sent(3);
    EXPECT_EQ(history.position_of("same"), 3U);
}

TEST(EventHistory, remembers_only_a_few_aliases) {
    EventHistory history;
    history.append("event", false);
    for (int i = 0; i < 100; ++i) {
        history.alias("alias " + std::to_string(i), 1);
    }
    EXPECT_FALSE(history.position_of("alias 0"));
    EXPECT_EQ(history.position_of("alias 99"), 1U);
}

TEST(EventHistory, forgets_the_empty_alias_once_used) {
    EventHistory history;
    history.append("event", false);
    history.alias("", 1);
    EXPECT_EQ(history.position_of(""), 1U);
    EXPECT_FALSE(history.position_of(""));
}

} // namespace
} // namespace printer_simulator
