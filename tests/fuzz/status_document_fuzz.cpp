// Any text as the status document: parsing never fails, and what it gives is what the text says.

#include <array>
#include <string>
#include <vector>

#include <tinyxml2.h>

#include "fuzz_support.h"
#include "zor_printer_io.h"

namespace {

struct status_field {
    const char* element;
    decltype(&ZORPrinterError::printer_name) text;
};

constexpr std::array<status_field, 6> FIELDS{{
    {"PrinterName", &ZORPrinterError::printer_name},
    {"PrinterJobID", &ZORPrinterError::printer_job_id},
    {"ErrorCode", &ZORPrinterError::error_code},
    {"ErrorString", &ZORPrinterError::error_string},
    {"ErrorSeverity", &ZORPrinterError::error_severity},
    {"ServiceCode", &ZORPrinterError::service_code},
}};

// The errors that the document holds, read element by element.
std::vector<ZORPrinterError> expected_errors(const std::string& text) {
    tinyxml2::XMLDocument doc(true, tinyxml2::PRESERVE_WHITESPACE);
    doc.Parse(text.c_str());
    const auto* root = doc.RootElement();
    if (root == nullptr) {
        return {};
    }
    ZORPrinterError error;
    error.gui_action_code =
        std::string(root->Name()) == "RemovePrinterError" ? REMOVE_ERROR : SHOW_ERROR;
    for (const auto& field : FIELDS) {
        for (const auto* element = root->FirstChildElement(field.element); element != nullptr;
             element = element->NextSiblingElement(field.element)) {
            error.*field.text = element->GetText() != nullptr ? element->GetText() : "";
        }
    }
    if (error.printer_name.empty()) {
        return {};
    }
    return {error};
}

void check_same_errors(const std::vector<ZORPrinterError>& a,
                       const std::vector<ZORPrinterError>& b) {
    require(a.size() == b.size(), "another number of errors");
    for (std::size_t i = 0; i < a.size(); ++i) {
        require(a[i].gui_action_code == b[i].gui_action_code, "another action code");
        for (const auto& field : FIELDS) {
            require(a[i].*field.text == b[i].*field.text,
                    std::string("another text: ") + field.element);
        }
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = to_text(data, size);
    const auto status = parse_printer_status(text);
    require(status.raw_status_text == text, "the raw text is not kept");
    check_same_errors(status.errors, expected_errors(text));
    return 0;
}
