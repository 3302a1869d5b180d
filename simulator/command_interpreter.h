// The commands that a person or a scenario file gives to the simulated service.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "expectations.h"
#include "printer_service.h"
#include "timeline.h"
#include "tokenizer.h"

namespace printer_simulator {

// Where the interpreter's output goes.
struct InterpreterOutput {
    // An answer to `list` or `help`: one line without its line end.
    std::function<void(std::string_view line)> answer;
    // A line that was not understood or failed: `where` is "source:line".
    std::function<void(const std::string& where, const std::string& message)> complain;
    // The command `quit`.
    std::function<void()> quit;
};

// A scenario file that has been read.
struct Scenario {
    struct Line {
        char sign; // '+', '@', or 0 for a line without a time
        std::chrono::milliseconds time;
        std::function<void()> action;           // may throw std::runtime_error
        std::string where;                      // "source:line"
        std::optional<Expectation> expectation; // set when that is what the line is
    };
    std::vector<Line> lines; // those that were understood
    unsigned bad_lines = 0;
};

// Understands command lines and scenario files.
//
// A line is empty, a comment that starts with `#`, a command, or a time and a command:
// `+500ms error ...`, `@2s error ...`. All for the service's thread.
class CommandInterpreter {
public:
    // Service, timeline, expectations and what the output functions use must outlive the
    // interpreter.
    CommandInterpreter(PrinterService& service, Timeline& timeline, Expectations& expectations,
                       InterpreterOutput output);

    // Carries out one line that came at this moment: a plain one at once, `+TIME` after that
    // time, `@TIME` that long after the interpreter was made. Complains about a bad line.
    void execute(std::string_view line, const std::string& where);

    // Reads the text of a scenario. Complains about each line that it does not understand.
    Scenario read_scenario(std::string_view text, const std::string& source);

    // Plays a scenario from now on: a plain line together with the line before it, `+TIME` that
    // long after the line before it, `@TIME` that long after the start.
    //
    // What follows an `expect` waits until it is settled, and counts its times from there.
    // `expect command` and `expect status` lines in a row, without a time, wait together.
    void play(const Scenario& scenario);

    // Checks a command without a time in front and gives what carries it out, which may throw
    // std::runtime_error. Throws CommandError when the command is not understood.
    std::function<void()> parse_command(std::string_view line, const std::string& where);

private:
    using Action = std::function<void()>;
    using Clock = Timeline::Clock;
    using Parser = Action (CommandInterpreter::*)(Tokenizer&, const std::string& where);
    struct CommandEntry {
        std::string_view name;
        Parser parser;
        std::string_view usage;
        std::string_view help;
        std::string_view details = {}; // more lines for who asks for this command
    };
    struct TimedLine {
        char sign; // '+', '@', or 0 for a line without a time
        std::chrono::milliseconds time;
        std::string_view command;
    };
    struct Repetition {
        std::string command;
        std::string where;
        std::optional<std::uint64_t> count; // nothing for ever
        std::chrono::milliseconds every;
    };

    static const std::vector<CommandEntry>& commands();
    static const CommandEntry& command_named(const std::string& name);
    static TimedLine split_time(std::string_view line);
    static std::string substituted(const std::string& command, std::uint64_t number);

    Action parse_error(Tokenizer& words, const std::string& where);
    Action parse_clear(Tokenizer& words, const std::string& where);
    Action parse_clear_all(Tokenizer& words, const std::string& where);
    Action parse_raw(Tokenizer& words, const std::string& where);
    Action parse_raw_file(Tokenizer& words, const std::string& where);
    Action parse_fail_again(Tokenizer& words, const std::string& where);
    Action parse_retell(Tokenizer& words, const std::string& where);
    Action parse_hold(Tokenizer& words, const std::string& where);
    Action parse_carry_out(Tokenizer& words, const std::string& where);
    Action parse_fault(Tokenizer& words, const std::string& where);
    Action parse_stop(Tokenizer& words, const std::string& where);
    Action parse_start(Tokenizer& words, const std::string& where);
    Action parse_expect(Tokenizer& words, const std::string& where);
    Action parse_repeat(Tokenizer& words, const std::string& where);
    Action parse_list(Tokenizer& words, const std::string& where);
    Action parse_help(Tokenizer& words, const std::string& where);
    Action parse_quit(Tokenizer& words, const std::string& where);

    void list();
    void help();
    void help_with(const CommandEntry& command);
    void play_from(const std::shared_ptr<const Scenario>& scenario, std::size_t first,
                   Clock::time_point start);
    void await(const std::shared_ptr<const Scenario>& scenario, std::size_t first, std::size_t end,
               Clock::time_point start);
    void run(const Action& action, const std::string& where);
    void repeat_every(const Repetition& repetition, std::uint64_t number);

    PrinterService& m_service;
    Timeline& m_timeline;
    Expectations& m_expectations;
    InterpreterOutput m_output;
    const Clock::time_point m_made_at = Clock::now();
};

// Reads the words after `fault`. Throws CommandError when they name no fault.
Fault parse_fault_words(Tokenizer& words);

} // namespace printer_simulator
