// Any text where the program wants a number: the leading number in decimal, or an exception that
// names the text.

#include <stdexcept>
#include <string>

#include "fuzz_support.h"

// The function under test is local to the main source, whose entry becomes an ordinary function.
#define main zor_main
#include "zor-card-printer-error-ui.cpp"
#undef main

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = to_text(data, size);
    int expected = 0;
    const bool is_number = expected_int(text, expected);
    try {
        const int value = parse_text_easy<int>(text);
        require(is_number, "a number where there is none");
        require(value == expected, "another number");
    } catch (const std::runtime_error& ex) {
        require(!is_number, "no number where there is one");
        // What follows a zero byte is not part of a C string.
        const std::string message = "Failed to parse " + text + ".";
        require(std::string(ex.what()) == message.c_str(), "another message");
    }
    return 0;
}
