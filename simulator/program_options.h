// The command line of zor-printer-service-simulator.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "printer_service.h"

namespace printer_simulator {

struct ProgramOptions {
    std::uint16_t port = PRINTER_SERVICE_PORT;
    std::vector<std::string> scenarios;
    std::vector<std::string> checked_scenarios; // to be read only
    std::string capture_directory;              // empty for none
    std::optional<int> ready_descriptor;
    bool verbose = false;
    bool timestamps = false;
    bool exit_at_eof = false;
    bool exit_after_scenario = false;
    bool skip_bad_lines = false;
    bool no_stdin = false;
    bool version = false;
};

// The command line cannot be understood; `what()` says why.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads the command line. `--help` prints its text on standard output and ends the process with
// status 0. Throws UsageError.
ProgramOptions parse_program_options(int argc, char** argv);

} // namespace printer_simulator
