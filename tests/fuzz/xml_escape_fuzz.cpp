// Any text in a document: escaped, it stands there as text, and the XML library reads it back.

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include <tinyxml2.h>

#include "fuzz_support.h"
#include "zor_printer_io.h"

namespace {

constexpr std::array<std::pair<std::string_view, char>, 5> ENTITIES{{
    {"&quot;", '"'},
    {"&apos;", '\''},
    {"&lt;", '<'},
    {"&gt;", '>'},
    {"&amp;", '&'},
}};

// The text that an escaped one stands for. Ends the process at a character that should have been
// escaped.
std::string unescaped(std::string_view escaped) {
    std::string text;
    while (!escaped.empty()) {
        const auto* entity = std::find_if(ENTITIES.begin(), ENTITIES.end(), [&](const auto& entry) {
            return escaped.substr(0, entry.first.size()) == entry.first;
        });
        if (entity != ENTITIES.end()) {
            text += entity->second;
            escaped.remove_prefix(entity->first.size());
            continue;
        }
        require(std::string_view("\"'<>&").find(escaped[0]) == std::string_view::npos,
                "a character is not escaped");
        text += escaped[0];
        escaped.remove_prefix(1);
    }
    return text;
}

// What the XML library reads for a text in an element: carriage return, line feed, and a pair of
// both in either order are one line feed each, and a text of blanks alone counts as none.
std::string as_read(const std::string& text) {
    if (std::all_of(text.begin(), text.end(), is_blank)) {
        return {};
    }
    constexpr std::string_view line_ends = "\r\n";
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (line_ends.find(text[i]) == std::string_view::npos) {
            result += text[i];
            continue;
        }
        result += '\n';
        const bool is_pair = i + 1 < text.size() && text[i + 1] != text[i] &&
                             line_ends.find(text[i + 1]) != std::string_view::npos;
        i += is_pair ? 1 : 0;
    }
    return result;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = to_text(data, size);
    const auto escaped = xml_escape(text);
    require(unescaped(escaped) == text, "another text comes back");
    if (text.find('\0') != std::string::npos) {
        return 0; // an XML text ends at a zero byte
    }
    const auto document = "<a>" + escaped + "</a>";
    tinyxml2::XMLDocument doc(true, tinyxml2::PRESERVE_WHITESPACE);
    require(doc.Parse(document.c_str()) == tinyxml2::XML_SUCCESS, "the document does not parse");
    require(safe_build_string(doc.RootElement()->GetText()) == as_read(text),
            "the XML library reads another text");
    return 0;
}
