// Any bytes as a line of the configuration file: short lines are taken apart as the regular
// expression of the format does, and any line gives a name and a value that are in it.

#include <algorithm>
#include <regex>
#include <string>

#include "fuzz_support.h"
#include "gui_config.h"

namespace {

// The library's regular expressions take time with the third power of the length, and a stack
// frame for each character.
constexpr std::size_t PATTERN_MAX_LENGTH = 64;

struct split_result {
    bool found = false;
    std::string name = "old name";
    std::string value = "old value";

    bool operator==(const split_result&) const = default;
};

split_result split_by_pattern(const std::string& line) {
    static const std::regex pattern(R"(^\s*(\S+)\s*=\s*(\S+)\s*$)");
    split_result result;
    std::smatch matcher;
    result.found = std::regex_search(line, matcher, pattern);
    if (result.found) {
        result.name = matcher[1];
        result.value = matcher[2];
    }
    return result;
}

bool is_one_word(const std::string& text) {
    return !text.empty() && std::none_of(text.begin(), text.end(), is_blank);
}

void check_parts(const std::string& line, const split_result& result) {
    if (!result.found) {
        require(result == split_result{}, "a name or value without a match");
        return;
    }
    require(is_one_word(result.name) && is_one_word(result.value), "a part is not one word");
    std::string words = result.name + "=" + result.value;
    std::string line_without_blanks;
    std::copy_if(line.begin(), line.end(), std::back_inserter(line_without_blanks),
                 [](char c) { return !is_blank(c); });
    require(words == line_without_blanks, "the parts do not make up the line");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto line = to_text(data, size);
    split_result result;
    result.found = split_name_value_pair(line, result.name, result.value);
    check_parts(line, result);
    if (line.size() <= PATTERN_MAX_LENGTH) {
        require(result == split_by_pattern(line), "the pattern gives another result");
    }
    return 0;
}
