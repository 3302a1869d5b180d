// Splits a command line into words, and reads numbers, sizes and times in them.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace printer_simulator {

// A command that cannot be understood or carried out; `what()` is the message for a person.
class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Takes words from the front of a line, one after the other.
//
// Blanks and tabs separate words. A word in double or single quotes may hold anything, with the
// escapes `\n \t \r \" \' \\ \a \b \f \v`, `\xHH` (two hexadecimal digits) and `\OOO` (one to
// three octal digits), so that any byte can be written. Outside quotes a backslash stands for
// itself, and so does an apostrophe inside a word.
class Tokenizer {
public:
    // The line must outlive the tokenizer.
    explicit Tokenizer(std::string_view line) : m_rest(line) {}

    // The next word, or nothing at the end of the line. Throws CommandError for bad quoting.
    std::optional<std::string> next();
    // The next word; throws CommandError "missing WHAT" at the end of the line.
    std::string require(std::string_view what);
    // The word after `NAME=` when that is what comes next, else nothing. Throws CommandError when
    // no word follows directly.
    std::optional<std::string> next_value(std::string_view name);
    // Everything that is left: one quoted word, or else the text as it stands.
    std::string rest_of_line();
    // Throws CommandError when words are left.
    void expect_end();
    // What no word was taken from yet, without leading blanks.
    std::string_view remainder();

private:
    void skip_blanks();
    std::string quoted_word();
    char escaped_byte();

    std::string_view m_rest;
};

// A whole number from 0 to 2^64 - 1, `what` naming it in the message of the CommandError.
std::uint64_t parse_number(std::string_view text, std::string_view what);

// A number of bytes, with an optional K, M or G (1024 to the power of 1, 2, 3).
std::uint64_t parse_size(std::string_view text, std::string_view what);

// A time: a whole number with `ms`, `s` or `min`; without a unit, milliseconds. At most 24 days.
std::chrono::milliseconds parse_time(std::string_view text, std::string_view what);

} // namespace printer_simulator
