// Runs the example of docs/testing-with-the-simulator.md as it stands there.
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "glib_support.h"
#include "simulator_test_support.h"

namespace printer_simulator::test {
namespace {

// The files of the page: "<!-- NAME -->", then a fenced block.
std::map<std::string, std::string> files_of_the_page() {
    std::map<std::string, std::string> files;
    std::istringstream page(
        file_content(std::string(DOCS_DIRECTORY) + "/testing-with-the-simulator.md"));
    for (std::string line; std::getline(page, line);) {
        if (!line.starts_with("<!-- ") || !line.ends_with(" -->")) {
            continue;
        }
        const std::string name = line.substr(5, line.size() - 9);
        std::getline(page, line);
        EXPECT_TRUE(line.starts_with("```")) << name;
        while (std::getline(page, line) && line != "```") {
            files[name] += line + "\n";
        }
    }
    return files;
}

class IntegratorsPage : public testing::Test {
protected:
    // The exit status of the check, run with the simulator of this build.
    int run_check() const {
        const std::string command =
            "cd '" + m_directory.path().string() + "' && PATH='" +
            std::filesystem::path(SIMULATOR_PROGRAM).parent_path().string() +
            "':$PATH bash check.sh >output 2>&1";
        const int status = std::system(command.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string output() const { return file_content(m_directory.path() / "output"); }

    TemporaryDirectory m_directory;
    std::map<std::string, std::string> m_files = files_of_the_page();
};

TEST_F(IntegratorsPage, HasACheckThatPassesWithItsClient) {
    for (const char* name : {"retry.scenario", "client.py", "check.sh"}) {
        ASSERT_TRUE(m_files.contains(name)) << name;
        m_directory.file(name, m_files[name]);
    }
    EXPECT_EQ(run_check(), 0) << output();
    EXPECT_NE(output().find("expectation met where=\"retry.scenario:7\""), std::string::npos)
        << output();
}

TEST_F(IntegratorsPage, HasACheckThatFailsWithAClientThatNeverAnswers) {
    std::string scenario = m_files["retry.scenario"];
    std::string client = m_files["client.py"];
    const std::string patience = "within 10s\n";
    ASSERT_NE(scenario.find(patience), std::string::npos);
    for (std::size_t at = 0; (at = scenario.find(patience)) != std::string::npos;) {
        // The client, which asks all the same, must have started by then.
        scenario.replace(at, patience.size(), "within 3s\n");
    }
    ASSERT_NE(client.find("== \"PrinterStatus\""), std::string::npos);
    client.replace(client.find("== \"PrinterStatus\""), 18, "== \"Another\"");
    m_directory.file("retry.scenario", scenario);
    m_directory.file("client.py", client);
    m_directory.file("check.sh", m_files["check.sh"]);
    EXPECT_EQ(run_check(), 1) << output();
    // The line on the page, but for the times.
    const std::string shown = m_files["output of a client that never answers"];
    const std::string beginning = shown.substr(0, shown.find("within"));
    ASSERT_FALSE(beginning.empty());
    EXPECT_NE(output().find(beginning), std::string::npos) << output();
    EXPECT_NE(output().find(" status requests\""), std::string::npos) << output();
}

TEST_F(IntegratorsPage, HasACheckThatFailsWithABadScenario) {
    m_directory.file("retry.scenario", "expect nothing\n" + m_files["retry.scenario"]);
    m_directory.file("client.py", m_files["client.py"]);
    m_directory.file("check.sh", m_files["check.sh"]);
    EXPECT_EQ(run_check(), 1) << output();
    EXPECT_NE(output().find("retry.scenario:1: nothing known to expect"), std::string::npos)
        << output();
}

} // namespace
} // namespace printer_simulator::test
