#include "gui_config.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <memory>
#include <streambuf>
#include <string_view>
#include <system_error>

namespace {

// Of the "C" locale: blank, tab, line feed, vertical tab, form feed, carriage return.
constexpr bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// A file to be read. Every log call opens one, and there are some thirty in each poll: what
// std::filebuf does besides reading would be most of their cost.
class FileBuffer : public std::streambuf {
public:
    explicit FileBuffer(const char* path) : m_file(open(path, O_RDONLY | O_CLOEXEC)) {}
    ~FileBuffer() override {
        if (is_open()) {
            close(m_file);
        }
    }
    FileBuffer(const FileBuffer&) = delete;
    FileBuffer& operator=(const FileBuffer&) = delete;

    bool is_open() const { return m_file != -1; }

protected:
    int_type underflow() override {
        const auto count = read(m_file, m_bytes.data(), m_bytes.size());
        if (count <= 0) {
            return traits_type::eof();
        }
        setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + count);
        return traits_type::to_int_type(m_bytes[0]);
    }

private:
    int m_file;
    std::array<char, 4096> m_bytes;
};

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && is_blank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && is_blank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// The place of the last blank, or npos.
std::size_t find_last_blank(std::string_view text) {
    const auto blank = std::find_if(text.rbegin(), text.rend(), is_blank);
    return blank == text.rend() ? std::string_view::npos
                                : static_cast<std::size_t>(text.rend() - blank) - 1;
}

bool has_blank(std::string_view text) {
    return std::any_of(text.begin(), text.end(), is_blank);
}

// Takes text apart at the equals sign at this place, if both sides are then one run of non-blanks.
bool split_at(std::string_view text, std::size_t separator, std::string& name, std::string& value) {
    const auto left = trimmed(text.substr(0, separator));
    const auto right = trimmed(text.substr(separator + 1));
    if (text[separator] != '=' || left.empty() || right.empty() || has_blank(left) ||
        has_blank(right)) {
        return false;
    }
    name = left;
    value = right;
    return true;
}

} // namespace

std::string read_line(std::istream& input) {
    // getline ends what it stores with a zero byte, so the rest of the buffer is never read and
    // need not be written: filling a mebibyte for each line would be most of a log call's cost.
    const auto buffer = std::make_unique_for_overwrite<char[]>(CONFIG_LINE_BUFFER_SIZE);
    input.getline(buffer.get(), CONFIG_LINE_BUFFER_SIZE, '\n');
    return input.good() ? std::string(buffer.get()) : std::string();
}

bool split_name_value_pair(const std::string& line, std::string& name, std::string& value) {
    // The name takes as much as it can, so of several equals signs the last one decides that leaves
    // both sides valid; no sign before the last word but the nearest one can.
    const auto text = trimmed(line);
    const auto last_blank = find_last_blank(text);
    if (last_blank == std::string_view::npos) {
        const auto sign =
            text.size() < 2 ? std::string_view::npos : text.rfind('=', text.size() - 2);
        return sign != std::string_view::npos && split_at(text, sign, name, value);
    }
    return split_at(text, last_blank + 1, name, value) ||
           split_at(text, trimmed(text.substr(0, last_blank)).size() - 1, name, value);
}

std::string read_config_setting(const std::string& config_key) {
    constexpr const char* path = "/etc/zor-card-printer.conf";
    // Asking first costs half of an open that fails, and mostly there is no file.
    if (access(path, R_OK) != 0) {
        return {};
    }
    FileBuffer file(path);
    if (!file.is_open()) {
        return {};
    }
    std::istream input_stream(&file);
    while (input_stream.good()) {
        const auto line = read_line(input_stream);
        std::string name;
        std::string value;
        if (split_name_value_pair(line, name, value) && name == config_key) {
            return value;
        }
    }
    return {};
}

int read_config_int_setting(const std::string& config_key, int default_value) {
    const auto raw_value = read_config_setting(config_key);
    if (raw_value.empty()) {
        return default_value;
    }
    // What a string stream would read, at a tenth of its cost: it takes a plus sign too.
    const char* first = raw_value.data();
    const char* const last = first + raw_value.size();
    if (*first == '+' && last - first > 1 && first[1] != '-') {
        ++first;
    }
    int value = 0;
    return std::from_chars(first, last, value).ec == std::errc() ? value : default_value;
}

int gui_config_get_diagnostic_level() {
    return read_config_int_setting("diagnostics.level", 0);
}
