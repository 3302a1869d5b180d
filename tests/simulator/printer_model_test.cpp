#include "printer_model.h"

#include <gtest/gtest.h>

#include "simulator_test_support.h"

namespace printer_simulator::test {
namespace {

const PrinterError RIBBON{"Front Desk", "17", "110", "3", "Print ribbon out or missing.", "0"};
const PrinterError CARD{"Back Office", "4", "111", "4", "Card not picked.", "0"};

// A client that quotes each reply in its next request.
class Poller {
public:
    explicit Poller(PrinterModel& model) : m_model(model) {}

    StatusReply poll() {
        StatusReply reply = m_model.choose_reply(m_quoted);
        m_model.reply_sent(reply);
        m_quoted = reply.text;
        return reply;
    }

private:
    PrinterModel& m_model;
    std::string m_quoted;
};

// Carries a command out as soon as it comes.
CommandOutcome execute(PrinterModel& model, const JobCommand& command) {
    return model.execute(command, model.subject_of(command));
}

TEST(PrinterModel, GivesTheIdleDocumentBeforeAnyEvent) {
    PrinterModel model;
    const StatusReply reply = model.choose_reply("");
    EXPECT_EQ(reply.text, idle_document());
    EXPECT_EQ(reply.event, 0U);
    EXPECT_FALSE(reply.is_new);
    EXPECT_EQ(reply.text.find("PrinterName"), std::string::npos);
}

TEST(PrinterModel, GivesEveryEventOnceAndThenTheNewestAgain) {
    PrinterModel model;
    Poller poller(model);
    poller.poll();
    model.publish_error(RIBBON);
    model.publish_error(CARD);
    model.clear("Front Desk", "17");
    for (const EventNumber expected : {1U, 2U, 3U}) {
        const StatusReply reply = poller.poll();
        EXPECT_EQ(reply.event, expected);
        EXPECT_TRUE(reply.is_new);
    }
    const StatusReply again = poller.poll();
    EXPECT_EQ(again.event, 3U);
    EXPECT_FALSE(again.is_new);
    EXPECT_NE(again.text.find("<RemovePrinterError>"), std::string::npos);
}

TEST(PrinterModel, TellsEveryEventOnceWhenItDoesNotRetell) {
    PrinterModel model;
    model.set_retelling(false);
    Poller poller(model);
    EXPECT_EQ(poller.poll().text, idle_document());
    model.publish_error(RIBBON);
    model.publish_error(CARD);
    EXPECT_EQ(poller.poll().event, 1U);
    EXPECT_EQ(poller.poll().event, 2U);
    for (int again = 0; again < 2; ++again) {
        const StatusReply nothing = poller.poll();
        EXPECT_EQ(nothing.event, 0U);
        EXPECT_EQ(nothing.quoted, Quoted::known);
        EXPECT_EQ(nothing.position, 2U);
        EXPECT_FALSE(nothing.is_new);
        EXPECT_EQ(nothing.text.find("PrinterName"), std::string::npos);
    }
    model.clear("Front Desk", "17");
    EXPECT_EQ(poller.poll().event, 3U) << "a document that reports nothing keeps the place";
    EXPECT_EQ(poller.poll().event, 0U);
}

TEST(PrinterModel, StartsANewClientAtTheOldestOpenErrorWhenItDoesNotRetell) {
    PrinterModel model;
    model.set_retelling(false);
    model.publish_error(RIBBON);
    model.publish_error(CARD);
    model.clear("Front Desk", "17");
    Poller poller(model);
    for (const EventNumber expected : {2U, 3U, 0U}) {
        EXPECT_EQ(poller.poll().event, expected);
    }
    model.clear_all();
    EXPECT_EQ(poller.poll().event, 4U);
    EXPECT_EQ(poller.poll().event, 0U);
    Poller late(model);
    EXPECT_EQ(late.poll().event, 0U) << "nothing is open, and the last removal was seen";
    model.publish_error(RIBBON);
    EXPECT_EQ(late.poll().event, 5U);
}

TEST(PrinterModel, TakesThePlaceOfAnEarlierRunForNone) {
    PrinterModel model;
    model.set_retelling(false);
    model.publish_error(RIBBON);
    const StatusReply reply = model.choose_reply(idle_document_after(2));
    EXPECT_EQ(reply.quoted, Quoted::unknown);
    EXPECT_EQ(reply.event, 1U);
    EXPECT_EQ(model.choose_reply(idle_document_after(1)).quoted, Quoted::known);
}

TEST(PrinterModel, KeepsThePlaceOfAClientThatGetsAPaddedNothing) {
    PrinterModel model;
    model.set_retelling(false);
    Poller poller(model);
    model.publish_error(RIBBON);
    poller.poll();
    const StatusReply nothing = model.choose_reply(model.choose_reply("").text);
    EXPECT_EQ(nothing.event, 0U);
    model.reply_padded(nothing, nothing.text + "<!--   -->");
    model.publish_error(CARD);
    EXPECT_EQ(model.choose_reply(nothing.text + "<!--   -->").event, 2U);
}

TEST(PrinterModel, StartsANewClientAtTheOldestOpenError) {
    PrinterModel model;
    model.publish_error(RIBBON);
    model.publish_error(CARD);
    model.clear("Front Desk", "17");
    for (const auto& [text, quoted] :
         {std::pair{"", Quoted::none}, {"<from an earlier run/>", Quoted::unknown}}) {
        const StatusReply reply = model.choose_reply(text);
        EXPECT_EQ(reply.event, 2U);
        EXPECT_EQ(reply.quoted, quoted);
    }
}

TEST(PrinterModel, StartsANewClientAtTheNewestEventWhenNoErrorIsOpen) {
    PrinterModel model;
    model.publish_error(RIBBON);
    model.clear_all();
    EXPECT_EQ(model.choose_reply("").event, 2U);
}

TEST(PrinterModel, LeavesNoWithdrawalOutForAClientThatLostAReply) {
    PrinterModel model;
    model.publish_error(RIBBON);
    const auto quoted = model.choose_reply("");
    model.reply_sent(quoted);
    model.choose_reply(quoted.text);
    model.clear("Front Desk", "17");
    model.publish_error(CARD);
    EXPECT_EQ(model.choose_reply("").event, 2U) << "not at once the error that is open";
}

TEST(PrinterModel, NeitherLosesNorRepeatsEventsWithEqualTexts) {
    PrinterModel model;
    Poller poller(model);
    poller.poll();
    for (const char* text : {"A", "B", "A", "A", "C"}) {
        model.publish_raw(text);
    }
    for (const EventNumber expected : {1U, 2U, 3U, 4U, 5U, 5U}) {
        EXPECT_EQ(poller.poll().event, expected);
    }
}

TEST(PrinterModel, PassesAnEmptyTextAlthoughTheNextRequestQuotesNothing) {
    PrinterModel model;
    Poller poller(model);
    model.publish_error(RIBBON);
    model.publish_raw("");
    model.publish_error(CARD);
    for (const EventNumber expected : {1U, 2U, 3U, 3U}) {
        EXPECT_EQ(poller.poll().event, expected);
    }
    EXPECT_EQ(model.choose_reply("").event, 1U) << "the next client without a quote is a new one";
}

TEST(PrinterModel, RepeatsTheEventAfterASpoiledReply) {
    PrinterModel model;
    Poller poller(model);
    poller.poll();
    model.publish_error(RIBBON);
    model.publish_error(CARD);
    const std::string first = poller.poll().text;
    const StatusReply lost = model.choose_reply(first);
    EXPECT_EQ(lost.event, 2U);
    model.reply_spoiled(lost, "noise");
    EXPECT_EQ(model.choose_reply("noise").event, 2U);
}

TEST(PrinterModel, KnowsAPaddedReplyAgain) {
    PrinterModel model;
    model.publish_error(RIBBON);
    model.publish_error(CARD);
    const StatusReply reply = model.choose_reply("");
    model.reply_padded(reply, reply.text + "<!--   -->");
    EXPECT_EQ(model.choose_reply(reply.text + "<!--   -->").event, 2U);
}

TEST(PrinterModel, KeepsOneErrorForEachJob) {
    PrinterModel model;
    model.publish_error(RIBBON);
    PrinterError other = RIBBON;
    other.code = "112";
    model.publish_error(other);
    ASSERT_EQ(model.open_errors().size(), 1U);
    EXPECT_EQ(model.open_errors()[0].error.code, "112");
    EXPECT_EQ(model.choose_reply("").event, 2U);
}

TEST(PrinterModel, DoesNotMixUpNamesAndJobIds) {
    PrinterModel model;
    model.publish_error({"a", "bc", "110", "3", "", "0"});
    model.publish_error({"ab", "c", "110", "3", "", "0"});
    EXPECT_EQ(model.open_error_count(), 2U);
    EXPECT_FALSE(model.clear("abc", ""));
    EXPECT_TRUE(model.clear("ab", "c"));
}

class PrinterModelCommand : public testing::TestWithParam<int> {};

TEST_P(PrinterModelCommand, WithdrawsTheError) {
    PrinterModel model;
    model.publish_error(RIBBON);
    const JobCommand command{"Front Desk", "17", "110", GetParam()};
    EXPECT_TRUE(model.subject_of(command).job_known);
    EXPECT_TRUE(model.subject_of(command).action_known);
    const CommandOutcome outcome = execute(model, command);
    ASSERT_TRUE(outcome.withdrawn);
    EXPECT_EQ(outcome.withdrawn->kind, EventKind::remove);
    EXPECT_FALSE(outcome.fails_again_after);
    EXPECT_EQ(model.open_error_count(), 0U);
}

INSTANTIATE_TEST_SUITE_P(actions, PrinterModelCommand,
                         testing::Values(ACTION_CANCEL, ACTION_RESUME, ACTION_RETRY));

TEST(PrinterModel, IgnoresACommandForAnUnknownJobAndAnUnknownAction) {
    PrinterModel model;
    model.publish_error(RIBBON);
    for (const JobCommand& command :
         {JobCommand{"Front Desk", "18", "110", ACTION_CANCEL}, {"Front Desk", "17", "110", 103}}) {
        EXPECT_EQ(model.subject_of(command).job_known, command.job == "17");
        EXPECT_EQ(model.subject_of(command).action_known, command.job == "18");
        EXPECT_FALSE(execute(model, command).withdrawn);
        EXPECT_EQ(model.open_error_count(), 1U);
    }
}

TEST(PrinterModel, CarriesALateCommandOutOnTheErrorThatItWasAbout) {
    PrinterModel model;
    model.publish_error(RIBBON);
    const JobCommand command{"Front Desk", "17", "110", ACTION_RETRY};
    const CommandSubject subject = model.subject_of(command);
    EXPECT_EQ(subject.event, 1U);
    model.publish_error(CARD);
    EXPECT_TRUE(model.execute(command, subject).withdrawn);
    EXPECT_FALSE(model.execute(command, subject).withdrawn) << "it has gone";
    model.publish_error(RIBBON);
    EXPECT_FALSE(model.execute(command, subject).withdrawn) << "this one came later";
    EXPECT_EQ(model.open_error_count(), 2U);
}

TEST(PrinterModel, LetsARetriedJobFailAgainAsOftenAsPlanned) {
    PrinterModel model;
    model.plan_failures("Front Desk", "17", 2, std::chrono::milliseconds(50));
    model.publish_error(RIBBON);
    for (int retry = 0; retry < 2; ++retry) {
        const CommandOutcome outcome = execute(model, {"Front Desk", "17", "110", ACTION_RETRY});
        EXPECT_EQ(outcome.fails_again_after, std::chrono::milliseconds(50));
        EXPECT_EQ(model.open_error_count(), 0U);
        const auto event = model.fail_again_now("Front Desk", "17");
        ASSERT_TRUE(event);
        EXPECT_EQ(event->kind, EventKind::show);
        EXPECT_EQ(event->error.code, "110");
    }
    EXPECT_FALSE(execute(model, {"Front Desk", "17", "110", ACTION_RETRY}).fails_again_after);
}

TEST(PrinterModel, ForgetsPlannedFailuresWhenTheJobIsCancelled) {
    PrinterModel model;
    model.plan_failures("Front Desk", "17", 2, std::chrono::milliseconds(50));
    model.publish_error(RIBBON);
    execute(model, {"Front Desk", "17", "110", ACTION_CANCEL});
    model.publish_error(RIBBON);
    EXPECT_FALSE(execute(model, {"Front Desk", "17", "110", ACTION_RETRY}).fails_again_after);
}

TEST(PrinterModel, DoesNotFailAgainAfterEverythingWasCleared) {
    PrinterModel model;
    model.plan_failures("Front Desk", "17", 1, std::chrono::milliseconds(50));
    model.publish_error(RIBBON);
    execute(model, {"Front Desk", "17", "110", ACTION_RETRY});
    model.clear_all();
    EXPECT_FALSE(model.fail_again_now("Front Desk", "17"));
}

TEST(PrinterModel, ClearsAllErrorsTheOldestFirst) {
    PrinterModel model;
    model.publish_error(CARD);
    model.publish_error(RIBBON);
    const auto events = model.clear_all();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].error.printer, "Back Office");
    EXPECT_EQ(events[1].error.printer, "Front Desk");
}

TEST(PrinterModel, LeadsAClientThroughTwentyThousandErrors) {
    PrinterModel model;
    Poller poller(model);
    for (int job = 0; job < 20000; ++job) {
        model.publish_error({"P", std::to_string(job), "110", "3", "", "0"});
    }
    for (EventNumber expected = 1; expected <= 20000; ++expected) {
        ASSERT_EQ(poller.poll().event, expected);
    }
}

} // namespace
} // namespace printer_simulator::test
