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

TEST(PrinterModel, gives_the_idle_document_before_any_event) {
    PrinterModel model;
    const StatusReply reply = model.choose_reply("");
    EXPECT_EQ(reply.text, idle_document());
    EXPECT_EQ(reply.event, 0U);
    EXPECT_FALSE(reply.is_new);
    EXPECT_EQ(reply.text.find("PrinterName"), std::string::npos);
}

TEST(PrinterModel, gives_every_event_once_and_then_the_newest_again) {
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

TEST(PrinterModel, tells_every_event_once_when_it_does_not_retell) {
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

TEST(PrinterModel, starts_a_new_client_at_the_oldest_open_error_when_it_does_not_retell) {
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

TEST(PrinterModel, takes_the_place_of_an_earlier_run_for_none) {
    PrinterModel model;
    model.set_retelling(false);
    model.publish_error(RIBBON);
    const StatusReply reply = model.choose_reply(idle_document_after(2));
    EXPECT_EQ(reply.quoted, Quoted::unknown);
    EXPECT_EQ(reply.event, 1U);
    EXPECT_EQ(model.choose_reply(idle_document_after(1)).quoted, Quoted::known);
}

TEST(PrinterModel, keeps_the_place_of_a_client_that_gets_a_padded_nothing) {
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

TEST(PrinterModel, starts_a_new_client_at_the_oldest_open_error) {
    PrinterModel model;
    model.publish_error(RIBBON);
    model.publish_error(CARD);
    model.clear("Front Desk", "17");
    const StatusReply reply = model.choose_reply("");
    EXPECT_EQ(reply.event, 2U);
    EXPECT_EQ(reply.quoted, Quoted::none);
}

TEST(PrinterModel, starts_a_new_client_at_the_newest_event_when_no_error_is_open) {
    PrinterModel model;
    model.publish_error(RIBBON);
    model.clear_all();
    EXPECT_EQ(model.choose_reply("").event, 2U);
}

TEST(PrinterModel, leaves_no_withdrawal_out_for_a_client_that_lost_a_reply) {
    PrinterModel model;
    model.publish_error(RIBBON);
    const auto quoted = model.choose_reply("");
    model.reply_sent(quoted);
    model.choose_reply(quoted.text);
    model.clear("Front Desk", "17");
    model.publish_error(CARD);
    EXPECT_EQ(model.choose_reply("").event, 2U) << "not at once the error that is open";
}

TEST(PrinterModel, treats_an_unknown_quoted_text_like_none) {
    PrinterModel model;
    model.publish_error(RIBBON);
    model.publish_error(CARD);
    const StatusReply reply = model.choose_reply("<from an earlier run/>");
    EXPECT_EQ(reply.event, 1U);
    EXPECT_EQ(reply.quoted, Quoted::unknown);
}

TEST(PrinterModel, gives_the_first_event_to_a_client_that_quotes_the_idle_document) {
    PrinterModel model;
    Poller poller(model);
    poller.poll();
    model.publish_error(RIBBON);
    model.clear_all();
    EXPECT_EQ(poller.poll().event, 1U);
    EXPECT_EQ(poller.poll().event, 2U);
}

TEST(PrinterModel, neither_loses_nor_repeats_events_with_equal_texts) {
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

TEST(PrinterModel, passes_an_empty_text_although_the_next_request_quotes_nothing) {
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

TEST(PrinterModel, repeats_the_event_after_a_spoiled_reply) {
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

TEST(PrinterModel, knows_a_padded_reply_again) {
    PrinterModel model;
    model.publish_error(RIBBON);
    model.publish_error(CARD);
    const StatusReply reply = model.choose_reply("");
    model.reply_padded(reply, reply.text + "<!--   -->");
    EXPECT_EQ(model.choose_reply(reply.text + "<!--   -->").event, 2U);
}

TEST(PrinterModel, keeps_one_error_for_each_job) {
    PrinterModel model;
    model.publish_error(RIBBON);
    PrinterError other = RIBBON;
    other.code = "112";
    model.publish_error(other);
    ASSERT_EQ(model.open_errors().size(), 1U);
    EXPECT_EQ(model.open_errors()[0].error.code, "112");
    EXPECT_EQ(model.choose_reply("").event, 2U);
}

TEST(PrinterModel, does_not_mix_up_names_and_job_ids) {
    PrinterModel model;
    model.publish_error({"a", "bc", "110", "3", "", "0"});
    model.publish_error({"ab", "c", "110", "3", "", "0"});
    EXPECT_EQ(model.open_error_count(), 2U);
    EXPECT_FALSE(model.clear("abc", ""));
    EXPECT_TRUE(model.clear("ab", "c"));
}

class PrinterModelCommand : public testing::TestWithParam<int> {};

TEST_P(PrinterModelCommand, withdraws_the_error) {
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

TEST(PrinterModel, ignores_a_command_for_an_unknown_job) {
    PrinterModel model;
    model.publish_error(RIBBON);
    const JobCommand command{"Front Desk", "18", "110", ACTION_CANCEL};
    EXPECT_FALSE(model.subject_of(command).job_known);
    EXPECT_FALSE(execute(model, command).withdrawn);
    EXPECT_EQ(model.open_error_count(), 1U);
}

TEST(PrinterModel, ignores_an_unknown_action) {
    PrinterModel model;
    model.publish_error(RIBBON);
    const JobCommand command{"Front Desk", "17", "110", 103};
    EXPECT_TRUE(model.subject_of(command).job_known);
    EXPECT_FALSE(model.subject_of(command).action_known);
    EXPECT_FALSE(execute(model, command).withdrawn);
    EXPECT_EQ(model.open_error_count(), 1U);
}

TEST(PrinterModel, carries_a_late_command_out_on_the_error_that_it_was_about) {
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

TEST(PrinterModel, lets_a_retried_job_fail_again_as_often_as_planned) {
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

TEST(PrinterModel, forgets_planned_failures_when_the_job_is_cancelled) {
    PrinterModel model;
    model.plan_failures("Front Desk", "17", 2, std::chrono::milliseconds(50));
    model.publish_error(RIBBON);
    execute(model, {"Front Desk", "17", "110", ACTION_CANCEL});
    model.publish_error(RIBBON);
    EXPECT_FALSE(execute(model, {"Front Desk", "17", "110", ACTION_RETRY}).fails_again_after);
}

TEST(PrinterModel, does_not_fail_again_after_everything_was_cleared) {
    PrinterModel model;
    model.plan_failures("Front Desk", "17", 1, std::chrono::milliseconds(50));
    model.publish_error(RIBBON);
    execute(model, {"Front Desk", "17", "110", ACTION_RETRY});
    model.clear_all();
    EXPECT_FALSE(model.fail_again_now("Front Desk", "17"));
}

TEST(PrinterModel, clears_all_errors_the_oldest_first) {
    PrinterModel model;
    model.publish_error(CARD);
    model.publish_error(RIBBON);
    const auto events = model.clear_all();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].error.printer, "Back Office");
    EXPECT_EQ(events[1].error.printer, "Front Desk");
}

TEST(PrinterModel, leads_a_client_through_twenty_thousand_errors) {
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
