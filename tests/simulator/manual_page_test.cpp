// Holds the manual page and the command "help" to the same commands and faults.
#include <algorithm>
#include <array>
#include <sstream>

#include <gtest/gtest.h>

#include "command_interpreter.h"
#include "glib_support.h"

namespace printer_simulator::test {
namespace {

struct Entry {
    std::string tag;  // as a person reads it
    std::string text; // the same, on one line
};

// A line of the page without its macro, quotes and fonts.
std::string plain(std::string_view line) {
    bool joins_arguments = false;
    if (line.starts_with('.')) {
        const std::string_view macro = line.substr(0, line.find(' '));
        joins_arguments = macro.size() == 3;
        line.remove_prefix(std::min(macro.size() + 1, line.size()));
    }
    std::string out;
    bool quoted = false;
    for (std::size_t at = 0; at < line.size(); ++at) {
        const std::string_view rest = line.substr(at);
        if (rest.starts_with("\\f")) {
            at += 2;
        } else if (rest.starts_with("\\(dq") || rest.starts_with("\\(aq")) {
            out += rest[2] == 'd' ? '"' : '\'';
            at += 3;
        } else if (rest.starts_with("\\-")) {
            out += '-';
            ++at;
        } else if (rest[0] == '"') {
            quoted = !quoted;
        } else if (rest[0] != ' ' || quoted || !joins_arguments) {
            out += rest[0];
        }
    }
    return out;
}

// The entries of one section, before its first subsection.
std::vector<Entry> entries(const std::string& section) {
    std::istringstream page(
        file_content(std::string(DOCS_DIRECTORY) + "/man/zor-printer-service-simulator.1"));
    std::vector<Entry> found;
    std::string line;
    while (std::getline(page, line) && line != ".SH " + section) {
    }
    while (std::getline(page, line) && !line.starts_with(".SH") && !line.starts_with(".SS") &&
           line != ".PP") {
        if (line == ".TP") {
            std::getline(page, line);
            found.push_back({plain(line), ""});
        } else if (!found.empty()) {
            std::string& text = found.back().text;
            text += (text.empty() ? "" : " ") + plain(line);
        }
    }
    return found;
}

TEST(ManualPage, TellsOfEveryFaultWhatHelpTells) {
    const std::vector<Entry> told = entries("FAULTS");
    ASSERT_EQ(told.size(), fault_words().size());
    for (std::size_t i = 0; i < told.size(); ++i) {
        const FaultWord& word = fault_words()[i];
        EXPECT_EQ(told[i].tag, word.usage);
        EXPECT_EQ(told[i].text.substr(0, word.help.size()), word.help);
    }
}

TEST(ManualPage, ShowsTheUsageOfEveryCommand) {
    std::vector<std::string> answers;
    PrinterService service;
    Timeline timeline(nullptr);
    Expectations expectations(timeline, {});
    InterpreterOutput output;
    output.answer = [&answers](std::string_view line) {
        answers.emplace_back(line);
    };
    CommandInterpreter interpreter(service, timeline, expectations, output);
    interpreter.execute("help", "stdin:1");
    std::vector<std::string> usages;
    for (std::size_t i = 0; i + 1 < answers.size(); i += 2) {
        usages.push_back(answers[i].substr(2));
    }
    usages.pop_back(); // the lines at the end are about all commands
    std::vector<std::string> told;
    for (const Entry& entry : entries("COMMANDS")) {
        told.push_back(entry.tag);
    }
    EXPECT_GE(told.size(), 16U);
    EXPECT_EQ(told, usages);
}

} // namespace
} // namespace printer_simulator::test
