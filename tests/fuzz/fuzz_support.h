// What the fuzz targets share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

// The entry of a target: judges one input. Returns 0; ends the process when it finds a fault.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline std::string to_text(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// Ends the process with the message, which both kinds of runner report as a finding.
inline void require(bool condition, std::string_view message) {
    if (!condition) {
        std::fprintf(stderr, "FOUND: %.*s\n", static_cast<int>(message.size()), message.data());
        std::abort();
    }
}

// Whether c is a blank of the "C" locale.
inline bool is_blank(char c) {
    return std::string_view(" \t\n\v\f\r").find(c) != std::string_view::npos;
}

// What an input stream makes of the text when an int is extracted: the number at its start, behind
// blanks, in decimal. False when there is none or it does not fit.
inline bool expected_int(std::string_view text, int& value) {
    std::size_t i = 0;
    while (i < text.size() && is_blank(text[i])) {
        ++i;
    }
    const bool is_negative = i < text.size() && text[i] == '-';
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
        ++i;
    }
    const std::size_t first_digit = i;
    constexpr std::int64_t magnitude_limit = std::int64_t{1} << 31;
    std::int64_t magnitude = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        magnitude = magnitude > magnitude_limit ? magnitude : magnitude * 10 + (text[i] - '0');
    }
    if (i == first_digit || magnitude > magnitude_limit ||
        (magnitude == magnitude_limit && !is_negative)) {
        return false;
    }
    value = static_cast<int>(is_negative ? -magnitude : magnitude);
    return true;
}
