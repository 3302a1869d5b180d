#include "occurrence.h"

#include <gtest/gtest.h>

namespace printer_simulator {
namespace {

TEST(EscapedText, KeepsPrintableAsciiAndEscapesAllElse) {
    EXPECT_EQ(escaped_text(" ~azAZ09'"), " ~azAZ09'");
    EXPECT_EQ(escaped_text("\n\r\t\"\\"), R"(\n\r\t\"\\)");
    EXPECT_EQ(escaped_text("\x1f\x7f\x80\xff"), R"(\037\177\200\377)");
    EXPECT_EQ(escaped_text(std::string_view("\0"
                                            "1",
                                            2)),
              R"(\0001)");
}

TEST(Occurrence, IsWrittenAsWordsAndNamedValues) {
    Occurrence occurrence("request command");
    occurrence.number("size", 7).word("known", "yes").text("printer", "a \"b\"\n");
    EXPECT_EQ(occurrence.line(), R"(request command size=7 known=yes printer="a \"b\"\n")");
}

TEST(Occurrence, GivesItsValuesUnescaped) {
    Occurrence occurrence("x");
    occurrence.text("text", "\xff").number("n", 3);
    EXPECT_EQ(occurrence.value("text"), "\xff");
    EXPECT_EQ(occurrence.value("n"), "3");
    EXPECT_EQ(occurrence.value("other"), "");
    EXPECT_TRUE(occurrence.has("n"));
    EXPECT_FALSE(occurrence.has("other"));
}

TEST(Occurrence, IsRoutineOnlyWhenMarked) {
    EXPECT_FALSE(Occurrence("x").is_routine());
    EXPECT_TRUE(Occurrence("x").routine().is_routine());
    EXPECT_FALSE(Occurrence("x").routine(false).is_routine());
}

} // namespace
} // namespace printer_simulator
