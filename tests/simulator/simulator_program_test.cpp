#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <filesystem>

#include <gio/gunixinputstream.h>
#include <gtest/gtest.h>

#include "glib_support.h"
#include "line_splitter.h"
#include "simulator_test_support.h"
#include "wire.h"

namespace printer_simulator::test {
namespace {

// A running simulator program, with its input and its output lines. Ended at the latest here.
class Program {
public:
    // Without `input`, which is taken over, the input is a pipe for `type`.
    explicit Program(const std::vector<std::string>& arguments, int input = -1)
        : m_process(started(arguments, input)) {}
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() {
        g_subprocess_force_exit(m_process.get());
        g_subprocess_wait(m_process.get(), nullptr, nullptr);
    }

    void type(const std::string& line) {
        const std::string bytes = line + "\n";
        GOutputStream* input = g_subprocess_get_stdin_pipe(m_process.get());
        g_output_stream_write_all(input, bytes.data(), bytes.size(), nullptr, nullptr, nullptr);
    }
    void end_input() {
        g_output_stream_close(g_subprocess_get_stdin_pipe(m_process.get()), nullptr, nullptr);
    }
    void signal(int number) { g_subprocess_send_signal(m_process.get(), number); }

    // The next line that holds `part`. Fails the test at the end of the output, or at DEADLINE.
    std::string line_with(const std::string& part) { return m_output.line_with(part); }
    std::string complaint_with(const std::string& part) { return m_errors.line_with(part); }
    // All that comes until the end of the output.
    std::string rest_of_output() { return m_output.rest(); }
    std::string rest_of_complaints() { return m_errors.rest(); }
    std::uint16_t ready_port() {
        const std::string line = line_with("ready port=");
        return static_cast<std::uint16_t>(std::atoi(line.c_str() + line.find('=') + 1));
    }
    int exit_status() {
        const bool ended =
            wait_until([this] { return g_subprocess_get_identifier(m_process.get()) == nullptr; });
        EXPECT_TRUE(ended) << "the program did not end";
        return ended && g_subprocess_get_if_exited(m_process.get())
                   ? g_subprocess_get_exit_status(m_process.get())
                   : -1;
    }

private:
    // Lines as they come out of a pipe.
    class Lines {
    public:
        explicit Lines(GInputStream* pipe)
            : m_descriptor(g_unix_input_stream_get_fd(G_UNIX_INPUT_STREAM(pipe))),
              m_splitter(
                  [this](std::string_view line, unsigned) { m_waiting.emplace_back(line); }) {}

        std::string line_with(const std::string& part) {
            const auto deadline = std::chrono::steady_clock::now() + DEADLINE;
            do {
                while (!m_waiting.empty()) {
                    const std::string line = std::move(m_waiting.front());
                    m_waiting.pop_front();
                    if (line.find(part) != std::string::npos) {
                        return line;
                    }
                }
            } while (std::chrono::steady_clock::now() < deadline && read_more());
            ADD_FAILURE() << "no line with: " << part;
            return "";
        }

        std::string rest() {
            const auto deadline = std::chrono::steady_clock::now() + DEADLINE;
            while (read_more()) {
                if (std::chrono::steady_clock::now() > deadline) {
                    ADD_FAILURE() << "the output does not end";
                    break;
                }
            }
            m_splitter.end();
            std::string out;
            for (const std::string& line : std::exchange(m_waiting, {})) {
                out += line + "\n";
            }
            return out;
        }

    private:
        bool read_more() {
            pollfd polled{m_descriptor, POLLIN, 0};
            std::array<char, 65536> buffer;
            if (poll(&polled, 1, static_cast<int>(DEADLINE.count())) != 1) {
                return false;
            }
            const ssize_t count = read(m_descriptor, buffer.data(), buffer.size());
            if (count <= 0) {
                return false;
            }
            m_splitter.feed({buffer.data(), static_cast<std::size_t>(count)});
            return true;
        }

        const int m_descriptor;
        std::deque<std::string> m_waiting;
        LineSplitter m_splitter;
    };

    static GSubprocess* started(const std::vector<std::string>& arguments, int input) {
        std::vector<const char*> argv{SIMULATOR_PROGRAM};
        for (const std::string& argument : arguments) {
            argv.push_back(argument.c_str());
        }
        argv.push_back(nullptr);
        int flags = G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_PIPE;
        flags |= input < 0 ? G_SUBPROCESS_FLAGS_STDIN_PIPE : G_SUBPROCESS_FLAGS_NONE;
        const GObjectPtr<GSubprocessLauncher> launcher(
            g_subprocess_launcher_new(static_cast<GSubprocessFlags>(flags)));
        if (input >= 0) {
            g_subprocess_launcher_take_stdin_fd(launcher.get(), input);
        }
        return g_subprocess_launcher_spawnv(launcher.get(), argv.data(), nullptr);
    }

    GObjectPtr<GSubprocess> m_process;
    Lines m_output{g_subprocess_get_stdout_pipe(m_process.get())};
    Lines m_errors{g_subprocess_get_stderr_pipe(m_process.get())};
};

TEST(SimulatorProgram, TakesCommandsAndServesThem) {
    Program program({"--port", "0"});
    const std::uint16_t port = program.ready_port();
    program.type("error \"Front Desk\" 17 110 3 Ribbon");
    EXPECT_EQ(program.line_with("event published"),
              "event published event=1 kind=show size=361 printer=\"Front Desk\" job=\"17\" "
              "error_code=\"110\" severity=\"3\" service_code=\"0\" text=\"Ribbon\"");
    EXPECT_EQ(element(poll_status(port), "PrinterName"), "Front Desk");
    EXPECT_NE(program.line_with("reply status").find("event=1 new=yes"), std::string::npos);
}

TEST(SimulatorProgram, EndsCleanlyOnSignalsAndQuit) {
    for (const int number : {SIGTERM, SIGINT}) {
        Program program({"--port", "0"});
        program.ready_port();
        program.signal(number);
        EXPECT_EQ(program.line_with("ended"), "ended reason=signal");
        EXPECT_EQ(program.exit_status(), 0);
    }
    Program program({"--port", "0"});
    program.type("quit");
    EXPECT_EQ(program.line_with("ended"), "ended reason=quit");
    EXPECT_EQ(program.exit_status(), 0);
}

TEST(SimulatorProgram, GoesOnAfterTheEndOfInput) {
    Program program({"--port", "0"});
    const std::uint16_t port = program.ready_port();
    program.end_input();
    EXPECT_EQ(poll_status(port), idle_document());
    program.signal(SIGTERM);
    EXPECT_EQ(program.exit_status(), 0);
}

TEST(SimulatorProgram, EndsWithItsInputAfterTheLastTimedLineWhenAsked) {
    Program program({"--port", "0", "--exit-at-eof"});
    program.type("+50ms error P 1 110 3");
    program.end_input();
    program.line_with("event published");
    EXPECT_EQ(program.line_with("ended"), "ended reason=end-of-input");
    EXPECT_EQ(program.exit_status(), 0);
}

TEST(SimulatorProgram, NamesTheLineThatItDoesNotUnderstandAndGoesOn) {
    Program program({"--port", "0"});
    program.type("list");
    program.type("bogus");
    program.type("error P 1 110 3");
    EXPECT_EQ(program.complaint_with("bogus"),
              "stdin:2: unknown command \"bogus\"; \"help\" shows all");
    program.line_with("event published");
}

TEST(SimulatorProgram, SaysWhenItsPortIsTaken) {
    Program first({"--port", "0"});
    const std::string port = std::to_string(first.ready_port());
    Program second({"--port", port});
    second.complaint_with("cannot listen on 127.0.0.1 port " + port);
    EXPECT_EQ(second.exit_status(), 1);
}

TEST(SimulatorProgram, RefusesACommandLineThatMakesNoSense) {
    const std::vector<std::vector<std::string>> cases = {{"--bogus"},
                                                         {"--port", "x"},
                                                         {"--port", "65536"},
                                                         {"--port", "-1"},
                                                         {"argument"},
                                                         {"--exit-at-eof", "--no-stdin"},
                                                         {"--exit-after-scenario"}};
    for (const auto& arguments : cases) {
        Program program(arguments);
        program.complaint_with("(see --help)");
        EXPECT_EQ(program.exit_status(), 2) << arguments[0];
    }
}

TEST(SimulatorProgram, ShowsHelpAndVersion) {
    Program help({"--help"});
    help.line_with("--exit-at-eof");
    EXPECT_EQ(help.exit_status(), 0);
    Program version({"--version"});
    version.line_with("zor-printer-service-simulator ");
    EXPECT_EQ(version.exit_status(), 0);
}

TEST(SimulatorProgram, PointsToHelpOnATerminal) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    {
        Program program({"--port", "0"}, open(ptsname(terminal), O_RDWR | O_NOCTTY));
        program.complaint_with("\"help\"");
        ASSERT_EQ(write(terminal, "help repeat\nquit\n", 17), 17);
        program.line_with("repeat N|forever");
        EXPECT_EQ(program.exit_status(), 0);
    }
    close(terminal);
}

TEST(SimulatorProgram, PointsToNoHelpInAPipe) {
    Program program({"--port", "0"});
    program.type("bogus");
    EXPECT_EQ(program.complaint_with("").substr(0, 8), "stdin:1:");
}

TEST(SimulatorProgram, ShowsConnectionsAndTimesWhenAsked) {
    Program program({"--port", "0", "--verbose", "--timestamps"});
    const gint64 before = g_get_monotonic_time();
    const std::uint16_t port = program.ready_port();
    poll_status(port);
    const std::string line = program.line_with("connection opened");
    const gint64 stamp = std::atoll(line.c_str());
    EXPECT_GE(stamp, before);
    EXPECT_LE(stamp, g_get_monotonic_time());
}

TEST(SimulatorProgram, CapturesRequestsAndReplies) {
    const TemporaryDirectory directory;
    Program program({"--port", "0", "--capture", directory.path()});
    framed_exchange(program.ready_port(), STATUS_REQUEST);
    EXPECT_EQ(file_content(directory.path() / "000001-request.bin"), framed(STATUS_REQUEST));
    EXPECT_EQ(file_content(directory.path() / "000001-reply.bin"), framed(idle_document()));
}

TEST(SimulatorProgram, TellsItsReadinessOnADescriptor) {
    Program program({"--port", "0", "--ready-fd", "2"});
    const std::uint16_t port = program.ready_port();
    EXPECT_EQ(program.complaint_with("port="), "port=" + std::to_string(port));
}

TEST(SimulatorProgram, SaysWhenAScenarioCannotBeRead) {
    Program program({"--port", "0", "--scenario", "/does/not/exist"});
    program.complaint_with("/does/not/exist");
    EXPECT_EQ(program.exit_status(), 1);
}

TEST(SimulatorProgram, EndsAtBadLinesOfAScenarioBeforeItTakesConnections) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("a", "bogus\nerror P 1 110 3\n+x list\n");
    const std::string good = directory.file("b", "error P 2 110 3\n");
    Program program({"--port", "0", "--scenario", good, "--scenario", path});
    EXPECT_EQ(program.rest_of_output(), "");
    EXPECT_EQ(program.rest_of_complaints(),
              path + ":1: unknown command \"bogus\"; \"help\" shows all\n" + path +
                  ":3: bad time \"x\"\n");
    EXPECT_EQ(program.exit_status(), 1);
}

TEST(SimulatorProgram, SkipsBadLinesOfAScenarioWhenAsked) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("a", "bogus\nerror P 1 110 3\n");
    Program program({"--port", "0", "--scenario", path, "--skip-bad-lines"});
    program.complaint_with(path + ":1: unknown command");
    program.line_with("event published");
}

TEST(SimulatorProgram, EndsAfterItsScenariosWhenAsked) {
    const TemporaryDirectory directory;
    const std::string first = directory.file("a", "repeat forever every 1ms list\nlist\n");
    const std::string second = directory.file("b", "+50ms error P 1 110 3\n");
    Program program(
        {"--port", "0", "--scenario", first, "--scenario", second, "--exit-after-scenario"});
    program.line_with("ready");
    program.line_with("event published");
    program.line_with("ended reason=end-of-scenario");
    EXPECT_EQ(program.exit_status(), 0);
}

TEST(SimulatorProgram, EndsAtOnceAfterAnEmptyScenario) {
    const TemporaryDirectory directory;
    Program program(
        {"--port", "0", "--scenario", directory.file("a", "# nothing\n"), "--exit-after-scenario"});
    program.line_with("ended reason=end-of-scenario");
    EXPECT_EQ(program.exit_status(), 0);
}

TEST(SimulatorProgram, ChecksScenariosWithoutPlayingThem) {
    const TemporaryDirectory directory;
    const std::string good = directory.file("a", "error P 1 110 3\r\n\r\n@2s clear-all\r\n");
    const std::string bad = directory.file("b", "fault bogus\n\nrepeat 3 bogus");
    Program well({"--check", good});
    EXPECT_EQ(well.exit_status(), 0);
    EXPECT_EQ(well.rest_of_output() + well.rest_of_complaints(), "");
    Program ill({"--check", good, "--check", bad});
    EXPECT_EQ(ill.exit_status(), 1);
    EXPECT_EQ(ill.rest_of_output(), "");
    ill.complaint_with(bad + ":1: unknown fault");
    ill.complaint_with(bad + ":3: unknown command");
    Program missing({"--check", "/does/not/exist"});
    missing.complaint_with("/does/not/exist");
    EXPECT_EQ(missing.exit_status(), 1);
}

TEST(SimulatorProgram, EndsWellWhenWhatWasExpectedCame) {
    const TemporaryDirectory directory;
    const std::string path =
        directory.file("a", "error 'Front Desk' 17 110 3\n"
                            "expect status within 5min\n"
                            "expect command retry 'Front Desk' 17 within 5min\n"
                            "expect no command for 50ms\n");
    Program program({"--port", "0", "--scenario", path, "--exit-after-scenario"});
    const std::uint16_t port = program.ready_port();
    poll_status(port);
    EXPECT_NE(program.line_with("expectation")
                  .find("expectation met where=\"" + path +
                        ":2\" expected=\"status within 300000ms\" after_ms="),
              std::string::npos);
    framed_exchange(port, job_command("Front Desk", "17", "110", ACTION_RETRY));
    EXPECT_NE(program.line_with("expectation met").find(path + ":3\""), std::string::npos);
    EXPECT_NE(program.line_with("expectation met").find(path + ":4\""), std::string::npos);
    program.line_with("ended reason=end-of-scenario");
    EXPECT_EQ(program.exit_status(), 0);
}

TEST(SimulatorProgram, EndsBadlyWhenWhatWasExpectedDidNotCome) {
    const TemporaryDirectory directory;
    const std::string path =
        directory.file("a", "error 'Front Desk' 17 110 3\n"
                            "expect command retry 'Front Desk' 17 within 500ms\n"
                            "error P 1 110 3\n");
    Program program({"--port", "0", "--scenario", path, "--exit-after-scenario"});
    framed_exchange(program.ready_port(), job_command("Front Desk", "17", "110", ACTION_CANCEL));
    const std::string missed = program.line_with("expectation missed");
    EXPECT_NE(missed.find(R"(came="command cancel \"Front Desk\" \"17\"")"), std::string::npos)
        << missed;
    EXPECT_NE(program.line_with("event published").find("job=\"1\""), std::string::npos);
    EXPECT_EQ(program.exit_status(), 1);
}

TEST(SimulatorProgram, CountsWhatItStillWaitsForAtItsEndAsMissed) {
    Program program({"--port", "0"});
    program.type("expect status within 20min");
    program.type("quit");
    program.line_with("expectation missed where=\"stdin:1\"");
    program.line_with("ended reason=quit");
    EXPECT_EQ(program.exit_status(), 1);
}

class SimulatorScenario : public testing::TestWithParam<std::string> {};

TEST_P(SimulatorScenario, IsUnderstoodAndBeginsBySayingWhatIsSeen) {
    const std::string path = std::string(SCENARIO_DIRECTORY) + "/" + GetParam() + ".scenario";
    const std::string text = file_content(path);
    EXPECT_TRUE(text.starts_with("# ")) << path;
    Program check({"--check", path});
    EXPECT_EQ(check.rest_of_complaints(), "");
    EXPECT_EQ(check.exit_status(), 0);
    Program program({"--port", "0", "--scenario", path});
    program.line_with("event published");
}

INSTANTIATE_TEST_SUITE_P(all, SimulatorScenario,
                         testing::Values("card-jam-retry", "demo", "flapping-service", "ribbon-out",
                                         "severities", "three-printers"),
                         [](const auto& scenario) {
                             std::string name = scenario.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST(SimulatorScenarios, AreAllTested) {
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(SCENARIO_DIRECTORY)) {
        files += entry.path().extension() == ".scenario" ? 1U : 0U;
    }
    EXPECT_EQ(files, 6U);
}

} // namespace
} // namespace printer_simulator::test
