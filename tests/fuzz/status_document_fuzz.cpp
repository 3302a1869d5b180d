// Any text as the status document: parsing never fails, and gives at most one error, of a printer
// that has a name. What libxml2 takes for an XML document says by itself which error that must be.
//
// Both must agree when the text up to its first zero byte is well-formed XML in UTF-8, unless it
//
// - has a document type or a processing instruction, which tinyxml2 does not read,
// - is nested deeper than 50 elements: how deep it reads is the library's matter,
// - has a line feed and a carriage return in that order, which tinyxml2 takes for one line end,
// - has a field that begins with a comment, or with blanks some of which are references: whether
//   that is text depends on tinyxml2's release.
//
// Text that is not well-formed may be read or not; libxml2 is stricter.

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include <libxml/parser.h>
#include <libxml/tree.h>

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

struct DocumentFreer {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using DocumentPtr = std::unique_ptr<xmlDoc, DocumentFreer>;

std::string to_string(const xmlChar* text) {
    return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

// As it is written, with the prefix.
std::string name_of(const xmlNode* element) {
    const bool has_prefix = element->ns != nullptr && element->ns->prefix != nullptr;
    return (has_prefix ? to_string(element->ns->prefix) + ":" : "") + to_string(element->name);
}

bool is_blank_text(const xmlNode* node) {
    const auto text = to_string(node->content);
    return node->type == XML_TEXT_NODE && std::all_of(text.begin(), text.end(), is_blank);
}

// Where the text of a field stands: blanks between two tags are none.
const xmlNode* find_content(const xmlNode* field) {
    const auto* child = field->children;
    while (child != nullptr && is_blank_text(child)) {
        child = child->next;
    }
    return child;
}

bool is_judged_below(const xmlNode* node, bool has_references, int depth) {
    for (; node != nullptr; node = node->next) {
        if (node->type == XML_DTD_NODE || node->type == XML_PI_NODE || depth > 50) {
            return false;
        }
        if (node->type != XML_ELEMENT_NODE) {
            continue;
        }
        const auto* content = find_content(node);
        if ((content != nullptr && content->type == XML_COMMENT_NODE) ||
            (has_references && content != node->children) ||
            !is_judged_below(node->children, has_references, depth + 1)) {
            return false;
        }
    }
    return true;
}

// The document when it is one of those on which both must agree, or null.
DocumentPtr read_judged_document(const std::string& text) {
    DocumentPtr document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8",
                                       XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET));
    const bool is_judged =
        document != nullptr && text.find("\n\r") == std::string::npos &&
        is_judged_below(document->children, text.find("&#") != std::string::npos, 0);
    return is_judged ? std::move(document) : nullptr;
}

ZORPrinterError read_error(const xmlNode* root) {
    ZORPrinterError error;
    error.gui_action_code = name_of(root) == "RemovePrinterError" ? REMOVE_ERROR : SHOW_ERROR;
    for (const auto* child = root->children; child != nullptr; child = child->next) {
        const auto* field =
            std::find_if(FIELDS.begin(), FIELDS.end(), [child](const status_field& each) {
                return child->type == XML_ELEMENT_NODE && name_of(child) == each.element;
            });
        if (field != FIELDS.end()) {
            const auto* content = find_content(child);
            const bool is_text = content != nullptr && (content->type == XML_TEXT_NODE ||
                                                        content->type == XML_CDATA_SECTION_NODE);
            error.*field->text = is_text ? to_string(content->content) : "";
        }
    }
    return error;
}

void check_same(const std::vector<ZORPrinterError>& errors, const ZORPrinterError& expected) {
    require(errors.empty() == expected.printer_name.empty(), "an error too many or too few");
    for (const auto& error : errors) {
        require(error.gui_action_code == expected.gui_action_code, "another action code");
        for (const auto& field : FIELDS) {
            require(error.*field.text == expected.*field.text,
                    std::string("another text: ") + field.element);
        }
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = to_text(data, size);
    const auto status = parse_printer_status(text);
    require(status.raw_status_text == text, "the raw text is not kept");
    require(status.errors.size() <= 1, "more than one error");
    require(status.errors.empty() || !status.errors[0].printer_name.empty(), "a nameless printer");
    if (const auto document = read_judged_document(text.c_str())) {
        check_same(status.errors, read_error(xmlDocGetRootElement(document.get())));
    }
    return 0;
}
