// Any bytes as the configuration file: the diagnostic level is the one that a plain reading of the
// file gives. Writes /etc/zor-card-printer.conf, so it is for the sandbox.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "fuzz_support.h"
#include "gui_config.h"
#include "gui_logger.h"

namespace {

constexpr const char* CONFIG_PATH = "/etc/zor-card-printer.conf";

void write_config_file(std::string_view content) {
    const int file = open(CONFIG_PATH, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    require(file >= 0, "cannot write the configuration file: not in the sandbox?");
    require(write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size()),
            "cannot write the configuration file");
    close(file);
}

// The value of the first line for the key, from the text as a whole: only lines that end with a
// line feed and are not too long count, each up to its first zero byte.
std::string expected_setting(std::string_view content, const std::string& key) {
    for (;;) {
        const auto line_end = content.find('\n');
        if (line_end == std::string_view::npos ||
            line_end > static_cast<std::size_t>(CONFIG_LINE_MAX_LENGTH)) {
            return {};
        }
        std::string line(content.substr(0, line_end));
        line.resize(std::min(line.size(), line.find('\0')));
        std::string name;
        std::string value;
        if (split_name_value_pair(line, name, value) && name == key) {
            return value;
        }
        content.remove_prefix(line_end + 1);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto content = to_text(data, size);
    write_config_file(content);
    const auto value = expected_setting(content, "diagnostics.level");
    constexpr int default_level = -7;
    int level = 0;
    if (!expected_int(value, level)) {
        level = default_level;
    }
    // Each reading takes a mebibyte for each line, so there are few of them.
    require(read_config_int_setting("diagnostics.level", default_level) == level,
            "another diagnostic level");
    require(is_gui_log_level_enabled(VERBOSE) == (level > 1), "another answer for verbose lines");
    return 0;
}
