// Cuts a stream of bytes into lines.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace printer_simulator {

/// Collects bytes and hands out whole lines, without their line feed, with numbers from 1.
class LineSplitter {
public:
    using LineFunction = std::function<void(std::string_view line, unsigned number)>;

    explicit LineSplitter(LineFunction line_function) : line_function_(std::move(line_function)) {}

    void feed(std::string_view bytes);
    /// Hands out a last line that has no line feed.
    void end();

private:
    LineFunction line_function_;
    std::string pending_;
    unsigned number_ = 0;
};

} // namespace printer_simulator
