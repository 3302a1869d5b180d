// The frame of the printer service link: an 8-byte little-endian length, then that many bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace printer_simulator {

inline constexpr std::size_t PREFIX_SIZE = 8;

// Longest request text that the simulator takes: 1 GiB.
inline constexpr std::uint64_t REQUEST_LIMIT = std::uint64_t{1} << 30;

// The 8 bytes that announce `length` bytes of text, least significant byte first on any host.
std::string frame_prefix(std::uint64_t length);

// The length that the first 8 bytes of `bytes` announce; `bytes` holds at least 8.
std::uint64_t decoded_prefix(std::string_view bytes);

// `text` with its prefix.
std::string framed(std::string_view text);

// Puts one frame together from pieces of any size. Memory grows with the bytes that came, never
// with the length that the prefix announces.
class FrameReader {
public:
    enum class State { incomplete, complete, too_long };

    // Takes what belongs to the frame and returns how many bytes that were.
    std::size_t feed(std::string_view bytes);

    State state() const noexcept;
    // The announced length; 0 until the prefix is complete.
    std::uint64_t announced() const noexcept { return m_announced; }
    const std::string& prefix() const noexcept { return m_prefix; }
    const std::string& text() const noexcept { return m_text; }

private:
    std::string m_prefix;
    std::uint64_t m_announced = 0;
    std::string m_text;
};

} // namespace printer_simulator
