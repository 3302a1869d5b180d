// The guard against every history of what can happen to a box, and against the rule in the words of
// somebody who sees the whole history.

#include "typing_guard.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

enum Event : char {
    OLD = 'o',       // the box has been on the screen for a while
    COMES = 'c',     // the focus, and nothing has gone
    FALLS = 'd',     // the focus: something has gone, or may have
    FOLLOWS = 'n',   // the focus, after an answer with the keyboard
    GOES = 'g',      // the focus
    FOCUS_OLD = 'f', // the box has had the focus for a while
    WENT = 'w',      // another window
    ASKED = 'a',     // a press in the box, or a request for it
    PAUSED = 'p',    // no key for a while
    LATE = 'l',      // a key that was pressed before that
};

constexpr const char ALL_EVENTS[] = {OLD,       COMES, FALLS, FOLLOWS, GOES,
                                     FOCUS_OLD, WENT,  ASKED, PAUSED,  LATE};
constexpr const char* ARRIVALS = "cdn";

const std::map<char, FocusSource> SOURCES = {
    {COMES, FocusSource::PERSON}, {FALLS, FocusSource::DESKTOP}, {FOLLOWS, FocusSource::NEXT_BOX}};
const std::map<char, void (TypingGuard::*)()> CALLS = {
    {OLD, &TypingGuard::box_is_old},         {GOES, &TypingGuard::focus_went},
    {FOCUS_OLD, &TypingGuard::focus_is_old}, {WENT, &TypingGuard::window_went},
    {ASKED, &TypingGuard::was_asked_for},    {PAUSED, &TypingGuard::typing_paused},
    {LATE, &TypingGuard::key_was_late}};

void tell(TypingGuard& guard, char event) {
    if (SOURCES.count(event) > 0) {
        guard.focus_came(SOURCES.at(event));
    } else {
        (guard.*CALLS.at(event))();
    }
}

TypingGuard guard_after(const std::string& history) {
    TypingGuard guard;
    for (const char event : history) {
        tell(guard, event);
    }
    return guard;
}

bool has(const std::string& history, char event) {
    return history.find(event) != std::string::npos;
}

bool is_arrival(char event) {
    return std::string(ARRIVALS).find(event) != std::string::npos;
}

// What happened since the box lost the focus the last time.
std::string since_it_went(const std::string& history) {
    const auto went = history.rfind(GOES);
    return went == std::string::npos ? history : history.substr(went + 1);
}

// Whether the box has the focus at the end of a history.
bool has_focus(const std::string& history) {
    return since_it_went(history).find_first_of(ARRIVALS) != std::string::npos;
}

bool has_fresh_focus(const std::string& history) {
    const auto last = history.find_last_of("cdngf");
    return last != std::string::npos && is_arrival(history[last]);
}

// Whether the event behind this history pushes the box at somebody who did not ask for it.
bool is_push(const std::string& before, char event) {
    if (has(since_it_went(before), ASKED)) {
        return false;
    }
    if (event == WENT) {
        return has_fresh_focus(before);
    }
    return event == FALLS || event == FOLLOWS || (event == COMES && !has(before, OLD));
}

// The rule: a push makes keys no answers until somebody asks for the box, or there was a pause with
// the focus in it. Keys that only came late undo the pause, unless somebody has turned to the box
// since.
bool keys_should_count(const std::string& history) {
    auto push = history.size();
    while (push > 0 && !is_push(history.substr(0, push - 1), history[push - 1])) {
        --push;
    }
    bool counts = push == 0;
    for (auto i = push; !counts && i < history.size(); ++i) {
        if (history[i] == ASKED) {
            return true;
        }
        if (history[i] == PAUSED && has_focus(history.substr(0, i))) {
            const auto rest = history.substr(i);
            const auto undone = rest.find(LATE);
            counts = undone == std::string::npos ||
                     rest.substr(0, undone).find_first_of("ca") != std::string::npos;
        }
    }
    return counts;
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

TEST(TypingGuard, FollowsTheRuleInEveryHistoryOfUpToSixEvents) {
    std::size_t refused = 0;
    for_each_history(6, [&refused](const std::string& history) {
        const auto guard = guard_after(history);
        const bool should_count = keys_should_count(history);
        EXPECT_EQ(guard.keys_count(), should_count) << history;
        EXPECT_EQ(guard.waits_for_pause(), !should_count && has_focus(history)) << history;
        refused += should_count ? 0U : 1U;
    });
    EXPECT_GT(refused, 1000U); // both answers were asked for
}

TEST(TypingGuard, TakesKeys) {
    for (const auto* history : {
             "oc", "ocgc",         // of who turned to an old box
             "ocfw", "ocaw",       // what goes now does not move the focus
             "cp", "odp", "cpogc", // after a pause
             "cplp", "cpal",       // after another one, or a request
             "ac", "ad", "ca",     // at once where somebody asked for the box
             "",                   // that come without the focus
         }) {
        EXPECT_TRUE(guard_after(history).keys_count()) << history;
    }
    EXPECT_FALSE(guard_after("").waits_for_pause());
}

TEST(TypingGuard, TakesNoKeys) {
    for (const auto* history : {
             "c", "co", // the focus came with the box, which grows old meanwhile
             "od", "ocgd", "oagd", "odpgd", // the focus fell to a box, also one turned to before
             "ocw",                         // it turns out that the focus fell
             "cpl",                         // they only came late
             "cogc", "cogpc",               // nobody had turned to the box; the pause was elsewhere
         }) {
        EXPECT_FALSE(guard_after(history).keys_count()) << history;
    }
}

TEST(TypingGuard, WaitsForABlinkWhereTheBoxBeforeWasAnsweredWithTheKeyboard) {
    EXPECT_FALSE(guard_after("on").keys_count());
    EXPECT_EQ(guard_after("on").get_pause_milliseconds(), BLINK_MILLISECONDS);
    EXPECT_EQ(guard_after("ogdgn").get_pause_milliseconds(), BLINK_MILLISECONDS);
    for (const auto* history : {"c", "od", "ocw", "onpgd"}) {
        EXPECT_FALSE(guard_after(history).keys_count()) << history;
        EXPECT_EQ(guard_after(history).get_pause_milliseconds(), PAUSE_MILLISECONDS) << history;
    }
}

constexpr bool SEES_ALL = true;

TEST(FocusWitness, TakesAPersonForTheSourceOnlyWhenNothingCanHaveGone) {
    EXPECT_EQ(FocusWitness().find_source(SEES_ALL), FocusSource::PERSON);
    EXPECT_EQ(FocusWitness().find_source(!SEES_ALL), FocusSource::DESKTOP);
}

TEST(FocusWitness, TakesTheDesktopForTheSourceForAWhileAfterAWindowWent) {
    FocusWitness witness;
    witness.window_went();
    EXPECT_EQ(witness.find_source(SEES_ALL), FocusSource::DESKTOP);
    witness.is_long_ago();
    EXPECT_EQ(witness.find_source(SEES_ALL), FocusSource::PERSON);
}

TEST(FocusWitness, KnowsForAWhileThatAKeyHasAnsweredABox) {
    for (const bool sees_all_windows : {true, false}) {
        FocusWitness witness;
        witness.answered_with_key();
        witness.window_went(); // the answered box itself
        EXPECT_EQ(witness.find_source(sees_all_windows), FocusSource::NEXT_BOX);
        witness.is_long_ago();
        EXPECT_NE(witness.find_source(sees_all_windows), FocusSource::NEXT_BOX);
    }
}

} // namespace
