#include "tokenizer.h"

#include <array>
#include <charconv>
#include <limits>

namespace printer_simulator {

namespace {

// The main loop counts milliseconds in 32 bits.
constexpr std::uint64_t LONGEST_TIME_MS = std::numeric_limits<std::int32_t>::max();

struct Unit {
    std::string_view suffix;
    std::uint64_t factor;
};

constexpr std::array<Unit, 3> SIZE_UNITS{{{"K", 1ULL << 10}, {"M", 1ULL << 20}, {"G", 1ULL << 30}}};
constexpr std::array<Unit, 3> TIME_UNITS{{{"ms", 1}, {"min", 60000}, {"s", 1000}}};

CommandError bad_value(std::string_view what, std::string_view text) {
    return CommandError("bad " + std::string(what) + " \"" + std::string(text) + "\"");
}

template <std::size_t N>
std::uint64_t parse_with_unit(std::string_view text, std::string_view what,
                              const std::array<Unit, N>& units) {
    for (const Unit& unit : units) {
        if (text.ends_with(unit.suffix)) {
            const std::string_view digits = text.substr(0, text.size() - unit.suffix.size());
            const std::uint64_t number = parse_number(digits, what);
            if (number > std::numeric_limits<std::uint64_t>::max() / unit.factor) {
                throw bad_value(what, text);
            }
            return number * unit.factor;
        }
    }
    return parse_number(text, what);
}

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

bool is_quote(char c) {
    return c == '"' || c == '\'';
}

CommandError open_quote() {
    return CommandError("a closing quote is missing");
}

bool is_octal(char c) {
    return c >= '0' && c <= '7';
}

} // namespace

void Tokenizer::skip_blanks() {
    while (!m_rest.empty() && is_blank(m_rest.front())) {
        m_rest.remove_prefix(1);
    }
}

std::string_view Tokenizer::remainder() {
    skip_blanks();
    return m_rest;
}

std::optional<std::string> Tokenizer::next() {
    skip_blanks();
    if (m_rest.empty()) {
        return std::nullopt;
    }
    if (is_quote(m_rest.front())) {
        return quoted_word();
    }
    std::size_t length = 0;
    while (length < m_rest.size() && !is_blank(m_rest[length])) {
        if (m_rest[length] == '"') {
            throw CommandError("a double quote inside a word; put the whole word in quotes");
        }
        ++length;
    }
    std::string word(m_rest.substr(0, length));
    m_rest.remove_prefix(length);
    return word;
}

std::string Tokenizer::quoted_word() {
    const char quote = m_rest.front();
    m_rest.remove_prefix(1);
    std::string word;
    while (!m_rest.empty() && m_rest.front() != quote) {
        const char c = m_rest.front();
        m_rest.remove_prefix(1);
        word += c == '\\' ? escaped_byte() : c;
    }
    if (m_rest.empty()) {
        throw open_quote();
    }
    m_rest.remove_prefix(1);
    if (!m_rest.empty() && !is_blank(m_rest.front())) {
        throw CommandError("no blank after a closing quote");
    }
    return word;
}

char Tokenizer::escaped_byte() {
    if (m_rest.empty()) {
        throw open_quote();
    }
    if (is_octal(m_rest.front())) {
        unsigned value = 0;
        for (int digits = 0; digits < 3 && !m_rest.empty() && is_octal(m_rest.front()); ++digits) {
            value = value * 8 + static_cast<unsigned>(m_rest.front() - '0');
            m_rest.remove_prefix(1);
        }
        return static_cast<char>(static_cast<unsigned char>(value));
    }
    const char letter = m_rest.front();
    m_rest.remove_prefix(1);
    if (letter == 'x') {
        unsigned char value = 0;
        const char* begin = m_rest.data();
        const char* end = begin + std::min<std::size_t>(2, m_rest.size());
        const auto [stop, error] = std::from_chars(begin, end, value, 16);
        if (error != std::errc() || stop != begin + 2) {
            throw CommandError("\\x needs two hexadecimal digits");
        }
        m_rest.remove_prefix(2);
        return static_cast<char>(value);
    }
    constexpr std::string_view LETTERS = "ntr\"'\\abfv";
    constexpr std::string_view BYTES = "\n\t\r\"'\\\a\b\f\v";
    const std::size_t index = LETTERS.find(letter);
    if (index == std::string_view::npos) {
        throw CommandError(std::string("unknown escape \\") + letter);
    }
    return BYTES[index];
}

std::string Tokenizer::require(std::string_view what) {
    std::optional<std::string> word = next();
    if (!word) {
        throw CommandError("missing " + std::string(what));
    }
    return std::move(*word);
}

std::optional<std::string> Tokenizer::next_value(std::string_view name) {
    const std::string prefix = std::string(name) + "=";
    skip_blanks();
    if (!m_rest.starts_with(prefix)) {
        return std::nullopt;
    }
    m_rest.remove_prefix(prefix.size());
    if (m_rest.empty() || is_blank(m_rest.front())) {
        throw CommandError("missing value after \"" + prefix + "\"");
    }
    return next();
}

std::string Tokenizer::rest_of_line() {
    skip_blanks();
    if (!m_rest.empty() && is_quote(m_rest.front())) {
        std::string word = quoted_word();
        expect_end();
        return word;
    }
    std::string text(m_rest);
    m_rest = {};
    return text;
}

void Tokenizer::expect_end() {
    skip_blanks();
    if (!m_rest.empty()) {
        throw CommandError("unexpected \"" + std::string(m_rest) + "\"");
    }
}

std::uint64_t parse_number(std::string_view text, std::string_view what) {
    std::uint64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) {
        throw bad_value(what, text);
    }
    return value;
}

std::uint64_t parse_size(std::string_view text, std::string_view what) {
    return parse_with_unit(text, what, SIZE_UNITS);
}

std::chrono::milliseconds parse_time(std::string_view text, std::string_view what) {
    const std::uint64_t value = parse_with_unit(text, what, TIME_UNITS);
    if (value > LONGEST_TIME_MS) {
        throw bad_value(what, text);
    }
    return std::chrono::milliseconds(value);
}

} // namespace printer_simulator
