// What the local printer service reports and what it is told: records, exchange, documents.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "gui_socket.h"

enum GUIActionCode : int {
    SHOW_ERROR = 0,   // the error is present: show a box for it
    REMOVE_ERROR = 1, // the error has gone: close its box
};

// One error of one printer job. All texts are exactly what the service sent; an element that it
// did not send leaves its text empty.
struct ZORPrinterError {
    // A record that nobody filled counts as a removal.
    GUIActionCode gui_action_code = REMOVE_ERROR;
    std::string printer_name;
    std::string printer_job_id;
    std::string error_code; // a number in decimal form, leading zeros kept
    std::string error_string;
    std::string error_severity;
    std::string service_code;
};

// One whole status reply.
struct ZORPrinterStatus {
    std::string raw_status_text; // byte for byte; goes back to the service with the next request
    std::vector<ZORPrinterError> errors; // none or one
};

// A connection to the printer service on this host (127.0.0.1, TCP port 1753) with 15 s to wait
// for each receive and 1 s for each send. Throws like GUISocket.
std::shared_ptr<GUISocket> open_socket_to_local_printer_service();

// One request and one reply on a connection of their own. Each way goes one frame: the number of
// bytes as 8 bytes, least significant first, then the bytes. Returns the reply's bytes, zero bytes
// included. Throws like GUISocket, and std::bad_alloc or one of its kind for a length that memory
// cannot hold. Several threads may call it at once.
std::string execute_printer_op(const std::string& command);

// The C string as a text; null gives the empty text.
std::string safe_build_string(const char* text);

// Asks the service for the event after prior (or, for null, for where it wants to begin), and
// parses the reply. A second connection, on which nothing is sent, stays open around the exchange:
// the service expects it. prior is only read. Throws like execute_printer_op. For the printer I/O
// thread.
ZORPrinterStatus get_updated_printer_status(const ZORPrinterStatus* prior);

// Reads a status document: root RemovePrinterError withdraws an error, any other root shows one;
// the children PrinterName, PrinterJobID, ErrorCode, ErrorString, ErrorSeverity and ServiceCode
// are its fields. Never fails: what is no such document gives a status without errors, and one
// without a printer name too. The raw text is kept in any case.
ZORPrinterStatus parse_printer_status(const std::string& raw_text);

// The text with the five characters " ' < > & written as XML entities, every other byte as it is.
std::string xml_escape(const std::string& text);

// What a job command asks the service to do with the job behind an error.
const int ZOR_PRINTER_ACTION_CODE_CANCEL_JOB = 100;
const int ZOR_PRINTER_ACTION_CODE_RESUME_JOB = 101;
const int ZOR_PRINTER_ACTION_CODE_RETRY_JOB = 102;

// Sends a PrinterAction document: action code `command`, as above, for the job behind the error.
// Returns when the service has answered, whatever it answered. Throws like execute_printer_op.
// Several threads may call it at once.
void execute_printer_job_command(const std::string& printer_name, const std::string& printer_job_id,
                                 const std::string& error_code, int command);
