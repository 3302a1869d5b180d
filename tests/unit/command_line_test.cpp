// The built program, started as a person or a script starts it, where no display is needed.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <vector>

#include "object_owner.h"
#include "test_support.h"

namespace {

struct Outcome {
    int exit_code = -1; // -1: ended by a signal
    int signal = 0;
    std::string pid;
    std::string output;
    std::string errors;
};

Outcome run_program(const std::vector<std::string>& arguments) {
    std::vector<const char*> argv{ZOR_PROGRAM};
    for (const auto& argument : arguments) {
        argv.push_back(argument.c_str());
    }
    argv.push_back(nullptr);
    const auto pipes = static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE |
                                                     G_SUBPROCESS_FLAGS_STDERR_PIPE);
    const ObjectOwner<GSubprocess> process(g_subprocess_newv(argv.data(), pipes, nullptr));
    Outcome outcome;
    outcome.pid = g_subprocess_get_identifier(process.get());
    char* output = nullptr;
    char* errors = nullptr;
    g_subprocess_communicate_utf8(process.get(), nullptr, nullptr, &output, &errors, nullptr);
    outcome.output = TextOwner(output).get();
    outcome.errors = TextOwner(errors).get();
    const bool has_exited = g_subprocess_get_if_exited(process.get()) != FALSE;
    outcome.exit_code = has_exited ? g_subprocess_get_exit_status(process.get()) : -1;
    outcome.signal = has_exited ? 0 : g_subprocess_get_term_sig(process.get());
    return outcome;
}

// The system log of the sandbox.
class LogSocket {
public:
    LogSocket() : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::string("/dev/log").copy(address.sun_path, sizeof(address.sun_path) - 1);
        if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
            throw std::runtime_error("cannot be the system log; not in the sandbox?");
        }
    }
    ~LogSocket() {
        close(m_socket);
        unlink("/dev/log");
    }
    LogSocket(const LogSocket&) = delete;
    LogSocket& operator=(const LogSocket&) = delete;

    // What has been logged since the last call, a datagram each.
    std::vector<std::string> take_lines() const {
        std::vector<std::string> lines;
        std::vector<char> buffer(1 << 20);
        for (;;) {
            const auto count = recv(m_socket, buffer.data(), buffer.size(), 0);
            if (count < 0) {
                return lines;
            }
            lines.emplace_back(buffer.data(), static_cast<std::size_t>(count));
        }
    }

private:
    int m_socket;
};

// What follows the time stamp: `<14>Mmm dd hh:mm:ss identity[pid]: text`.
std::string without_time(const std::string& line) {
    return line.size() < 20 ? line : line.substr(0, 4) + line.substr(20);
}

void expect_text(const Outcome& outcome, const std::string& text) {
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.output, text);
    EXPECT_EQ(outcome.errors, "");
}

void expect_parse_failure(const Outcome& outcome, const std::string& text) {
    EXPECT_EQ(outcome.signal, SIGABRT);
    EXPECT_EQ(outcome.output, "");
    EXPECT_NE(outcome.errors.find("Failed to parse " + text + "."), std::string::npos)
        << outcome.errors;
}

void expect_gui_started(const Outcome& outcome) {
    // There is no display in this test, so GTK gives up: the way leads to the GUI.
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "zor-card-printer-error-ui: cannot open display: \n");
}

TEST(Lookup, IsTheSameInItsThreeForms) {
    const std::string text = "Message 110: Print ribbon out or missing.\n";
    expect_text(run_program({"-g", "110"}), text);
    expect_text(run_program({"--getstring", "110"}), text);
    expect_text(run_program({"--getstring=110"}), text);
}

TEST(Lookup, PrintsLineBreaksAndBlanksAsTheyAre) {
    expect_text(run_program({"-g", "1101"}),
                "The card took too much time to complete.\n\nThe card will be canceled.\n");
    expect_text(run_program({"-g", "1317"}), "     \n");
}

TEST(Lookup, TakesNegativeIds) {
    expect_text(run_program({"-g", "-999993"}), "Retry\n");
    expect_text(run_program({"--getstring=-999992"}), "Cancel\n");
}

TEST(Lookup, AnswersForAnUnknownId) {
    expect_text(run_program({"-g", "42"}), "UNEXPECTED_TEXT_KEY:42\n");
    expect_text(run_program({"--getstring=-7"}), "UNEXPECTED_TEXT_KEY:-7\n");
}

TEST(Lookup, TakesTheLeadingNumber) {
    expect_text(run_program({"-g", " 110abc"}), "Message 110: Print ribbon out or missing.\n");
}

TEST(Lookup, PrintsEnglishWhateverTheLocale) {
    setenv("LANG", "C.UTF-8", 1);
    setenv("LANGUAGE", "de", 1);
    expect_text(run_program({"-g", "36"}), "OK\n");
    unsetenv("LANGUAGE");
}

TEST(Lookup, OfNoNumberEndsWithTheReason) {
    expect_parse_failure(run_program({"-g", "abc"}), "abc");
    expect_parse_failure(run_program({"--getstring=x1"}), "x1");
    expect_parse_failure(run_program({"-g", "99999999999"}), "99999999999");
}

TEST(Lookup, GoesOnWithTheLastOfSeveral) {
    expect_text(run_program({"-g", "36", "--getstring=38"}), "Retry the card\n");
}

TEST(Lookup, TakesWhatFollowsEvenIfItLooksLikeAnOption) {
    expect_parse_failure(run_program({"--getstring", "--no-fork"}), "--no-fork");
    expect_parse_failure(run_program({"-g", "--in-makefile"}), "--in-makefile");
}

TEST(InMakefile, PrintsNothingAndWinsOverTheLookup) {
    expect_text(run_program({"--in-makefile"}), "");
    expect_text(run_program({"--in-makefile", "--getstring", "36"}), "");
    expect_text(run_program({"-g", "abc", "--in-makefile"}), "");
}

TEST(Options, WithoutAValueStartTheGui) {
    expect_gui_started(run_program({"--no-fork"}));
    expect_gui_started(run_program({"--no-fork", "-g"}));
    expect_gui_started(run_program({"--no-fork", "--getstring"}));
    expect_gui_started(run_program({"--no-fork", "--getstring="}));
    expect_gui_started(run_program({"--no-fork", "--simulate-error="}));
}

TEST(Options, ThatNobodyKnowsAreIgnored) {
    expect_gui_started(run_program({"--no-fork", "--help", "--unknown", "text", "-x", ""}));
    expect_text(run_program({"--verbose", "-g", "36", "rest"}), "OK\n");
}

TEST(Options, ValgrindKeepsTheProcess) {
    expect_gui_started(run_program({"--valgrind"}));
}

TEST(Options, NumberOfBoxesIsParsedAtOnce) {
    expect_gui_started(run_program({"--no-fork", "--valgrind-num-boxes=3x"}));
    expect_parse_failure(run_program({"--valgrind-num-boxes="}), "");
    expect_parse_failure(run_program({"--valgrind-num-boxes=x"}), "x");
    expect_parse_failure(run_program({"--in-makefile", "--valgrind-num-boxes=x"}), "x");
}

TEST(Detaching, EndsTheStartingProcessWith0) {
    const auto outcome = run_program({});
    EXPECT_EQ(outcome.exit_code, 0);
}

TEST(Log, IsSilentWithoutAConfigurationFile) {
    LogSocket log;
    run_program({"-g", "36"});
    EXPECT_TRUE(log.take_lines().empty());
}

TEST(Log, CarriesIdentityProcessIdPriorityAndText) {
    LogSocket log;
    ConfigFile config("diagnostics.level = 1\n");
    const auto outcome = run_program({"-g", "36"});
    const auto lines = log.take_lines();
    ASSERT_EQ(lines.size(), 3U);
    // Facility user (8) and priority info (6).
    const auto begin =
        "<14>zor_card_printer_gui[" + outcome.pid + "]: zor-card-printer-error-ui.cpp:";
    for (const auto& line : lines) {
        EXPECT_EQ(without_time(line).find(begin), 0U) << line;
    }
    EXPECT_TRUE(lines[0].ends_with(" main begin")) << lines[0];
    EXPECT_TRUE(lines[1].ends_with(" main argc=3 argv[0]=" ZOR_PROGRAM)) << lines[1];
    EXPECT_TRUE(lines[2].ends_with(" main looked up string: 36=OK")) << lines[2];
}

TEST(Log, TellsWhyTheProcessEnds) {
    LogSocket log;
    ConfigFile config("diagnostics.level = 1\n");
    run_program({"-g", "100%s"});
    run_program({"-g", "%s%n"});
    const auto lines = log.take_lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(lines.back().ends_with(" terminating: Failed to parse %s%n.")) << lines.back();
}

TEST(Log, ThatIsNotThereDisturbsNobody) {
    ConfigFile config("diagnostics.level = 2\n");
    expect_text(run_program({"-g", "36"}), "OK\n");
}

} // namespace
