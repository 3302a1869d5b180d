#include "event_history.h"

#include <gtest/gtest.h>

namespace printer_simulator {
namespace {

TEST(EventHistory, IsEmptyAtFirst) {
    EventHistory history;
    EXPECT_EQ(history.next_number(), 1U);
    EXPECT_FALSE(history.newest());
    EXPECT_FALSE(history.next_after(0));
    EXPECT_FALSE(history.position_of("x"));
}

TEST(EventHistory, KeepsOnlyTheLastEvents) {
    EventHistory history(3);
    for (const char* text : {"a", "b", "c", "d", "e"}) {
        history.append(text, false);
    }
    EXPECT_EQ(history.size(), 3U);
    EXPECT_EQ(history.next_after(0)->number, 3U);
    EXPECT_FALSE(history.position_of("b"));
    EXPECT_EQ(history.position_of("c"), 3U);
}

TEST(EventHistory, KeepsAPinnedEventWhateverItsAge) {
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

TEST(EventHistory, KeepsAYoungEventAfterItsPinIsGone) {
    EventHistory history(2);
    history.append("a", true);
    history.append("b", false);
    history.unpin(1);
    EXPECT_EQ(history.size(), 2U);
    history.append("c", false);
    EXPECT_FALSE(history.find(1));
}

TEST(EventHistory, KeepsAnEqualTextAsLongAsOneOfItsEvents) {
    EventHistory history(2);
    history.append("same", false);
    history.append("same", false);
    history.append("other", false);
    ASSERT_TRUE(history.position_of("same"));
    EXPECT_EQ(history.next_after(*history.position_of("same"))->text, "same");
    history.append("last", false);
    EXPECT_FALSE(history.position_of("same"));
}

TEST(EventHistory, TakesATextForTheEventAsWhichItWasLastSent) {
    EventHistory history;
    history.append("same", false);
    history.append("other", false);
    history.append("same", false);
    EXPECT_EQ(history.position_of("same"), 1U);
    history.mark_sent(3);
    EXPECT_EQ(history.position_of("same"), 3U);
}

TEST(EventHistory, RemembersOnlyAFewAliases) {
    EventHistory history;
    history.append("event", false);
    for (int i = 0; i < 100; ++i) {
        history.alias("alias " + std::to_string(i), 1);
    }
    EXPECT_FALSE(history.position_of("alias 0"));
    EXPECT_EQ(history.position_of("alias 99"), 1U);
}

TEST(EventHistory, ForgetsTheEmptyAliasOnceUsed) {
    EventHistory history;
    history.append("event", false);
    history.alias("", 1);
    EXPECT_EQ(history.position_of(""), 1U);
    EXPECT_FALSE(history.position_of(""));
}

} // namespace
} // namespace printer_simulator
