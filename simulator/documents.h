// The XML documents of the printer service link: status events out, job commands in.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace printer_simulator {

// The text that starts every status request; the quoted previous reply follows it directly.
inline constexpr std::string_view STATUS_REQUEST = "{{get-published-info}}";

// Action codes of a job command, as they stand in its `Action` element.
inline constexpr int ACTION_CANCEL = 100;
inline constexpr int ACTION_RESUME = 101;
inline constexpr int ACTION_RETRY = 102;

// `cancel`, `resume`, `retry`, or `unknown` for any other code.
std::string_view action_name(int action);

// One error of one printer job. All fields are texts of arbitrary bytes, sent as they are.
struct PrinterError {
    std::string printer;
    std::string job;
    std::string code;
    std::string severity;
    std::string text;
    std::string service_code = "0";
};

enum class EventKind { show, remove };

// A complete status document: root `PrinterStatus` (show) or `RemovePrinterError` (remove), the
// error's fields, `PrinterState`, and `EventNumber`, which makes the text of each event unique.
std::string status_document(EventKind kind, const PrinterError& error, std::uint64_t event_number);

// The status document of a service that has nothing to tell: no `PrinterName`, so no error.
const std::string& idle_document();

// The same for a client that has got all events up to `event_number`, which is quoted as its
// place; 0 gives the plain one.
std::string idle_document_after(std::uint64_t event_number);

// The number in such a document; nothing for any other text.
std::optional<std::uint64_t> idle_document_position(std::string_view text);

// The answer to a job command; `result` is one of the fixed words documented in protocol.md.
std::string action_result_document(std::string_view result);

// A job command as its `PrinterAction` document holds it.
struct JobCommand {
    std::string printer;
    std::string job;
    std::string error_code;
    int action = 0;
};

// Reads a `PrinterAction` document. Nothing when the text is not well-formed, has another root
// element, or when its `Action` is not a whole number; missing texts are empty.
std::optional<JobCommand> parse_job_command(std::string_view text);

} // namespace printer_simulator
