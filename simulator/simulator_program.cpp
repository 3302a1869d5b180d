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
    : options_(std::move(options)), loop_(g_main_loop_new(nullptr, FALSE)),
      service_({[this](const Occurrence& occurrence) { happened(occurrence); }, frame_listener()}),
      timeline_(nullptr, [this] { end_if_all_is_done(); }),
      expectations_(timeline_, [this](const Occurrence& occurrence) { show(occurrence); }),
      interpreter_(service_, timeline_, expectations_, interpreter_output()),
      input_lines_([this](std::string_view line, unsigned number) {
          interpreter_.execute(line, "stdin:" + std::to_string(number));
      }) {}

int SimulatorProgram::run() {
    if (!options_.checked_scenarios.empty()) {
        return read_scenarios(options_.checked_scenarios) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    if (read_scenarios(options_.scenarios) != 0 && !options_.skip_bad_lines) {
        return EXIT_FAILURE;
    }
    if (!options_.capture_directory.empty() &&
        g_mkdir_with_parents(options_.capture_directory.c_str(), 0755) != 0) {
        throw std::runtime_error("cannot make directory " + options_.capture_directory);
    }
    serve();
    expectations_.end();
    write_line(Occurrence("ended").word("reason", end_reason_).line());
    return expectations_.missed() == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

unsigned SimulatorProgram::read_scenarios(const std::vector<std::string>& paths) {
    unsigned bad_lines = 0;
    for (const std::string& path : paths) {
        scenarios_.push_back(interpreter_.read_scenario(file_content(path), path));
        bad_lines += scenarios_.back().bad_lines;
    }
    return bad_lines;
}

void SimulatorProgram::serve() {
    const auto on_signal = [this] {
        end("signal");
        return true;
    };
    terminate_signal_ = MainSource::unix_signal(nullptr, SIGTERM, on_signal);
    interrupt_signal_ = MainSource::unix_signal(nullptr, SIGINT, on_signal);
    service_.listen(options_.port);
    for (const Scenario& scenario : scenarios_) {
        interpreter_.play(scenario);
    }
    announce_readiness();
    if (!options_.no_stdin) {
        if (isatty(STDIN_FILENO) != 0) {
            std::fputs("Type \"help\" to see the commands.\n", stderr);
        }
        input_ =
            MainSource::readable(nullptr, STDIN_FILENO, [this] { return read_standard_input(); });
    }
    end_if_all_is_done();
    if (end_reason_.empty()) {
        g_main_loop_run(loop_.get());
    }
}

void SimulatorProgram::announce_readiness() const {
    show(Occurrence("ready").number("port", service_.port()));
    if (!options_.ready_descriptor) {
        return;
    }
    const std::string line = "port=" + std::to_string(service_.port()) + "\n";
    const ssize_t written = write(*options_.ready_descriptor, line.data(), line.size());
    if (written != static_cast<ssize_t>(line.size())) {
        throw std::runtime_error("cannot write to descriptor " +
                                 std::to_string(*options_.ready_descriptor));
    }
    close(*options_.ready_descriptor);
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
    input_lines_.feed({buffer.data(), static_cast<std::size_t>(count)});
    return true;
}

void SimulatorProgram::input_ended() {
    input_lines_.end();
    input_has_ended_ = true;
    end_if_all_is_done();
}

void SimulatorProgram::end_if_all_is_done() {
    if (!timeline_.empty()) {
        return;
    }
    if (options_.exit_after_scenario) {
        end("end-of-scenario");
    } else if (options_.exit_at_eof && input_has_ended_) {
        end("end-of-input");
    }
}

void SimulatorProgram::end(std::string_view reason) {
    if (end_reason_.empty()) {
        end_reason_ = reason;
    }
    g_main_loop_quit(loop_.get());
}

void SimulatorProgram::write_line(std::string_view line) const {
    std::string out;
    if (options_.timestamps) {
        out = std::to_string(g_get_monotonic_time()) + ' ';
    }
    out += line;
    out += '\n';
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fflush(stdout);
}

void SimulatorProgram::happened(const Occurrence& occurrence) {
    show(occurrence);
    expectations_.saw(occurrence);
}

void SimulatorProgram::show(const Occurrence& occurrence) const {
    if (options_.verbose || !occurrence.is_routine()) {
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
    if (options_.capture_directory.empty()) {
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
    const std::string path = options_.capture_directory + "/" + name.data();
    std::ofstream file(path, std::ios::binary);
    if (!file.write(frame.data(), static_cast<std::streamsize>(frame.size()))) {
        std::fprintf(stderr, "cannot write capture: %s\n", path.c_str());
    }
}

} // namespace printer_simulator
