#include "program_options.h"

#include <limits>

#include "glib_support.h"

namespace printer_simulator {

namespace {

struct GOptionContextFree {
    void operator()(GOptionContext* context) const noexcept { g_option_context_free(context); }
};

constexpr const char* SUMMARY =
    "Stands in for the local printer service: listens on 127.0.0.1, takes commands from\n"
    "standard input (type \"help\") and scenario files, and writes a line for each thing\n"
    "that happens.";

// The options as GLib's parser leaves them.
struct ParsedOptions {
    ParsedOptions() = default;
    ParsedOptions(const ParsedOptions&) = delete;
    ParsedOptions& operator=(const ParsedOptions&) = delete;
    ~ParsedOptions() {
        g_strfreev(scenarios);
        g_strfreev(checked);
        g_free(capture);
    }

    int port = PRINTER_SERVICE_PORT;
    int ready_descriptor = -1;
    char** scenarios = nullptr;
    char** checked = nullptr;
    char* capture = nullptr;
    gboolean verbose = FALSE;
    gboolean timestamps = FALSE;
    gboolean exit_at_eof = FALSE;
    gboolean exit_after_scenario = FALSE;
    gboolean skip_bad_lines = FALSE;
    gboolean no_stdin = FALSE;
    gboolean version = FALSE;
};

void parse(int argc, char** argv, ParsedOptions& parsed) {
    const GOptionEntry entries[] = {
        {"port", 'p', 0, G_OPTION_ARG_INT, &parsed.port, "Listen on port N (1753; 0: any free one)",
         "N"},
        {"scenario", 's', 0, G_OPTION_ARG_FILENAME_ARRAY, &parsed.scenarios,
         "Play the timed commands of FILE (may be given several times)", "FILE"},
        {"exit-after-scenario", 0, 0, G_OPTION_ARG_NONE, &parsed.exit_after_scenario,
         "End after the last line of the scenarios", nullptr},
        {"skip-bad-lines", 0, 0, G_OPTION_ARG_NONE, &parsed.skip_bad_lines,
         "Play a scenario without the lines that make no sense", nullptr},
        {"check", 0, 0, G_OPTION_ARG_FILENAME_ARRAY, &parsed.checked,
         "Read FILE, name its bad lines, and end (may be given several times)", "FILE"},
        {"verbose", 'v', 0, G_OPTION_ARG_NONE, &parsed.verbose,
         "Show connections and uneventful polls too", nullptr},
        {"timestamps", 't', 0, G_OPTION_ARG_NONE, &parsed.timestamps,
         "Begin each line with the monotonic clock in microseconds", nullptr},
        {"capture", 'c', 0, G_OPTION_ARG_FILENAME, &parsed.capture,
         "Write each request and reply to a numbered file in DIR", "DIR"},
        {"ready-fd", 0, 0, G_OPTION_ARG_INT, &parsed.ready_descriptor,
         "Write \"port=N\" to descriptor FD once listening, and close it", "FD"},
        {"exit-at-eof", 0, 0, G_OPTION_ARG_NONE, &parsed.exit_at_eof,
         "End with standard input, after the last timed command", nullptr},
        {"no-stdin", 0, 0, G_OPTION_ARG_NONE, &parsed.no_stdin, "Do not read standard input",
         nullptr},
        {"version", 0, 0, G_OPTION_ARG_NONE, &parsed.version, "Show the version and end", nullptr},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr},
    };
    const std::unique_ptr<GOptionContext, GOptionContextFree> context(
        g_option_context_new(nullptr));
    g_option_context_set_summary(context.get(), SUMMARY);
    g_option_context_add_main_entries(context.get(), entries, nullptr);
    GError* raw_error = nullptr;
    const bool understood = g_option_context_parse(context.get(), &argc, &argv, &raw_error);
    const GErrorPtr error(raw_error);
    if (!understood) {
        throw UsageError(error->message);
    }
    if (argc > 1) {
        throw UsageError(std::string("unexpected argument ") + argv[1]);
    }
}

std::vector<std::string> texts(char** list) {
    std::vector<std::string> out;
    for (; list != nullptr && *list != nullptr; ++list) {
        out.emplace_back(*list);
    }
    return out;
}

ProgramOptions checked(const ParsedOptions& parsed) {
    if (parsed.port < 0 || parsed.port > std::numeric_limits<std::uint16_t>::max()) {
        throw UsageError("bad port " + std::to_string(parsed.port));
    }
    if (parsed.exit_at_eof && parsed.no_stdin) {
        throw UsageError("--exit-at-eof and --no-stdin exclude each other");
    }
    if (parsed.exit_after_scenario && parsed.scenarios == nullptr) {
        throw UsageError("--exit-after-scenario needs --scenario");
    }
    ProgramOptions options;
    options.port = static_cast<std::uint16_t>(parsed.port);
    options.scenarios = texts(parsed.scenarios);
    options.checked_scenarios = texts(parsed.checked);
    options.capture_directory = parsed.capture != nullptr ? parsed.capture : "";
    if (parsed.ready_descriptor >= 0) {
        options.ready_descriptor = parsed.ready_descriptor;
    }
    options.verbose = parsed.verbose;
    options.timestamps = parsed.timestamps;
    options.exit_at_eof = parsed.exit_at_eof;
    options.exit_after_scenario = parsed.exit_after_scenario;
    options.skip_bad_lines = parsed.skip_bad_lines;
    options.no_stdin = parsed.no_stdin;
    options.version = parsed.version;
    return options;
}

} // namespace

ProgramOptions parse_program_options(int argc, char** argv) {
    ParsedOptions parsed;
    parse(argc, argv, parsed);
    return checked(parsed);
}

} // namespace printer_simulator
