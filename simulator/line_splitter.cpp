#include "line_splitter.h"

#include <utility>

namespace printer_simulator {

void LineSplitter::feed(std::string_view bytes) {
    for (std::size_t end = bytes.find('\n'); end != std::string_view::npos;
         end = bytes.find('\n')) {
        m_pending += bytes.substr(0, end);
        bytes.remove_prefix(end + 1);
        m_line_function(std::exchange(m_pending, {}), ++m_number);
    }
    m_pending += bytes;
}

void LineSplitter::end() {
    if (!m_pending.empty()) {
        m_line_function(std::exchange(m_pending, {}), ++m_number);
    }
}

} // namespace printer_simulator
