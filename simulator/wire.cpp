#include "wire.h"

#include <algorithm>

namespace printer_simulator {

std::string frame_prefix(std::uint64_t length) {
    std::string bytes;
    for (std::size_t i = 0; i < PREFIX_SIZE; ++i) {
        bytes += static_cast<char>(static_cast<unsigned char>(length >> (8 * i)));
    }
    return bytes;
}

std::uint64_t decoded_prefix(std::string_view bytes) {
    std::uint64_t length = 0;
    for (std::size_t i = PREFIX_SIZE; i-- > 0;) {
        length = length << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return length;
}

std::string framed(std::string_view text) {
    std::string frame = frame_prefix(text.size());
    frame += text;
    return frame;
}

std::size_t FrameReader::feed(std::string_view bytes) {
    std::size_t used = 0;
    if (m_prefix.size() < PREFIX_SIZE) {
        used = std::min(PREFIX_SIZE - m_prefix.size(), bytes.size());
        m_prefix += bytes.substr(0, used);
        if (m_prefix.size() < PREFIX_SIZE) {
            return used;
        }
        m_announced = decoded_prefix(m_prefix);
    }
    if (state() == State::incomplete) {
        const std::uint64_t missing = m_announced - m_text.size();
        const std::size_t taken =
            static_cast<std::size_t>(std::min<std::uint64_t>(missing, bytes.size() - used));
        m_text += bytes.substr(used, taken);
        used += taken;
    }
    return used;
}

FrameReader::State FrameReader::state() const noexcept {
    if (m_prefix.size() < PREFIX_SIZE) {
        return State::incomplete;
    }
    if (m_announced > REQUEST_LIMIT) {
        return State::too_long;
    }
    return m_text.size() == m_announced ? State::complete : State::incomplete;
}

} // namespace printer_simulator
