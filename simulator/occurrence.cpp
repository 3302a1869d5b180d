#include "occurrence.h"

#include <algorithm>

namespace printer_simulator {

namespace {

constexpr std::string_view ESCAPED_BYTES = "\n\r\t\"\\";
constexpr std::string_view ESCAPE_LETTERS = "nrt\"\\";

void append_escaped(std::string& out, char c) {
    const std::size_t index = ESCAPED_BYTES.find(c);
    if (index != std::string_view::npos) {
        out += '\\';
        out += ESCAPE_LETTERS[index];
        return;
    }
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7f) {
        out += c;
        return;
    }
    out += '\\';
    for (int shift = 6; shift >= 0; shift -= 3) {
        out += static_cast<char>('0' + ((byte >> shift) & 7));
    }
}

} // namespace

std::string escaped_text(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        append_escaped(out, c);
    }
    return out;
}

Occurrence& Occurrence::text(std::string key, std::string_view value) {
    m_fields.push_back({std::move(key), std::string(value), true});
    return *this;
}

Occurrence& Occurrence::word(std::string key, std::string_view value) {
    m_fields.push_back({std::move(key), std::string(value), false});
    return *this;
}

Occurrence& Occurrence::number(std::string key, std::uint64_t value) {
    return word(std::move(key), std::to_string(value));
}

Occurrence& Occurrence::routine(bool value) {
    m_routine = value;
    return *this;
}

bool Occurrence::has(std::string_view key) const {
    return std::any_of(m_fields.begin(), m_fields.end(),
                       [key](const Field& field) { return field.key == key; });
}

std::string Occurrence::value(std::string_view key) const {
    for (const Field& field : m_fields) {
        if (field.key == key) {
            return field.value;
        }
    }
    return {};
}

std::string Occurrence::line() const {
    std::string out = m_words;
    for (const Field& field : m_fields) {
        out += ' ';
        out += field.key;
        out += '=';
        out += field.quoted ? '"' + escaped_text(field.value) + '"' : field.value;
    }
    return out;
}

} // namespace printer_simulator
