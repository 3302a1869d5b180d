// The program around the simulated service: its inputs, its output lines, its end.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "command_interpreter.h"
#include "glib_support.h"
#include "line_splitter.h"
#include "printer_service.h"
#include "program_options.h"
#include "timeline.h"

namespace printer_simulator {

// Runs on the main thread and the global default main context.
class SimulatorProgram {
public:
    explicit SimulatorProgram(ProgramOptions options);

    // Reads the scenarios, listens, says so, and serves until a signal, `quit`, the end of input
    // or of the scenarios. Returns the exit status: 0 for a clean end, 1 when a scenario has bad
    // lines or an expectation was missed. Throws std::runtime_error when the port, a scenario or
    // the capture directory cannot be had.
    int run();

private:
    void announce_readiness() const;
    unsigned read_scenarios(const std::vector<std::string>& paths);
    void serve();
    bool read_standard_input();
    void input_ended();
    void end_if_all_is_done();
    void end(std::string_view reason);
    void write_line(std::string_view line) const;
    void show(const Occurrence& occurrence) const;
    void happened(const Occurrence& occurrence);
    InterpreterOutput interpreter_output();
    // What the service tells of each frame; empty when no directory takes them.
    std::function<void(std::uint64_t, bool, std::string_view)> frame_listener();
    void capture(std::uint64_t connection, bool is_request, std::string_view frame) const;

    const ProgramOptions m_options;
    GMainLoopPtr m_loop;
    PrinterService m_service;
    Timeline m_timeline;
    Expectations m_expectations;
    CommandInterpreter m_interpreter;
    LineSplitter m_input_lines;
    std::vector<Scenario> m_scenarios;
    bool m_input_has_ended = false;
    std::string m_end_reason;
    MainSource m_input;
    MainSource m_terminate_signal;
    MainSource m_interrupt_signal;
};

} // namespace printer_simulator
