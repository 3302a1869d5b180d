// What happened in the simulated service, and its form as one line of text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace printer_simulator {

// `text` with every byte outside printable ASCII, the double quote and the backslash written as
// C escapes (`\n`, `\t`, `\"`, `\\`, otherwise three octal digits). The command interpreter reads
// the result back to the same bytes.
std::string escaped_text(std::string_view text);

// One thing that happened: a few words that name it, then named values in a fixed order.
class Occurrence {
public:
    explicit Occurrence(std::string words) : m_words(std::move(words)) {}

    // Adds a value that is written in double quotes, with C escapes.
    Occurrence& text(std::string key, std::string_view value);
    // Adds a number or a fixed word, which is written as it stands.
    Occurrence& word(std::string key, std::string_view value);
    Occurrence& number(std::string key, std::uint64_t value);
    // Marks it as something that recurs at every poll and that a person seldom wants to see.
    Occurrence& routine(bool value = true);

    const std::string& words() const noexcept { return m_words; }
    bool is_routine() const noexcept { return m_routine; }
    bool has(std::string_view key) const;
    // The value of `key`, not escaped; empty when there is no such key.
    std::string value(std::string_view key) const;

    // `word(s) key=value key="escaped value"`, without a line end.
    std::string line() const;

private:
    struct Field {
        std::string key;
        std::string value;
        bool quoted;
    };

    std::string m_words;
    std::vector<Field> m_fields;
    bool m_routine = false;
};

} // namespace printer_simulator
