// Cuts a stream of bytes into lines.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace printer_simulator {

// Collects bytes and hands out whole lines, without their line feed, with numbers from 1.
class LineSplitter {
public:
    using LineFunction = std::function<void(std::string_view line, unsigned number)>;

    explicit LineSplitter(LineFunction line_function) : m_line_function(std::move(line_function)) {}

    void feed(std::string_view bytes);
    // Hands out a last line that has no line feed.
    void end();

private:
    LineFunction m_line_function;
    std::string m_pending;
    unsigned m_number = 0;
};

} // namespace printer_simulator
