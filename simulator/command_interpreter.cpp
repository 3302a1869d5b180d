#include "command_interpreter.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace printer_simulator {

namespace {

constexpr std::uint64_t DEFAULT_GARBAGE = 64;
constexpr std::chrono::milliseconds DEFAULT_FAIL_AGAIN_AFTER{1000};

bool begins_with_digit(std::string_view text) {
    return !text.empty() && text.front() >= '0' && text.front() <= '9';
}

// A line without what comes before the command, and without the carriage return of a line end
// made elsewhere.
std::string_view command_text(std::string_view line) {
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return Tokenizer(line).remainder();
}

// The expectation that a good command line stands for, if it does.
std::optional<Expectation> expectation_in(std::string_view command) {
    Tokenizer words(command);
    if (words.next() != "expect") {
        return std::nullopt;
    }
    return parse_expectation_words(words);
}

// Whether others may be expected at the same time. Silence begins when nothing is expected.
bool can_wait_for_more(const Scenario::Line& line) {
    return line.expectation && line.expectation->kind != Expectation::Kind::no_command;
}

std::uint64_t fault_value(FaultValue kind, Tokenizer& words) {
    switch (kind) {
    case FaultValue::none:
        return 0;
    case FaultValue::time:
        return static_cast<std::uint64_t>(parse_time(words.require("TIME"), "time").count());
    case FaultValue::size:
        return parse_size(words.require("number of bytes"), "size");
    case FaultValue::optional_size:
        break;
    }
    return begins_with_digit(words.remainder()) && !words.remainder().starts_with("1 in ")
               ? parse_size(words.require("number of bytes"), "size")
               : DEFAULT_GARBAGE;
}

std::uint64_t parse_count(const std::string& word) {
    const std::uint64_t count = parse_number(word, "count");
    if (count == 0) {
        throw CommandError("bad count \"0\"");
    }
    return count;
}

FaultTarget parse_target(const std::string& word) {
    if (word == "status") {
        return FaultTarget::status;
    }
    if (word == "commands") {
        return FaultTarget::commands;
    }
    if (word == "both") {
        return FaultTarget::both;
    }
    throw CommandError("unknown target \"" + word + "\"; it is status, commands or both");
}

void read_fault_option(Fault& fault, const std::string& option, Tokenizer& words) {
    const bool spoils_replies = fault.kind != FaultKind::none && fault.kind != FaultKind::refuse;
    if (option == "times" && spoils_replies) {
        fault.times = parse_count(words.require("count after \"times\""));
    } else if (option == "1" && spoils_replies) {
        if (words.require("\"in\" after \"1\"") != "in") {
            throw CommandError("missing \"in\" after \"1\"");
        }
        fault.one_in = parse_count(words.require("number after \"1 in\""));
    } else if (option == "seed" && spoils_replies) {
        fault.seed = parse_number(words.require("number after \"seed\""), "seed");
    } else if (option == "on" && fault.kind != FaultKind::refuse) {
        fault.target = parse_target(words.require("target after \"on\""));
    } else if (option == "hold" && fault.kind == FaultKind::lie) {
        fault.hold = true;
    } else if (option == "bare" && fault.kind == FaultKind::garbage) {
        fault.bare = true;
    } else {
        throw CommandError("\"" + option + "\" does not go with this fault");
    }
}

} // namespace

Fault parse_fault_words(Tokenizer& words) {
    const std::string name = words.require("kind of fault");
    const auto known = fault_words();
    const auto entry = std::find_if(known.begin(), known.end(),
                                    [&](const FaultWord& word) { return word.name == name; });
    if (entry == known.end()) {
        throw CommandError("unknown fault \"" + name + "\"");
    }
    Fault fault;
    fault.kind = entry->kind;
    fault.value = fault_value(entry->value, words);
    const bool has_body = fault.kind == FaultKind::big || fault.kind == FaultKind::garbage;
    if (has_body && fault.value > REQUEST_LIMIT) {
        throw CommandError("size too large, at most 1G");
    }
    while (const auto option = words.next()) {
        read_fault_option(fault, *option, words);
    }
    return fault;
}

CommandInterpreter::CommandInterpreter(PrinterService& service, Timeline& timeline,
                                       Expectations& expectations, InterpreterOutput output)
    : m_service(service), m_timeline(timeline), m_expectations(expectations),
      m_output(std::move(output)) {}

const std::vector<CommandInterpreter::CommandEntry>& CommandInterpreter::commands() {
    using Self = CommandInterpreter;
    static const std::vector<CommandEntry> entries = {
        {"error", &Self::parse_error, "error PRINTER JOB CODE SEVERITY [service-code=CODE] [TEXT]",
         "report an error of a job (one per job; a second replaces it)",
         "TEXT is the rest of the line, or one quoted word; \"Printer error CODE.\" if not given.\n"
         "The service code is 0 if not given. None of these is checked."},
        {"clear", &Self::parse_clear, "clear PRINTER JOB", "withdraw the error of a job"},
        {"clear-all", &Self::parse_clear_all, "clear-all", "withdraw all errors"},
        {"fail-again", &Self::parse_fail_again, "fail-again PRINTER JOB TIMES [AFTER]",
         "let the next TIMES retries of a job fail again, 1s or AFTER later",
         "Cancel and resume end this, and so does clear."},
        {"raw", &Self::parse_raw, "raw TEXT", "publish a text as it is",
         "TEXT is the rest of the line, or one quoted word. It opens and closes no error."},
        {"raw-file", &Self::parse_raw_file, "raw-file PATH", "publish a file's content"},
        {"retell", &Self::parse_retell, "retell on|off",
         "tell the newest event again when there is none newer (on), or nothing (off)",
         "on is the default."},
        {"hold", &Self::parse_hold, "hold TIME",
         "let a status request without news wait up to TIME for the next event",
         "0, the default, answers at once."},
        {"carry-out", &Self::parse_carry_out, "carry-out TIME",
         "let a job command take effect TIME after it came in; its error stays open until then",
         "0, the default, carries it out at once."},
        {"fault", &Self::parse_fault,
         "fault KIND [VALUE] [times N] [1 in N [seed S]] [on status|commands|both]",
         "show a fault; \"help fault\" tells which there are",
         "times N: end after N spoiled replies. on TARGET: spoil only these replies.\n"
         "1 in N: spoil one reply in N at random, the same ones each time with the same seed (1 if "
         "not given).\n"
         "It takes the place of what was on show for the same replies. KIND is one of these:"},
        {"expect", &Self::parse_expect,
         "expect command ACTION PRINTER JOB within TIME | no command for TIME | status within TIME",
         "wait for a request; the exit status is 1 when one was missed",
         "ACTION is cancel, resume, retry or a number. The time counts from now. A command meets "
         "one\n"
         "expectation, and one that another line expects does not count against \"no command\".\n"
         "In a scenario, the lines after it wait. Without a time in front, commands and status "
         "that\n"
         "are expected by lines in a row are waited for together, in any order."},
        {"stop", &Self::parse_stop, "stop [TIME]", "go down, and come back after TIME"},
        {"start", &Self::parse_start, "start", "come back"},
        {"repeat", &Self::parse_repeat, "repeat N|forever [every TIME] COMMAND",
         "run COMMAND so many times; {n} in it becomes 1, 2, 3 ...", "forever needs intervals."},
        {"list", &Self::parse_list, "list", "show the open errors"},
        {"help", &Self::parse_help, "help [COMMAND]", "show all commands, or more about one"},
        {"quit", &Self::parse_quit, "quit", "end the simulator"},
    };
    return entries;
}

const CommandInterpreter::CommandEntry& CommandInterpreter::command_named(const std::string& name) {
    const auto& known = commands();
    const auto entry =
        std::find_if(known.begin(), known.end(),
                     [&name](const CommandEntry& command) { return command.name == name; });
    if (entry == known.end()) {
        throw CommandError("unknown command \"" + name + "\"; \"help\" shows all");
    }
    return *entry;
}

CommandInterpreter::TimedLine CommandInterpreter::split_time(std::string_view line) {
    if (line.empty() || (line.front() != '+' && line.front() != '@')) {
        return {0, std::chrono::milliseconds(0), line};
    }
    Tokenizer words(line.substr(1));
    const std::chrono::milliseconds time = parse_time(words.require("time"), "time");
    const std::string_view command = words.remainder();
    if (command.empty()) {
        throw CommandError("missing command after the time");
    }
    return {line.front(), time, command};
}

void CommandInterpreter::execute(std::string_view line, const std::string& where) {
    const std::string_view text = command_text(line);
    if (text.empty() || text.front() == '#') {
        return;
    }
    try {
        const TimedLine timed = split_time(text);
        Action action = parse_command(timed.command, where);
        if (timed.sign == 0) {
            action();
            return;
        }
        const Clock::time_point base = timed.sign == '@' ? m_made_at : Clock::now();
        m_timeline.at(base + timed.time,
                      [this, action = std::move(action), where] { run(action, where); });
    } catch (const std::runtime_error& error) {
        m_output.complain(where, error.what());
    }
}

Scenario CommandInterpreter::read_scenario(std::string_view text, const std::string& source) {
    Scenario scenario;
    unsigned number = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = command_text(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        const std::string where = source + ":" + std::to_string(++number);
        if (line.empty() || line.front() == '#') {
            continue;
        }
        try {
            const TimedLine timed = split_time(line);
            scenario.lines.push_back({timed.sign, timed.time, parse_command(timed.command, where),
                                      where, expectation_in(timed.command)});
        } catch (const CommandError& error) {
            ++scenario.bad_lines;
            m_output.complain(where, error.what());
        }
    }
    return scenario;
}

void CommandInterpreter::play(const Scenario& scenario) {
    play_from(std::make_shared<const Scenario>(scenario), 0, Clock::now());
}

void CommandInterpreter::play_from(const std::shared_ptr<const Scenario>& scenario,
                                   std::size_t first, Clock::time_point start) {
    const std::vector<Scenario::Line>& lines = scenario->lines;
    const Clock::time_point earliest = first == 0 ? start : Clock::now();
    Clock::time_point due = earliest;
    std::size_t at = first;
    for (; at < lines.size(); ++at) {
        const Scenario::Line& line = lines[at];
        due = line.sign == '@' ? std::max(start + line.time, earliest) : due + line.time;
        if (line.expectation) {
            break;
        }
        m_timeline.at(due, [this, line] { run(line.action, line.where); });
    }
    if (at == lines.size()) {
        return;
    }
    std::size_t end = at + 1;
    while (can_wait_for_more(lines[end - 1]) && end < lines.size() && lines[end].sign == 0 &&
           can_wait_for_more(lines[end])) {
        ++end;
    }
    m_timeline.at(due, [this, scenario, at, end, start] { await(scenario, at, end, start); });
}

void CommandInterpreter::await(const std::shared_ptr<const Scenario>& scenario, std::size_t first,
                               std::size_t end, Clock::time_point start) {
    const auto left = std::make_shared<std::size_t>(end - first);
    for (std::size_t at = first; at < end; ++at) {
        const Scenario::Line& line = scenario->lines[at];
        m_expectations.begin(*line.expectation, line.where, [this, scenario, end, start, left] {
            if (--*left == 0) {
                play_from(scenario, end, start);
            }
        });
    }
}

void CommandInterpreter::run(const Action& action, const std::string& where) {
    try {
        action();
    } catch (const std::runtime_error& error) {
        m_output.complain(where, error.what());
    }
}

CommandInterpreter::Action CommandInterpreter::parse_command(std::string_view line,
                                                             const std::string& where) {
    Tokenizer words(line);
    const std::string name = words.require("command");
    const CommandEntry& command = command_named(name);
    try {
        return (this->*command.parser)(words, where);
    } catch (const CommandError& error) {
        throw CommandError(std::string(error.what()) + "; usage: " + std::string(command.usage));
    }
}

CommandInterpreter::Action CommandInterpreter::parse_error(Tokenizer& words, const std::string&) {
    PrinterError error;
    error.printer = words.require("PRINTER");
    error.job = words.require("JOB");
    error.code = words.require("CODE");
    error.severity = words.require("SEVERITY");
    if (const auto code = words.next_value("service-code")) {
        error.service_code = *code;
    }
    const bool has_text = !words.remainder().empty();
    error.text = has_text ? words.rest_of_line() : "Printer error " + error.code + ".";
    return [this, error] {
        m_service.publish_error(error);
    };
}

CommandInterpreter::Action CommandInterpreter::parse_clear(Tokenizer& words, const std::string&) {
    const std::string printer = words.require("PRINTER");
    const std::string job = words.require("JOB");
    words.expect_end();
    return [this, printer, job] {
        if (!m_service.clear(printer, job)) {
            throw CommandError("job \"" + escaped_text(job) + "\" of printer \"" +
                               escaped_text(printer) + "\" has no open error");
        }
    };
}

CommandInterpreter::Action CommandInterpreter::parse_clear_all(Tokenizer& words,
                                                               const std::string&) {
    words.expect_end();
    return [this] {
        m_service.clear_all();
    };
}

CommandInterpreter::Action CommandInterpreter::parse_raw(Tokenizer& words, const std::string&) {
    if (words.remainder().empty()) {
        throw CommandError("missing TEXT (\"\" for the empty text)");
    }
    return [this, text = words.rest_of_line()] {
        m_service.publish_raw(text);
    };
}

CommandInterpreter::Action CommandInterpreter::parse_raw_file(Tokenizer& words,
                                                              const std::string&) {
    const std::string path = words.require("PATH");
    words.expect_end();
    return [this, path] {
        m_service.publish_raw(file_content(path));
    };
}

CommandInterpreter::Action CommandInterpreter::parse_fail_again(Tokenizer& words,
                                                                const std::string&) {
    const std::string printer = words.require("PRINTER");
    const std::string job = words.require("JOB");
    const std::uint64_t times = parse_number(words.require("TIMES"), "count");
    const auto after_word = words.next();
    const auto after = after_word ? parse_time(*after_word, "time") : DEFAULT_FAIL_AGAIN_AFTER;
    words.expect_end();
    return [=, this] {
        m_service.plan_failures(printer, job, times, after);
    };
}

CommandInterpreter::Action CommandInterpreter::parse_retell(Tokenizer& words, const std::string&) {
    const std::string word = words.require("on or off");
    if (word != "on" && word != "off") {
        throw CommandError("neither on nor off: \"" + word + "\"");
    }
    words.expect_end();
    return [this, on = word == "on"] {
        m_service.set_retelling(on);
    };
}

CommandInterpreter::Action CommandInterpreter::parse_hold(Tokenizer& words, const std::string&) {
    const std::chrono::milliseconds time = parse_time(words.require("TIME"), "time");
    words.expect_end();
    return [this, time] {
        m_service.set_hold(time);
    };
}

CommandInterpreter::Action CommandInterpreter::parse_carry_out(Tokenizer& words,
                                                               const std::string&) {
    const std::chrono::milliseconds time = parse_time(words.require("TIME"), "time");
    words.expect_end();
    return [this, time] {
        m_service.set_carry_out(time);
    };
}

CommandInterpreter::Action CommandInterpreter::parse_fault(Tokenizer& words, const std::string&) {
    const Fault fault = parse_fault_words(words);
    return [this, fault] {
        m_service.set_fault(fault);
    };
}

CommandInterpreter::Action CommandInterpreter::parse_expect(Tokenizer& words,
                                                            const std::string& where) {
    return [this, expectation = parse_expectation_words(words), where] {
        m_expectations.begin(expectation, where);
    };
}

CommandInterpreter::Action CommandInterpreter::parse_stop(Tokenizer& words, const std::string&) {
    std::optional<std::chrono::milliseconds> back_after;
    if (const auto word = words.next()) {
        back_after = parse_time(*word, "time");
    }
    words.expect_end();
    return [this, back_after] {
        m_service.stop(back_after);
    };
}

CommandInterpreter::Action CommandInterpreter::parse_start(Tokenizer& words, const std::string&) {
    words.expect_end();
    return [this] {
        m_service.start();
    };
}

std::string CommandInterpreter::substituted(const std::string& command, std::uint64_t number) {
    constexpr std::string_view PLACE = "{n}";
    std::string out;
    std::size_t from = 0;
    for (std::size_t at = command.find(PLACE); at != std::string::npos;
         at = command.find(PLACE, from)) {
        out.append(command, from, at - from).append(std::to_string(number));
        from = at + PLACE.size();
    }
    return out.append(command, from);
}

CommandInterpreter::Action CommandInterpreter::parse_repeat(Tokenizer& words,
                                                            const std::string& where) {
    Repetition repetition;
    const std::string count = words.require("N");
    if (count != "forever") {
        repetition.count = parse_number(count, "count");
    }
    repetition.every = std::chrono::milliseconds(0);
    if (words.remainder().starts_with("every ")) {
        words.require("every");
        repetition.every = parse_time(words.require("TIME"), "time");
    }
    if (!repetition.count && repetition.every.count() == 0) {
        throw CommandError("\"forever\" needs \"every\" and a time");
    }
    repetition.command = words.remainder();
    repetition.where = where;
    // A bad command is to be found now, not when its time has come.
    parse_command(substituted(repetition.command, 1), where);
    if (repetition.every.count() != 0) {
        return [this, repetition] {
            repeat_every(repetition, 1);
        };
    }
    return [this, repetition] {
        for (std::uint64_t number = 1; number <= *repetition.count; ++number) {
            parse_command(substituted(repetition.command, number), repetition.where)();
        }
    };
}

void CommandInterpreter::repeat_every(const Repetition& repetition, std::uint64_t number) {
    if (number > repetition.count.value_or(number)) {
        return;
    }
    const Clock::time_point next = Clock::now() + repetition.every;
    run(parse_command(substituted(repetition.command, number), repetition.where), repetition.where);
    if (number < repetition.count.value_or(number + 1)) {
        const auto again = [this, repetition, number] {
            repeat_every(repetition, number + 1);
        };
        m_timeline.at(next, again,
                      repetition.count ? Timeline::Purpose::awaited : Timeline::Purpose::companion);
    }
}

CommandInterpreter::Action CommandInterpreter::parse_list(Tokenizer& words, const std::string&) {
    words.expect_end();
    return [this] {
        list();
    };
}

CommandInterpreter::Action CommandInterpreter::parse_help(Tokenizer& words, const std::string&) {
    const std::optional<std::string> name = words.next();
    words.expect_end();
    if (!name) {
        return [this] {
            help();
        };
    }
    return [this, &command = command_named(*name)] {
        help_with(command);
    };
}

CommandInterpreter::Action CommandInterpreter::parse_quit(Tokenizer& words, const std::string&) {
    words.expect_end();
    return [this] {
        m_output.quit();
    };
}

void CommandInterpreter::list() {
    const auto errors = m_service.model().open_errors();
    for (const auto& open : errors) {
        m_output.answer(Occurrence("open error")
                            .text("printer", open.error.printer)
                            .text("job", open.error.job)
                            .text("error_code", open.error.code)
                            .text("severity", open.error.severity)
                            .text("service_code", open.error.service_code)
                            .text("text", open.error.text)
                            .number("event", open.event)
                            .line());
    }
    m_output.answer(
        Occurrence("listed")
            .number("errors", errors.size())
            .number("events", m_service.model().newest_event())
            .word("listening", m_service.is_listening() ? "yes" : "no")
            .number("connections", m_service.connection_count())
            .text("fault", m_service.faults().description())
            .word("retell", m_service.model().is_retelling() ? "on" : "off")
            .number("hold_ms", static_cast<std::uint64_t>(m_service.hold().count()))
            .number("carry_out_ms", static_cast<std::uint64_t>(m_service.carry_out().count()))
            .line());
}

void CommandInterpreter::help() {
    for (const CommandEntry& entry : commands()) {
        m_output.answer("  " + std::string(entry.usage));
        m_output.answer("      " + std::string(entry.help));
    }
    m_output.answer("  A time in front lets a line wait: \"+500ms COMMAND\", \"@2s COMMAND\".");
    m_output.answer("  Put names with blanks in quotes; \\n, \\\", \\xFF and so on work there.");
}

void CommandInterpreter::help_with(const CommandEntry& command) {
    m_output.answer("  " + std::string(command.usage));
    m_output.answer("      " + std::string(command.help));
    std::istringstream details{std::string(command.details)};
    for (std::string line; std::getline(details, line);) {
        m_output.answer("      " + line);
    }
    if (command.parser != &CommandInterpreter::parse_fault) {
        return;
    }
    for (const FaultWord& word : fault_words()) {
        m_output.answer("  " + std::string(word.usage));
        m_output.answer("      " + std::string(word.help));
    }
}

} // namespace printer_simulator
