#include "simulator_program.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace printer_simulator {

SimulatorProgram::SimulatorProgram(ProgramOptions options)
    : m_options(std::move(options)), m_loop(g_main_loop_new(nullptr, FALSE)),
      m_service({[this](const Occurrence& occurrence) { happened(occurrence); }, frame_listener()}),
      m_timeline(nullptr, [this] { end_if_all_is_done(); }),
      m_expectations(m_timeline, [this](const Occurrence& occurrence) { show(occurrence); }),
      m_interpreter(m_service, m_timeline, m_expectations, interpreter_output()),
      m_input_lines([this](std::string_view line, unsigned number) {
          m_interpreter.execute(line, "stdin:" + std::to_string(number));
      }) {}

int SimulatorProgram::run() {
    if (!m_options.checked_scenarios.empty()) {
        return read_scenarios(m_options.checked_scenarios) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    if (read_scenarios(m_options.scenarios) != 0 && !m_options.skip_bad_lines) {
        return EXIT_FAILURE;
    }
    if (!m_options.capture_directory.empty() &&
        g_mkdir_with_parents(m_options.capture_directory.c_str(), 0755) != 0) {
        throw std::runtime_error("cannot make directory " + m_options.capture_directory);
    }
    serve();
    m_expectations.end();
    write_line(Occurrence("ended").word("reason", m_end_reason).line());
    return m_expectations.missed() == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

unsigned SimulatorProgram::read_scenarios(const std::vector<std::string>& paths) {
    unsigned bad_lines = 0;
    for (const std::string& path : paths) {
        m_scenarios.push_back(m_interpreter.read_scenario(file_content(path), path));
        bad_lines += m_scenarios.back().bad_lines;
    }
    return bad_lines;
}

void SimulatorProgram::serve() {
    const auto on_signal = [this] {
        end("signal");
        return true;
    };
    m_terminate_signal = MainSource::unix_signal(nullptr, SIGTERM, on_signal);
    m_interrupt_signal = MainSource::unix_signal(nullptr, SIGINT, on_signal);
    m_service.listen(m_options.port);
    for (const Scenario& scenario : m_scenarios) {
        m_interpreter.play(scenario);
    }
    announce_readiness();
    if (!m_options.no_stdin) {
        if (isatty(STDIN_FILENO) != 0) {
            std::fputs("Type \"help\" to see the commands.\n", stderr);
        }
        m_input =
            MainSource::readable(nullptr, STDIN_FILENO, [this] { return read_standard_input(); });
    }
    end_if_all_is_done();
    if (m_end_reason.empty()) {
        g_main_loop_run(m_loop.get());
    }
}

void SimulatorProgram::announce_readiness() const {
    show(Occurrence("ready").number("port", m_service.port()));
    if (!m_options.ready_descriptor) {
        return;
    }
    const std::string line = "port=" + std::to_string(m_service.port()) + "\n";
    const ssize_t written = write(*m_options.ready_descriptor, line.data(), line.size());
    if (written != static_cast<ssize_t>(line.size())) {
        throw std::runtime_error("cannot write to descriptor " +
                                 std::to_string(*m_options.ready_descriptor));
    }
    close(*m_options.ready_descriptor);
}

bool SimulatorProgram::read_standard_input() {
    std::array<char, 65536> buffer;
    const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
        return true;
    }
    if (count <= 0) {
        input_ended();
        return false;
    }
    m_input_lines.feed({buffer.data(), static_cast<std::size_t>(count)});
    return true;
}

void SimulatorProgram::input_ended() {
    m_input_lines.end();
    m_input_has_ended = true;
    end_if_all_is_done();
}

void SimulatorProgram::end_if_all_is_done() {
    if (!m_timeline.empty()) {
        return;
    }
    if (m_options.exit_after_scenario) {
        end("end-of-scenario");
    } else if (m_options.exit_at_eof && m_input_has_ended) {
        end("end-of-input");
    }
}

void SimulatorProgram::end(std::string_view reason) {
    if (m_end_reason.empty()) {
        m_end_reason = reason;
    }
    g_main_loop_quit(m_loop.get());
}

void SimulatorProgram::write_line(std::string_view line) const {
    std::string out;
    if (m_options.timestamps) {
        out = std::to_string(g_get_monotonic_time()) + ' ';
    }
    out += line;
    out += '\n';
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fflush(stdout);
}

void SimulatorProgram::happened(const Occurrence& occurrence) {
    show(occurrence);
    m_expectations.saw(occurrence);
}

void SimulatorProgram::show(const Occurrence& occurrence) const {
    if (m_options.verbose || !occurrence.is_routine()) {
        write_line(occurrence.line());
    }
}

InterpreterOutput SimulatorProgram::interpreter_output() {
    InterpreterOutput output;
    output.answer = [this](std::string_view line) {
        write_line(line);
    };
    output.complain = [](const std::string& where, const std::string& message) {
        std::fprintf(stderr, "%s: %s\n", where.c_str(), message.c_str());
    };
    output.quit = [this] {
        end("quit");
    };
    return output;
}

std::function<void(std::uint64_t, bool, std::string_view)> SimulatorProgram::frame_listener() {
    if (m_options.capture_directory.empty()) {
        return {};
    }
    return [this](std::uint64_t connection, bool is_request, std::string_view frame) {
        capture(connection, is_request, frame);
    };
}

void SimulatorProgram::capture(std::uint64_t connection, bool is_request,
                               std::string_view frame) const {
    std::array<char, 64> name;
    std::snprintf(name.data(), name.size(), "%06llu-%s.bin",
                  static_cast<unsigned long long>(connection), is_request ? "request" : "reply");
    const std::string path = m_options.capture_directory + "/" + name.data();
    std::ofstream file(path, std::ios::binary);
    if (!file.write(frame.data(), static_cast<std::streamsize>(frame.size()))) {
        std::fprintf(stderr, "cannot write capture: %s\n", path.c_str());
    }
}

} // namespace printer_simulator
