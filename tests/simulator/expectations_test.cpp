#include "expectations.h"

#include <gtest/gtest.h>

#include "documents.h"
#include "simulator_test_support.h"

namespace printer_simulator::test {
namespace {

Expectation expectation_of(std::string_view words) {
    Tokenizer tokenizer(words);
    return parse_expectation_words(tokenizer);
}

class ExpectationsTest : public testing::Test {
protected:
    void begin(std::string_view words) {
        const std::string where = "line " + std::to_string(++m_lines);
        m_expectations.begin(expectation_of(words), where, [this, where] { m_settled += where; });
    }
    void command(int action, std::string_view printer, std::string_view job) {
        m_expectations.saw(Occurrence("request command")
                               .text("printer", printer)
                               .text("job", job)
                               .word("action", std::to_string(action)));
    }
    void status() { m_expectations.saw(Occurrence("request status")); }
    bool drained() {
        return turn_until(m_context.get(), [this] { return m_timeline.empty(); });
    }
    std::string last(std::string_view key) const {
        return m_told.empty() ? "" : m_told.back().value(key);
    }

    const GMainContextPtr m_context{g_main_context_new()};
    Timeline m_timeline{m_context.get()};
    std::vector<Occurrence> m_told;
    Expectations m_expectations{m_timeline, teller()};
    int m_lines = 0;
    std::string m_settled;

private:
    std::function<void(const Occurrence&)> teller() {
        return [this](const Occurrence& occurrence) {
            m_told.push_back(occurrence);
        };
    }
};

TEST_F(ExpectationsTest, AreMetByTheVeryCommand) {
    begin("command retry 'Front Desk' 17 within 20min");
    command(ACTION_CANCEL, "Front Desk", "17");
    command(ACTION_RETRY, "Front", "Desk 17");
    command(ACTION_RETRY, "Front Desk", "18");
    status();
    EXPECT_TRUE(m_told.empty());
    command(ACTION_RETRY, "Front Desk", "17");
    ASSERT_EQ(m_told.size(), 1U);
    EXPECT_EQ(m_told[0].words(), "expectation met");
    EXPECT_EQ(last("where"), "line 1");
    EXPECT_FALSE(m_told[0].has("came"));
    EXPECT_EQ(m_settled, "") << "that is for the timeline";
    EXPECT_TRUE(drained());
    EXPECT_EQ(m_settled, "line 1");
    EXPECT_EQ(m_expectations.missed(), 0U);
}

TEST_F(ExpectationsTest, SayWhatCameInsteadWhenTheyAreMissed) {
    begin("command retry P 1 within 30ms");
    command(ACTION_CANCEL, "P", "1");
    command(7, "P \"x\"", "1");
    status();
    m_expectations.saw(Occurrence("request unreadable"));
    EXPECT_TRUE(drained());
    ASSERT_EQ(m_told.size(), 1U);
    EXPECT_EQ(m_told[0].words(), "expectation missed");
    EXPECT_EQ(last("expected"), R"(command retry "P" "1" within 30ms)");
    EXPECT_EQ(last("came"), R"(command cancel "P" "1", command 7 "P \"x\"" "1", )"
                            "1 unreadable request, 1 status request");
    EXPECT_GE(std::stoi(last("after_ms")), 30);
    EXPECT_EQ(m_settled, "line 1") << "what follows follows all the same";
    EXPECT_EQ(m_expectations.missed(), 1U);
}

TEST_F(ExpectationsTest, CountWhatIsTooMuchToShow) {
    begin("command retry P 1 within 20ms");
    for (int i = 0; i < 12; ++i) {
        command(ACTION_CANCEL, "P", "1");
    }
    EXPECT_TRUE(drained());
    EXPECT_TRUE(last("came").ends_with(R"("1", 2 more commands)")) << last("came");
    begin("status within 1ms");
    EXPECT_TRUE(drained());
    EXPECT_EQ(last("came"), "nothing");
}

TEST_F(ExpectationsTest, AreMetByOneCommandEachTheOldestFirst) {
    begin("command retry P 1 within 20min");
    begin("command retry P 1 within 20min");
    command(ACTION_RETRY, "P", "1");
    ASSERT_EQ(m_told.size(), 1U);
    EXPECT_EQ(last("where"), "line 1");
    command(ACTION_RETRY, "P", "1");
    EXPECT_EQ(last("where"), "line 2");
}

TEST_F(ExpectationsTest, OfNoCommandAreMissedAtTheFirstOne) {
    begin("no command for 20min");
    status();
    EXPECT_TRUE(m_told.empty());
    command(ACTION_RETRY, "P", "1");
    ASSERT_EQ(m_told.size(), 1U);
    EXPECT_EQ(m_told[0].words(), "expectation missed");
    EXPECT_EQ(last("came"), R"(command retry "P" "1", 1 status request)");
    EXPECT_TRUE(drained());
}

TEST_F(ExpectationsTest, OfNoCommandAreMetBySilenceAndByWhatOthersExpect) {
    begin("no command for 30ms");
    begin("command retry P 1 within 20min");
    command(ACTION_RETRY, "P", "1");
    EXPECT_EQ(last("where"), "line 2");
    EXPECT_TRUE(drained());
    ASSERT_EQ(m_told.size(), 2U);
    EXPECT_EQ(m_told[1].words(), "expectation met");
    EXPECT_GE(std::stoi(last("after_ms")), 30);
}

TEST_F(ExpectationsTest, OfAStatusAreAllMetByTheNextOne) {
    begin("status within 20min");
    begin("status within 20min");
    command(ACTION_RETRY, "P", "1");
    status();
    EXPECT_EQ(m_told.size(), 2U);
    EXPECT_EQ(m_expectations.missed(), 0U);
    status();
    EXPECT_EQ(m_told.size(), 2U);
}

TEST_F(ExpectationsTest, AreMissedWhenTheyStillWaitAtTheEnd) {
    begin("status within 20min");
    begin("no command for 20min");
    m_expectations.end();
    EXPECT_EQ(m_expectations.missed(), 2U);
    EXPECT_EQ(m_told.size(), 2U);
}

TEST(Expectation, DescribesItselfInTheWordsThatGiveItAgain) {
    for (const char* words :
         {R"(command retry "Front Desk" "17" within 500ms)", R"(command 103 "\377" "" within 1ms)",
          "no command for 1000ms", "status within 0ms"}) {
        EXPECT_EQ(expectation_of(words).description(), words);
    }
}

TEST(ParseExpectationWords, RefusesWhatMakesNoSense) {
    for (const char* words :
         {"", "bogus", "command", "command retry P 1", "command retry P 1 within",
          "command retry P 1 within x", "command retry P 1 for 1s", "command bogus P 1 within 1s",
          "command 99999999999 P 1 within 1s", "no", "no status for 1s", "no command within 1s",
          "status for 1s", "status within 1s x"}) {
        EXPECT_THROW(expectation_of(words), CommandError) << words;
    }
}

} // namespace
} // namespace printer_simulator::test
