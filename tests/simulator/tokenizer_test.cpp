#include "tokenizer.h"

#include <limits>

#include <gtest/gtest.h>

#include "occurrence.h"

namespace printer_simulator {
namespace {

std::string only_word(std::string_view line) {
    Tokenizer words(line);
    std::string word = words.require("word");
    words.expect_end();
    return word;
}

std::string complaint(std::string_view line) {
    try {
        Tokenizer words(line);
        while (words.next()) {
        }
    } catch (const CommandError& error) {
        return error.what();
    }
    return "";
}

TEST(Tokenizer, SeparatesWordsByBlanksAndTabs) {
    Tokenizer words("  one\t two  ");
    EXPECT_EQ(words.next(), "one");
    EXPECT_EQ(words.next(), "two");
    EXPECT_FALSE(words.next());
}

TEST(Tokenizer, TakesABackslashOutsideQuotesAsItStands) {
    EXPECT_EQ(only_word("a\\n"), "a\\n");
}

TEST(Tokenizer, ReadsEveryEscape) {
    EXPECT_EQ(only_word(R"("\n\t\r\"\'\\\a\b\f\v")"), "\n\t\r\"'\\\a\b\f\v");
}

TEST(Tokenizer, ReadsHexadecimalAndOctalBytes) {
    EXPECT_EQ(only_word(R"("\xff\x0Az")"), "\xff\nz");
    EXPECT_EQ(only_word(R"("\377\12z\0")"), std::string("\xff\nz\0", 4));
}

TEST(Tokenizer, TakesSingleQuotesLikeDoubleOnes) {
    EXPECT_EQ(only_word("'Front Desk'"), "Front Desk");
    EXPECT_EQ(only_word(R"('\x41\n\'"')"), "A\n'\"");
    EXPECT_EQ(only_word(R"("it's")"), "it's");
    Tokenizer words("raw '<a b=\"1\">'");
    words.next();
    EXPECT_EQ(words.rest_of_line(), "<a b=\"1\">");
}

TEST(Tokenizer, TakesAnApostropheInsideAWordAsItStands) {
    EXPECT_EQ(only_word("O'Brien"), "O'Brien");
    Tokenizer words("Don't 'panic'");
    EXPECT_EQ(words.rest_of_line(), "Don't 'panic'");
}

TEST(Tokenizer, KeepsAnEmptyQuotedWord) {
    EXPECT_EQ(only_word("\"\""), "");
    EXPECT_EQ(only_word("''"), "");
}

TEST(Tokenizer, ComplainsAboutBadQuoting) {
    EXPECT_EQ(complaint("\"open"), "a closing quote is missing");
    EXPECT_EQ(complaint("'open"), "a closing quote is missing");
    EXPECT_EQ(complaint("'open\""), "a closing quote is missing");
    EXPECT_EQ(complaint("\"open\\"), "a closing quote is missing");
    EXPECT_EQ(complaint("\"a\"b"), "no blank after a closing quote");
    EXPECT_EQ(complaint("'a'b"), "no blank after a closing quote");
    EXPECT_EQ(complaint("a\"b"), "a double quote inside a word; put the whole word in quotes");
    EXPECT_EQ(complaint(R"("\q")"), "unknown escape \\q");
    EXPECT_EQ(complaint(R"("\x1")"), "\\x needs two hexadecimal digits");
    EXPECT_EQ(complaint(R"("\xg1")"), "\\x needs two hexadecimal digits");
}

TEST(Tokenizer, GivesTheRestOfTheLineAsItStands) {
    Tokenizer words("raw <a b=\"1\">  x");
    words.next();
    EXPECT_EQ(words.rest_of_line(), "<a b=\"1\">  x");
}

TEST(Tokenizer, TakesAValueWithItsName) {
    Tokenizer words(" code=7 code='a b' code='' name");
    EXPECT_EQ(words.next_value("code"), "7");
    EXPECT_EQ(words.next_value("code"), "a b");
    EXPECT_EQ(words.next_value("code"), "");
    EXPECT_FALSE(words.next_value("code"));
    EXPECT_EQ(words.next(), "name");
    for (const char* line : {"code=", "code= 7"}) {
        EXPECT_THROW(Tokenizer(line).next_value("code"), CommandError) << line;
    }
}

TEST(Tokenizer, ReadsBackEveryByteThatAnOutputLineEscapes) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(static_cast<unsigned char>(byte));
    }
    bytes += "7"; // a digit after an octal escape
    EXPECT_EQ(only_word("\"" + escaped_text(bytes) + "\""), bytes);
}

TEST(ParseNumber, TakesWholeNumbersOnly) {
    EXPECT_EQ(parse_number("18446744073709551615", "n"), std::numeric_limits<std::uint64_t>::max());
    for (const char* text : {"", "-1", "+1", "1x", "18446744073709551616", " 1"}) {
        EXPECT_THROW(parse_number(text, "n"), CommandError) << text;
    }
}

TEST(ParseSize, KnowsItsUnits) {
    EXPECT_EQ(parse_size("12", "n"), 12U);
    EXPECT_EQ(parse_size("2K", "n"), 2048U);
    EXPECT_EQ(parse_size("100M", "n"), 104857600U);
    EXPECT_EQ(parse_size("20G", "n"), 21474836480U);
    EXPECT_THROW(parse_size("18446744073709551615K", "n"), CommandError);
    EXPECT_THROW(parse_size("K", "n"), CommandError);
}

TEST(ParseTime, KnowsItsUnits) {
    EXPECT_EQ(parse_time("5", "t").count(), 5);
    EXPECT_EQ(parse_time("5ms", "t").count(), 5);
    EXPECT_EQ(parse_time("5s", "t").count(), 5000);
    EXPECT_EQ(parse_time("5min", "t").count(), 300000);
    EXPECT_THROW(parse_time("2147483648", "t"), CommandError);
    EXPECT_THROW(parse_time("5h", "t"), CommandError);
}

} // namespace
} // namespace printer_simulator
