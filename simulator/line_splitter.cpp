#include "line_splitter.h"

#include <utility>

namespace printer_simulator {

void LineSplitter::feed(std::string_view bytes) {
    for (std::size_t end = bytes.find('\n'); end != std::string_view::npos;
         end = bytes.find('\n')) {
        pending_ += bytes.substr(0, end);
        bytes.remove_prefix(end + 1);
        line_function_(std::exchange(pending_, {}), ++number_);
    }
    pending_ += bytes;
}

void LineSplitter::end() {
    if (!pending_.empty()) {
        line_function_(std::exchange(pending_, {}), ++number_);
    }
}

} // namespace printer_simulator
