// The optional system-wide configuration file, read anew at every request.
#pragma once

#include <istream>
#include <string>

// All functions here keep no state, report nothing, and may be called from any thread. A missing
// or unreadable file, a line of another form and a value that is no number end in the default.

// The longest line that read_line returns whole, in bytes; one byte more ends the reading.
constexpr std::streamsize CONFIG_LINE_BUFFER_SIZE = 1048576;
constexpr std::streamsize CONFIG_LINE_MAX_LENGTH = CONFIG_LINE_BUFFER_SIZE - 1;

// Reads one line and consumes its line feed. Returns the line up to its first zero byte, or the
// empty text when the stream is not good afterwards: a line longer than CONFIG_LINE_MAX_LENGTH, or
// a last line without a line feed.
std::string read_line(std::istream& input);

// Takes a line of the form `name = value` apart. Blanks (of the "C" locale: blank, tab, line feed,
// vertical tab, form feed, carriage return) around the three parts are dropped; name and value are
// each one run of non-blanks. Returns whether the line has that form; when it has not, name and
// value are left alone. Gives what a search for the ECMAScript regular expression
// ^\s*(\S+)\s*=\s*(\S+)\s*$ gives, for every line, in linear time and constant stack.
bool split_name_value_pair(const std::string& line, std::string& name, std::string& value);

// The value in the first line of /etc/zor-card-printer.conf whose name equals config_key (case
// matters), or the empty text.
std::string read_config_setting(const std::string& config_key);

// The leading decimal number of that value, or default_value when there is none or it does not fit
// an int.
int read_config_int_setting(const std::string& config_key, int default_value);

// diagnostics.level: 0 or less logs nothing, 1 the normal lines, 2 or more the verbose ones too.
int gui_config_get_diagnostic_level();
