#include "command_interpreter.h"

#include <algorithm>
#include <fstream>

#include <gtest/gtest.h>

#include "simulator_test_support.h"

namespace printer_simulator::test {
namespace {

Occurrence retry_of(std::string_view printer, std::string_view job) {
    return Occurrence("request command")
        .text("printer", printer)
        .text("job", job)
        .word("action", std::to_string(ACTION_RETRY));
}

// An interpreter on a context of its own; its service does not listen.
class Interpreter : public testing::Test {
protected:
    Interpreter()
        : m_context((g_main_context_push_thread_default(m_raw_context), m_raw_context)),
          m_timeline(m_raw_context),
          m_interpreter(m_service, m_timeline, m_expectations, output()) {}
    ~Interpreter() override { g_main_context_pop_thread_default(m_raw_context); }

    void run(std::string_view line) { m_interpreter.execute(line, "stdin:1"); }
    void play(std::string_view text, const std::string& source) {
        m_interpreter.play(m_interpreter.read_scenario(text, source));
    }
    void run_until_drained() {
        while (!m_timeline.empty()) {
            g_main_context_iteration(m_raw_context, TRUE);
        }
    }
    std::string last_complaint() const { return m_complaints.empty() ? "" : m_complaints.back(); }
    std::vector<PrinterModel::OpenError> open_errors() const {
        return m_service.model().open_errors();
    }

    GMainContext* const m_raw_context = g_main_context_new();
    GMainContextPtr m_context;
    PrinterService m_service;
    Timeline m_timeline;
    Expectations m_expectations{m_timeline, teller()};
    std::vector<std::string> m_told;
    std::vector<std::string> m_answers;
    std::vector<std::string> m_complaints;
    bool m_quit = false;
    CommandInterpreter m_interpreter;

private:
    std::function<void(const Occurrence&)> teller() {
        return [this](const Occurrence& occurrence) {
            m_told.push_back(occurrence.line());
        };
    }
    InterpreterOutput output() {
        InterpreterOutput output;
        output.answer = [this](std::string_view line) {
            m_answers.emplace_back(line);
        };
        output.complain = [this](const std::string& where, const std::string& message) {
            m_complaints.push_back(where + ": " + message);
        };
        output.quit = [this] {
            m_quit = true;
        };
        return output;
    }
};

TEST_F(Interpreter, PublishesAnErrorWithTheRestOfTheLineAsItsText) {
    run("error \"Front Desk\" 17 110 3 Print ribbon  out");
    ASSERT_EQ(open_errors().size(), 1U);
    const PrinterError error = open_errors()[0].error;
    EXPECT_EQ(error.printer, "Front Desk");
    EXPECT_EQ(error.job, "17");
    EXPECT_EQ(error.code, "110");
    EXPECT_EQ(error.severity, "3");
    EXPECT_EQ(error.text, "Print ribbon  out");
}

TEST_F(Interpreter, GivesAnErrorWithoutTextAPlainOne) {
    run("error P 1 110 3");
    EXPECT_EQ(open_errors().at(0).error.text, "Printer error 110.");
    run("error P 1 110 3 \"\"");
    EXPECT_EQ(open_errors().at(0).error.text, "");
}

TEST_F(Interpreter, GivesAnErrorTheServiceCodeThatItIsTold) {
    run("error P 1 110 3 service-code=4711 Card not picked.");
    EXPECT_EQ(open_errors().at(0).error.service_code, "4711");
    EXPECT_EQ(open_errors().at(0).error.text, "Card not picked.");
    run("error P 1 110 3 'service-code=4711'");
    EXPECT_EQ(open_errors().at(0).error.service_code, "0");
    EXPECT_EQ(open_errors().at(0).error.text, "service-code=4711");
    run("error P 1 110 3 service-code=");
    EXPECT_NE(last_complaint().find("missing value after \"service-code=\""), std::string::npos);
}

TEST_F(Interpreter, TakesAnyByteInAQuotedName) {
    run(R"(error "\xff\n\"x" "\0" 110 3 "a\\b")");
    ASSERT_EQ(open_errors().size(), 1U);
    EXPECT_EQ(open_errors()[0].error.printer, "\xff\n\"x");
    EXPECT_EQ(open_errors()[0].error.job, std::string(1, '\0'));
    EXPECT_EQ(open_errors()[0].error.text, "a\\b");
}

TEST_F(Interpreter, ClearsOneErrorOrAll) {
    run("error P 1 110 3");
    run("error P 2 110 3");
    run("error P 3 110 3");
    run("clear P 2");
    EXPECT_EQ(open_errors().size(), 2U);
    run("clear-all");
    EXPECT_TRUE(open_errors().empty());
    EXPECT_TRUE(m_complaints.empty());
}

TEST_F(Interpreter, PublishesRawTextsAsTheyStand) {
    run("raw <a b=\"1\">  </a>");
    EXPECT_EQ(m_service.model().newest_event(), 1U);
    run(R"(raw "x\0y")");
    run("raw \"\"");
    EXPECT_EQ(m_service.model().newest_event(), 3U);
}

TEST_F(Interpreter, PublishesAFileEvenAnEmptyOne) {
    const std::string path = testing::TempDir() + "simulator-empty-file";
    std::ofstream(path).close();
    run("raw-file \"" + path + "\"");
    EXPECT_EQ(m_service.model().newest_event(), 1U);
    EXPECT_TRUE(m_complaints.empty());
}

TEST_F(Interpreter, TakesLineEndsWithACarriageReturn) {
    run("error P 1 110 3\r");
    run("clear-all\r");
    run("\r");
    run("raw A\r");
    EXPECT_EQ(m_service.model().newest_event(), 3U);
    run("error P 2 110 3 Card\r");
    EXPECT_EQ(open_errors().at(0).error.text, "Card");
    EXPECT_TRUE(m_complaints.empty());
    EXPECT_EQ(m_service.model().open_errors().size(), 1U);
}

TEST_F(Interpreter, SkipsEmptyLinesAndComments) {
    run("");
    run("   \t");
    run("  # error P 1 110 3");
    EXPECT_TRUE(m_complaints.empty());
    EXPECT_EQ(m_service.model().newest_event(), 0U);
}

TEST_F(Interpreter, NamesThePlaceAndTheFaultOfABadLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"error P 1",
         "missing CODE; usage: error PRINTER JOB CODE SEVERITY [service-code=CODE] [TEXT]"},
        {"bogus 1 2", "unknown command \"bogus\"; \"help\" shows all"},
        {"clear P 1 2", "unexpected \"2\"; usage: clear PRINTER JOB"},
        {"clear P 2", "job \"2\" of printer \"P\" has no open error"},
        {"+5x list", "bad time \"5x\""},
        {"+5s", "missing command after the time"},
        {"retell perhaps", "neither on nor off: \"perhaps\"; usage: retell on|off"},
        {"hold on", "bad time \"on\"; usage: hold TIME"},
        {"carry-out", "missing TIME; usage: carry-out TIME"},
    };
    for (const auto& [line, complaint] : cases) {
        run(line);
        EXPECT_EQ(last_complaint(), std::string("stdin:1: ") + complaint);
    }
    for (const auto& [line, part] : {std::pair{"repeat 3 bogus", "unknown command \"bogus\""},
                                     {"repeat x list", "bad count \"x\""},
                                     {"repeat forever list", "\"forever\" needs \"every\""},
                                     {"retell", "missing on or off"},
                                     {"raw", "missing TEXT"},
                                     {"raw-file /does/not/exist", "/does/not/exist"},
                                     {"fault bogus", "unknown fault \"bogus\"; usage: fault"},
                                     {"help bogus", "unknown command \"bogus\""},
                                     {"help error clear", "unexpected \"clear\""}}) {
        run(line);
        EXPECT_NE(last_complaint().find(part), std::string::npos) << last_complaint();
    }
}

TEST_F(Interpreter, LetsALineWaitForItsTime) {
    const auto start = Timeline::Clock::now();
    run("+30ms error P late 110 3");
    EXPECT_TRUE(open_errors().empty());
    run_until_drained();
    EXPECT_EQ(open_errors().size(), 1U);
    EXPECT_GE(Timeline::Clock::now() - start, std::chrono::milliseconds(30));
}

TEST_F(Interpreter, DoesNotKeepALineWaitingForALaterOne) {
    run("+20min error P late 110 3");
    run("+1ms error P early 110 3");
    ASSERT_TRUE(turn_until(m_raw_context, [this] { return !open_errors().empty(); }));
    EXPECT_EQ(open_errors()[0].error.job, "early");
}

TEST_F(Interpreter, PlaysAScenarioInTheOrderOfItsTimes) {
    const auto start = Timeline::Clock::now();
    play("# a comment\n"
         "error P first 110 3\n"
         "+20ms error P second 110 3\r\n"
         "error P third 110 3\n"
         "@60ms error P fifth 110 3\n"
         "@40ms error P fourth 110 3",
         "file");
    run_until_drained();
    EXPECT_GE(Timeline::Clock::now() - start, std::chrono::milliseconds(60));
    std::string order;
    for (const auto& open : open_errors()) {
        order += open.error.job + " ";
        EXPECT_EQ(open.error.severity, "3");
    }
    EXPECT_EQ(order, "first second third fourth fifth ");
    EXPECT_TRUE(m_complaints.empty());
}

TEST_F(Interpreter, NamesAllBadLinesOfAScenarioAndCanPlayTheOthers) {
    const Scenario scenario =
        m_interpreter.read_scenario("bogus\nerror P 1 110 3\n+x list\n", "file");
    EXPECT_EQ(scenario.bad_lines, 2U);
    ASSERT_EQ(m_complaints.size(), 2U);
    EXPECT_EQ(m_complaints[0].substr(0, 7), "file:1:");
    EXPECT_EQ(m_complaints[1].substr(0, 7), "file:3:");
    EXPECT_TRUE(m_timeline.empty());
    m_interpreter.play(scenario);
    run_until_drained();
    EXPECT_EQ(open_errors().size(), 1U);
}

TEST_F(Interpreter, LetsTheLinesAfterAnExpectationWaitForIt) {
    play("error P 1 110 3\n"
         "expect command retry P 1 within 20min\n"
         "expect status within 20min\n"
         "error P 2 110 3\n"
         "@1ms error P 4 110 3\n"
         "+20ms error P 3 110 3\n"
         "expect no command for 10ms\n"
         "error P 5 110 3\n",
         "file");
    ASSERT_TRUE(turn_until(m_raw_context, [this] { return open_errors().size() == 1; }));
    for (int turn = 0; turn < 100; ++turn) {
        g_main_context_iteration(m_raw_context, FALSE);
    }
    m_expectations.saw(Occurrence("request status"));
    EXPECT_EQ(m_told.size(), 1U) << "both wait from the same moment on";
    EXPECT_EQ(open_errors().size(), 1U) << "and the rest for both";
    const auto met = Timeline::Clock::now();
    m_expectations.saw(retry_of("P", "1"));
    EXPECT_EQ(open_errors().size(), 1U) << "the service is not called in the middle of its work";
    run_until_drained();
    EXPECT_GE(Timeline::Clock::now() - met, std::chrono::milliseconds(30));
    std::string order;
    for (const auto& open : open_errors()) {
        order += open.error.job + " ";
    }
    EXPECT_EQ(order, "1 2 4 3 5 ") << "the time of 4 is over, 3 waits from then on";
    EXPECT_EQ(m_expectations.missed(), 0U);
    EXPECT_EQ(m_told.size(), 3U);
}

TEST_F(Interpreter, DoesNotWaitForAnExpectationThatIsTyped) {
    run("expect command retry P 1 within 20min");
    run("error P 2 110 3");
    EXPECT_EQ(open_errors().size(), 1U);
    EXPECT_FALSE(m_timeline.empty());
    m_expectations.saw(retry_of("P", "1"));
    run_until_drained();
    EXPECT_EQ(m_expectations.missed(), 0U);
}

TEST_F(Interpreter, RepeatsACommandWithItsNumber) {
    run("repeat 3 error P{n} job-{n} 110 3 \"text {n}\"");
    ASSERT_EQ(open_errors().size(), 3U);
    EXPECT_EQ(open_errors()[2].error.printer, "P3");
    EXPECT_EQ(open_errors()[2].error.job, "job-3");
    EXPECT_EQ(open_errors()[2].error.text, "text 3");
}

TEST_F(Interpreter, RepeatsACommandInIntervals) {
    run("repeat 3 every 10ms error P job-{n} 110 3");
    EXPECT_EQ(open_errors().size(), 1U);
    run_until_drained();
    EXPECT_EQ(open_errors().size(), 3U);
}

TEST_F(Interpreter, RepeatsACommandWithoutEnd) {
    run("repeat forever every 1ms error P job-{n} 110 3");
    EXPECT_TRUE(m_timeline.empty()) << "nobody waits for what never ends";
    EXPECT_TRUE(turn_until(m_raw_context, [this] { return open_errors().size() >= 20; }));
    EXPECT_EQ(open_errors()[19].error.job, "job-20");
}

TEST_F(Interpreter, SetsAndEndsAFault) {
    run("fault cut 12 times 3");
    EXPECT_EQ(m_service.faults().description(), "cut 12 times 3");
    run("fault none");
    EXPECT_EQ(m_service.faults().description(), "none");
}

TEST_F(Interpreter, TurnsRetellingOffAndOn) {
    run("retell off");
    EXPECT_FALSE(m_service.model().is_retelling());
    run("retell on");
    EXPECT_TRUE(m_service.model().is_retelling());
}

TEST_F(Interpreter, SetsTheTimeForWhichRequestsAreHeld) {
    run("hold 2s");
    EXPECT_EQ(m_service.hold().count(), 2000);
    run("hold 0");
    EXPECT_EQ(m_service.hold().count(), 0);
}

TEST_F(Interpreter, SetsTheTimeAfterWhichCommandsAreCarriedOut) {
    run("carry-out 600ms");
    EXPECT_EQ(m_service.carry_out().count(), 600);
}

TEST_F(Interpreter, ListsOpenErrorsSoThatTheyCanBeTypedAgain) {
    run(R"(error "a b" "\xff" 110 3 "x\ty")");
    run("list");
    ASSERT_EQ(m_answers.size(), 2U);
    EXPECT_EQ(
        m_answers[0],
        R"(open error printer="a b" job="\377" error_code="110" severity="3" service_code="0")"
        R"( text="x\ty" event=1)");
    EXPECT_EQ(m_answers[1], "listed errors=1 events=1 listening=no connections=0 fault=\"none\" "
                            "retell=on hold_ms=0 carry_out_ms=0");
}

TEST_F(Interpreter, HelpsWithOneCommand) {
    run("help error");
    ASSERT_GE(m_answers.size(), 3U);
    EXPECT_EQ(m_answers[0], "  error PRINTER JOB CODE SEVERITY [service-code=CODE] [TEXT]");
    EXPECT_NE(m_answers[2].find("\"Printer error CODE.\" if not given"), std::string::npos);
}

TEST_F(Interpreter, HelpsWithEveryFault) {
    run("help fault");
    for (const FaultWord& word : fault_words()) {
        const auto usage =
            std::find(m_answers.begin(), m_answers.end(), "  " + std::string(word.usage));
        ASSERT_NE(usage, m_answers.end()) << word.name;
        EXPECT_EQ(*std::next(usage), "      " + std::string(word.help));
    }
}

TEST_F(Interpreter, Quits) {
    run("quit");
    EXPECT_TRUE(m_quit);
}

} // namespace
} // namespace printer_simulator::test
