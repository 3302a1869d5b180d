#include "documents.h"

#include <gtest/gtest.h>

#include "simulator_test_support.h"

namespace printer_simulator::test {
namespace {

TEST(StatusDocument, HoldsEveryFieldOfTheError) {
    const std::string text =
        status_document(EventKind::show, {"P", "J", "110", "3", "text", "S"}, 42);
    EXPECT_EQ(element(text, "PrinterName"), "P");
    EXPECT_EQ(element(text, "PrinterJobID"), "J");
    EXPECT_EQ(element(text, "ErrorCode"), "110");
    EXPECT_EQ(element(text, "ErrorString"), "text");
    EXPECT_EQ(element(text, "ErrorSeverity"), "3");
    EXPECT_EQ(element(text, "ServiceCode"), "S");
    EXPECT_EQ(element(text, "PrinterState"), "Error");
    EXPECT_EQ(element(text, "EventNumber"), "42");
    EXPECT_NE(text.find("<PrinterStatus>"), std::string::npos);
}

TEST(StatusDocument, OfAWithdrawalHasItsOwnRoot) {
    const std::string text = status_document(EventKind::remove, {"P", "J", "", "", "", ""}, 1);
    EXPECT_NE(text.find("<RemovePrinterError>"), std::string::npos);
    EXPECT_EQ(element(text, "PrinterState"), "Ready");
}

TEST(StatusDocument, EscapesMarkupAndCopiesOtherBytes) {
    const std::string text =
        status_document(EventKind::show, {"\"'<>&\r\n\xff", "", "", "", "", ""}, 1);
    EXPECT_EQ(element(text, "PrinterName"), "&quot;&apos;&lt;&gt;&amp;&#13;\n\xff");
}

TEST(ParseJobCommand, ReadsEveryField) {
    const auto command = parse_job_command(job_command("A &amp; B", "17", "110", ACTION_RETRY));
    ASSERT_TRUE(command);
    EXPECT_EQ(command->printer, "A & B");
    EXPECT_EQ(command->job, "17");
    EXPECT_EQ(command->error_code, "110");
    EXPECT_EQ(command->action, ACTION_RETRY);
}

TEST(ParseJobCommand, KeepsBlanksAroundTexts) {
    const auto command = parse_job_command(job_command("  two  ", " ", "", -1));
    ASSERT_TRUE(command);
    EXPECT_EQ(command->printer, "  two  ");
    EXPECT_EQ(command->action, -1);
    EXPECT_EQ(command->error_code, "");
}

TEST(ParseJobCommand, RefusesWhatIsNotACommand) {
    const char* const texts[] = {
        "",
        "hello",
        "<PrinterAction>",
        "<PrinterAction/>",
        "<Other><Action>100</Action></Other>",
        "<PrinterAction><Action>10x</Action></PrinterAction>",
        "<PrinterAction><Action>99999999999</Action></PrinterAction>",
    };
    for (const char* text : texts) {
        EXPECT_FALSE(parse_job_command(text)) << text;
    }
}

TEST(ActionName, KnowsTheThreeActions) {
    EXPECT_EQ(action_name(100), "cancel");
    EXPECT_EQ(action_name(101), "resume");
    EXPECT_EQ(action_name(102), "retry");
    EXPECT_EQ(action_name(103), "unknown");
}

TEST(IdleDocument, GivesItsNumberBack) {
    EXPECT_EQ(idle_document_after(0), idle_document());
    for (const std::uint64_t number : {0ULL, 1ULL, 42ULL, 18446744073709551615ULL}) {
        EXPECT_EQ(idle_document_position(idle_document_after(number)), number);
    }
}

TEST(IdleDocument, HasNoNumberWhenItIsAnotherText) {
    const std::string seven = idle_document_after(7);
    EXPECT_FALSE(idle_document_position(""));
    EXPECT_FALSE(idle_document_position(seven + " "));
    EXPECT_FALSE(idle_document_position(seven.substr(0, seven.find('7') + 1)));
    EXPECT_FALSE(idle_document_position("<EventNumber>"));
    EXPECT_FALSE(idle_document_position(status_document(EventKind::show, {}, 7)));
}

} // namespace
} // namespace printer_simulator::test
