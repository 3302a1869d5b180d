#include "active_faults.h"

#include <gtest/gtest.h>

#include "command_interpreter.h"

namespace printer_simulator {
namespace {

class ActiveFaultsTest : public testing::Test {
protected:
    void set(std::string_view words) {
        Tokenizer tokenizer(words);
        m_faults.set(parse_fault_words(tokenizer));
    }

    ActiveFaults m_faults;
};

TEST_F(ActiveFaultsTest, AreNoneAtFirst) {
    EXPECT_FALSE(m_faults.next_status_reply());
    EXPECT_FALSE(m_faults.next_command_reply());
    EXPECT_FALSE(m_faults.refuses());
    EXPECT_EQ(m_faults.description(), "none");
}

TEST_F(ActiveFaultsTest, ApplyToTheirTargetOnly) {
    set("silent");
    EXPECT_TRUE(m_faults.next_status_reply());
    EXPECT_TRUE(m_faults.next_command_reply());
    set("none");
    set("silent on commands");
    EXPECT_FALSE(m_faults.next_status_reply());
    EXPECT_TRUE(m_faults.next_command_reply());
    set("none");
    set("silent on status");
    EXPECT_TRUE(m_faults.next_status_reply());
    EXPECT_FALSE(m_faults.next_command_reply());
}

TEST_F(ActiveFaultsTest, GoTogetherOnDifferentTargets) {
    set("cut 5 on status");
    set("reset on commands");
    EXPECT_EQ(m_faults.next_status_reply()->fault.kind, FaultKind::cut);
    EXPECT_EQ(m_faults.next_command_reply()->fault.kind, FaultKind::reset);
    EXPECT_EQ(m_faults.description(), "cut 5 on status; reset on commands");
}

TEST_F(ActiveFaultsTest, GiveWayToANewOneForTheSameTarget) {
    const std::vector<std::array<std::string_view, 3>> cases = {
        {"cut 5 on status", "empty on status", "empty on status"},
        {"cut 5 on commands", "empty on commands", "empty on commands"},
        {"cut 5 on status", "empty", "empty"},
        {"cut 5 times 4", "empty on status", "cut 5 on commands times 4; empty on status"},
        {"cut 5", "empty on commands", "cut 5 on status; empty on commands"},
        {"cut 5", "none on commands", "cut 5 on status"},
        {"cut 5 on commands", "none on commands", "none"},
        {"cut 5 on commands", "none", "none"},
        {"cut 5", "refuse", "refuse"},
        {"refuse", "empty on status", "empty on status"},
        {"refuse", "none on commands", "none"},
    };
    for (const auto& [first, second, both] : cases) {
        set("none");
        set(first);
        set(second);
        EXPECT_EQ(m_faults.description(), both) << first << ", then " << second;
    }
}

TEST_F(ActiveFaultsTest, CountOnlyTheRepliesThatTheySpoil) {
    set("cut 5 on commands times 2");
    set("empty on status times 1");
    EXPECT_FALSE(m_faults.next_command_reply()->ended);
    EXPECT_TRUE(m_faults.next_status_reply()->ended);
    EXPECT_FALSE(m_faults.next_status_reply());
    EXPECT_TRUE(m_faults.next_command_reply()->ended);
    EXPECT_FALSE(m_faults.next_command_reply());
}

TEST_F(ActiveFaultsTest, SpoilAboutOneReplyInSoMany) {
    set("reset 1 in 4");
    int spoiled = 0;
    for (int reply = 0; reply < 4000; ++reply) {
        spoiled += m_faults.next_status_reply() ? 1 : 0;
    }
    EXPECT_NEAR(spoiled, 1000, 100);
}

TEST_F(ActiveFaultsTest, SpoilTheSameRepliesAgainWithTheSameSeed) {
    const auto choice = [this](std::string_view words, bool with_others) {
        set("none");
        set("empty 1 in 3 on commands");
        set(words);
        std::string out;
        for (int reply = 0; reply < 40; ++reply) {
            out += m_faults.next_status_reply() ? 'x' : '.';
            if (with_others) {
                m_faults.next_command_reply();
            }
        }
        return out;
    };
    const std::string first = choice("reset 1 in 3 seed 5 on status", false);
    EXPECT_EQ(choice("reset 1 in 3 seed 5 on status", false), first);
    EXPECT_EQ(choice("cut 5 1 in 3 seed 5 on status", true), first)
        << "neither the kind of fault nor other replies count";
    EXPECT_NE(choice("reset 1 in 3 seed 6 on status", false), first);
    EXPECT_EQ(choice("reset 1 in 3 on status", false), ".xxxxx.x.......x.x.....x.xx...x.x..xxxx.")
        << "the choice that goes with the usual seed is the same on every machine";
}

TEST_F(ActiveFaultsTest, CountTheSpoiledRepliesAmongOthers) {
    set("reset 1 in 3 times 2");
    int spoiled = 0;
    for (int reply = 0; reply < 100; ++reply) {
        spoiled += m_faults.next_status_reply() ? 1 : 0;
    }
    EXPECT_EQ(spoiled, 2);
}

TEST_F(ActiveFaultsTest, RefuseUntilTheyStop) {
    set("refuse");
    EXPECT_TRUE(m_faults.refuses());
    m_faults.stop_refusing();
    EXPECT_FALSE(m_faults.refuses());
    EXPECT_EQ(m_faults.description(), "none");
}

} // namespace
} // namespace printer_simulator
