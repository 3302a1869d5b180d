// Keeps docs/protocol.md, the files in docs/examples and the simulated service together.
#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "glib_support.h"
#include "simulator_test_support.h"
#include "wire.h"

namespace printer_simulator::test {
namespace {

std::string example(const std::string& name) {
    return file_content(std::string(DOCS_DIRECTORY) + "/examples/" + name);
}

// The bytes as `xxd` shows them.
std::string hexdump(std::string_view bytes) {
    std::string out;
    for (std::size_t at = 0; at < bytes.size(); at += 16) {
        const std::string_view row = bytes.substr(at, 16);
        std::array<char, 32> number;
        std::snprintf(number.data(), number.size(), "%08zx:", at);
        std::string hex;
        std::string text;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const auto byte = static_cast<unsigned char>(row[i]);
            std::array<char, 8> pair;
            std::snprintf(pair.data(), pair.size(), "%s%02x", i % 2 == 0 ? " " : "", byte);
            hex += pair.data();
            text += byte >= 0x20 && byte < 0x7f ? row[i] : '.';
        }
        hex.resize(40, ' ');
        out += number.data() + hex + "  " + text + "\n";
    }
    return out;
}

// Listings of protocol.md: "<!-- FILE as FORM -->", then a fenced block. By file name and form.
std::multimap<std::string, std::pair<std::string, std::string>> listings() {
    std::multimap<std::string, std::pair<std::string, std::string>> found;
    std::istringstream lines(file_content(std::string(DOCS_DIRECTORY) + "/protocol.md"));
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string open, file, as, form;
        if (!(words >> open >> file >> as >> form) || open != "<!--" || as != "as") {
            continue;
        }
        std::getline(lines, line);
        EXPECT_TRUE(line.starts_with("```")) << file;
        std::string block;
        while (std::getline(lines, line) && line != "```") {
            block += line + "\n";
        }
        found.emplace(file, std::pair(form, block));
    }
    return found;
}

TEST(ProtocolDocument, ShowsItsExampleFilesAsTheyAre) {
    for (const auto& [file, listing] : listings()) {
        const auto& [form, block] = listing;
        const std::string content = example(file);
        if (form == "hexdump") {
            EXPECT_EQ(block, hexdump(content)) << file;
        } else if (form == "frame-text") {
            EXPECT_EQ(block, content.substr(std::min(content.size(), PREFIX_SIZE))) << file;
        } else {
            EXPECT_EQ(form, "text") << file;
            EXPECT_EQ(block, content) << file;
        }
    }
}

TEST(ProtocolDocument, ShowsEveryExampleFile) {
    std::set<std::string> shown;
    for (const auto& [file, listing] : listings()) {
        shown.insert(file);
    }
    std::set<std::string> present;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(DOCS_DIRECTORY) + "/examples")) {
        present.insert(entry.path().filename());
    }
    EXPECT_EQ(shown, present);
    EXPECT_GE(shown.size(), 10U);
}

TEST(ProtocolExamples, AreWholeFrames) {
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(DOCS_DIRECTORY) + "/examples")) {
        if (entry.path().extension() == ".bin") {
            const std::string bytes = file_content(entry.path());
            ASSERT_GE(bytes.size(), PREFIX_SIZE) << entry.path();
            EXPECT_EQ(decoded_prefix(bytes), bytes.size() - PREFIX_SIZE) << entry.path();
        }
    }
}

} // namespace
} // namespace printer_simulator::test
