#include "documents.h"

#include <algorithm>
#include <charconv>

#include <tinyxml2.h>

namespace printer_simulator {

namespace {

constexpr std::string_view DECLARATION = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

std::string xml_escaped(std::string_view text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '"':
            out += "&quot;";
            break;
        case '\'':
            out += "&apos;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '&':
            out += "&amp;";
            break;
        // XML readers turn a plain carriage return into a line feed.
        case '\r':
            out += "&#13;";
            break;
        default:
            out += c;
            break;
        }
    }
    return out;
}

void append_element(std::string& out, std::string_view name, std::string_view value) {
    out.append("    <").append(name).append(">");
    out.append(xml_escaped(value));
    out.append("</").append(name).append(">\n");
}

std::string element_text(const tinyxml2::XMLElement& parent, const char* name) {
    const tinyxml2::XMLElement* element = parent.FirstChildElement(name);
    const char* text = element != nullptr ? element->GetText() : nullptr;
    return text != nullptr ? text : "";
}

std::optional<int> parse_whole_number(const std::string& text) {
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return value;
}

} // namespace

std::string_view action_name(int action) {
    switch (action) {
    case ACTION_CANCEL:
        return "cancel";
    case ACTION_RESUME:
        return "resume";
    case ACTION_RETRY:
        return "retry";
    default:
        return "unknown";
    }
}

std::string status_document(EventKind kind, const PrinterError& error, std::uint64_t event_number) {
    const bool show = kind == EventKind::show;
    const std::string root = show ? "PrinterStatus" : "RemovePrinterError";
    std::string out(DECLARATION);
    out += "<" + root + ">\n";
    append_element(out, "PrinterName", error.printer);
    append_element(out, "PrinterJobID", error.job);
    append_element(out, "ErrorCode", error.code);
    append_element(out, "ErrorString", error.text);
    append_element(out, "ErrorSeverity", error.severity);
    append_element(out, "ServiceCode", error.service_code);
    append_element(out, "PrinterState", show ? "Error" : "Ready");
    append_element(out, "EventNumber", std::to_string(event_number));
    out += "</" + root + ">\n";
    return out;
}

const std::string& idle_document() {
    static const std::string document = std::string(DECLARATION) +
                                        "<PrinterStatus>\n"
                                        "    <PrinterState>Ready</PrinterState>\n"
                                        "</PrinterStatus>\n";
    return document;
}

std::string idle_document_after(std::uint64_t event_number) {
    std::string out = idle_document();
    if (event_number != 0) {
        std::string element;
        append_element(element, "EventNumber", std::to_string(event_number));
        out.insert(out.rfind("</"), element);
    }
    return out;
}

std::optional<std::uint64_t> idle_document_position(std::string_view text) {
    if (text == idle_document()) {
        return 0;
    }
    constexpr std::string_view OPEN = "<EventNumber>";
    const std::string_view digits = text.substr(std::min(text.find(OPEN), text.size()));
    if (digits.empty()) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    std::from_chars(digits.data() + OPEN.size(), digits.data() + digits.size(), number);
    return text == idle_document_after(number) ? std::optional(number) : std::nullopt;
}

std::string action_result_document(std::string_view result) {
    std::string out(DECLARATION);
    out += "<PrinterActionResult>\n";
    append_element(out, "Result", result);
    out += "</PrinterActionResult>\n";
    return out;
}

std::optional<JobCommand> parse_job_command(std::string_view text) {
    tinyxml2::XMLDocument document(true, tinyxml2::PRESERVE_WHITESPACE);
    if (document.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) {
        return std::nullopt;
    }
    const tinyxml2::XMLElement* root = document.RootElement();
    if (root == nullptr || std::string_view(root->Name()) != "PrinterAction") {
        return std::nullopt;
    }
    const std::optional<int> action = parse_whole_number(element_text(*root, "Action"));
    if (!action) {
        return std::nullopt;
    }
    return JobCommand{element_text(*root, "PrinterName"), element_text(*root, "PrinterJobID"),
                      element_text(*root, "ErrorCode"), *action};
}

} // namespace printer_simulator
