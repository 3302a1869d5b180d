#include "zor_printer_io.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <sstream>
#include <utility>

#include <tinyxml2.h>

#include "gui_logger.h"

namespace {

constexpr const char* my_endl = "\n";

using length_prefix = std::array<unsigned char, 8>;

length_prefix encode_length(std::uint64_t length) {
    length_prefix bytes{};
    for (auto& byte : bytes) {
        byte = static_cast<unsigned char>(length & 0xFF);
        length >>= 8;
    }
    return bytes;
}

std::uint64_t decode_length(const length_prefix& bytes) {
    std::uint64_t length = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) {
        length = (length << 8) | bytes[i];
    }
    return length;
}

// The text that an element of this name fills, or null when the name is not one of theirs.
std::string* find_field(ZORPrinterError& error, const std::string& name) {
    if (name == "PrinterName") {
        return &error.printer_name;
    }
    if (name == "PrinterJobID") {
        return &error.printer_job_id;
    }
    if (name == "ErrorCode") {
        return &error.error_code;
    }
    if (name == "ErrorString") {
        return &error.error_string;
    }
    if (name == "ErrorSeverity") {
        return &error.error_severity;
    }
    if (name == "ServiceCode") {
        return &error.service_code;
    }
    return nullptr;
}

const char* find_xml_entity(char c) {
    switch (c) {
    case '"':
        return "&quot;";
    case '\'':
        return "&apos;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '&':
        return "&amp;";
    default:
        return nullptr;
    }
}

} // namespace

std::shared_ptr<GUISocket> open_socket_to_local_printer_service() {
    const std::string PRINTER_SERVICE_ADDRESS = "127.0.0.1";
    constexpr int PRINTER_SERVICE_PORT = 1753;
    constexpr int read_timeout_ms = 15000;
    constexpr int write_timeout_ms = 1000;
    auto soc = std::make_shared<GUISocket>(PRINTER_SERVICE_ADDRESS, PRINTER_SERVICE_PORT);
    soc->set_read_write_timeouts_milliseconds(read_timeout_ms, write_timeout_ms);
    return soc;
}

std::string execute_printer_op(const std::string& command) {
    GUI_LOG(VERBOSE, "begin; command=" << command);
    const auto soc = open_socket_to_local_printer_service();
    const auto command_length = encode_length(command.size());
    soc->send_all(command_length.data(), command_length.size());
    soc->send_all(command.data(), command.size());

    GUI_LOG(VERBOSE, "reading reply length");
    length_prefix reply_length_bytes{};
    soc->receive_all(reply_length_bytes.data(), reply_length_bytes.size());
    const std::uint64_t reply_length = decode_length(reply_length_bytes);
    GUI_LOG(VERBOSE, "read reply length=" << static_cast<std::int64_t>(reply_length));
    if (reply_length == 0) {
        return {};
    }
    // The length has 64 bits on every machine; one of 32 bits would cut it and take a part of the
    // reply for the whole.
    if (!std::in_range<std::size_t>(reply_length)) {
        throw std::bad_alloc();
    }
    const auto reply_size = static_cast<std::size_t>(reply_length);
    // Not filled beforehand: a length that lies must cost address space, not memory.
    const auto reply_bytes = std::make_unique_for_overwrite<char[]>(reply_size);
    GUI_LOG(VERBOSE, "reading reply bytes");
    soc->receive_all(reply_bytes.get(), reply_size);
    GUI_LOG(VERBOSE, "read reply bytes");
    std::string reply_text(reply_bytes.get(), reply_size);
    GUI_LOG(VERBOSE, "end; reply_text=" << reply_text);
    return reply_text;
}

std::string safe_build_string(const char* text) {
    return text != nullptr ? std::string(text) : std::string();
}

ZORPrinterStatus get_updated_printer_status(const ZORPrinterStatus* prior) {
    GUI_LOG(VERBOSE, "begin");
    const auto soc = open_socket_to_local_printer_service();
    GUI_LOG(VERBOSE, "soc created");
    std::string command = "{{get-published-info}}";
    if (prior != nullptr) {
        command += prior->raw_status_text;
    }
    const auto reply_text = execute_printer_op(command);
    auto status = parse_printer_status(reply_text);
    GUI_LOG(VERBOSE, "end; status_text=" << reply_text);
    return status;
}

ZORPrinterStatus parse_printer_status(const std::string& raw_text) {
    GUI_LOG(VERBOSE, "begin; text=" << raw_text);
    ZORPrinterStatus status;
    status.raw_status_text = raw_text;
    tinyxml2::XMLDocument doc(true, tinyxml2::PRESERVE_WHITESPACE);
    doc.Parse(raw_text.c_str());
    const tinyxml2::XMLElement* top = tinyxml2::XMLHandle(doc).FirstChildElement().ToElement();
    if (top == nullptr || top->Name() == nullptr) {
        GUI_LOG(VERBOSE, "no root element");
    } else {
        const std::string root_element_name = top->Name();
        GUI_LOG(VERBOSE, "top element name: " << root_element_name);
        ZORPrinterError current_error;
        current_error.gui_action_code =
            root_element_name == "RemovePrinterError" ? REMOVE_ERROR : SHOW_ERROR;
        for (const tinyxml2::XMLNode* node = top->FirstChildElement(); node != nullptr;
             node = node->NextSibling()) {
            const tinyxml2::XMLElement* e = node->ToElement();
            if (e == nullptr) {
                continue;
            }
            const auto name = safe_build_string(e->Name());
            const auto value = safe_build_string(e->GetText());
            GUI_LOG(VERBOSE, "    Handling field: " << name << "=" << value << ".");
            if (auto* field = find_field(current_error, name)) {
                *field = value;
            }
        }
        if (!current_error.printer_name.empty()) {
            status.errors.push_back(current_error);
        }
    }
    GUI_LOG(VERBOSE, "end; num errors=" << status.errors.size());
    return status;
}

std::string xml_escape(const std::string& text) {
    std::ostringstream builder;
    for (const char c : text) {
        if (const char* entity = find_xml_entity(c)) {
            builder << entity;
        } else {
            builder << c;
        }
    }
    return builder.str();
}

void execute_printer_job_command(const std::string& printer_name, const std::string& printer_job_id,
                                 const std::string& error_code, int command) {
    GUI_LOG(NORMAL, "begin; printer_name=" << printer_name << " job=" << printer_job_id
                                           << " error_code=" << error_code
                                           << " command=" << command);
    std::ostringstream command_builder;
    command_builder << "<?xml version=\"1.0\" encoding=\"utf-8\"?>" << my_endl;
    command_builder << "<PrinterAction>" << my_endl;
    command_builder << "    <PrinterName>" << xml_escape(printer_name) << "</PrinterName>"
                    << my_endl;
    command_builder << "    <Action>" << command << "</Action>" << my_endl;
    command_builder << "    <PrinterJobID>" << xml_escape(printer_job_id) << "</PrinterJobID>"
                    << my_endl;
    command_builder << "    <ErrorCode>" << xml_escape(error_code) << "</ErrorCode>" << my_endl;
    command_builder << "</PrinterAction>" << my_endl;
    const auto command_text = command_builder.str();
    execute_printer_op(command_text);
    GUI_LOG(NORMAL, "end");
}
