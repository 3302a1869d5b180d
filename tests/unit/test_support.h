// What several unit tests share. Everything here expects to run in the sandbox.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>

#include <gtest/gtest.h>

// Deadlines grow under sanitizers and valgrind: ZOR_DEADLINE_SCALE multiplies them.
inline std::chrono::milliseconds scaled(std::chrono::milliseconds deadline) {
    const char* scale = std::getenv("ZOR_DEADLINE_SCALE");
    return scale != nullptr ? deadline * std::max(1, std::atoi(scale)) : deadline;
}

// The number in a variable of the environment.
inline std::uint64_t read_environment(const char* name, std::uint64_t default_value) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : default_value;
}

// Waits until the condition holds; false when the deadline passes first.
inline bool wait_until(const std::function<bool()>& condition,
                       std::chrono::milliseconds deadline = std::chrono::seconds(10)) {
    const auto end = std::chrono::steady_clock::now() + scaled(deadline);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// The configuration file of the sandbox; gone again at the end of the test.
class ConfigFile {
public:
    static constexpr const char* PATH = "/etc/zor-card-printer.conf";

    explicit ConfigFile(std::string_view content) { write(content); }
    ~ConfigFile() { std::remove(PATH); }
    ConfigFile(const ConfigFile&) = delete;
    ConfigFile& operator=(const ConfigFile&) = delete;

    static void write(std::string_view content) { write_to(PATH, content); }

    // Writes a file beside it and puts it in its place at once.
    static void replace(std::string_view content) {
        const std::string fresh = std::string(PATH) + ".new";
        write_to(fresh, content);
        if (std::rename(fresh.c_str(), PATH) != 0) {
            throw std::runtime_error("cannot replace the configuration file");
        }
    }

private:
    static void write_to(const std::string& path, std::string_view content) {
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file << content;
        if (!file.flush()) {
            throw std::runtime_error("cannot write " + path + "; not in the sandbox?");
        }
    }
};

// A directory of its own, gone at the end.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string pattern = std::filesystem::temp_directory_path() / "zor-test-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot make a temporary directory");
        }
        m_path = pattern;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return m_path; }

    // Writes a file there and returns its path.
    std::string file(const std::string& name, std::string_view content) const {
        std::ofstream(m_path / name, std::ios::binary) << content;
        return m_path / name;
    }

private:
    std::filesystem::path m_path;
};

// The text of the std::runtime_error that a call throws; a failure of the test when it throws none.
template <typename Function>
std::string thrown_text(Function&& function) {
    try {
        function();
    } catch (const std::runtime_error& ex) {
        return ex.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

// The document with which an answer reaches the service. The texts are escaped already.
inline std::string job_command(std::string_view printer, std::string_view job,
                               std::string_view code, int action) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<PrinterAction>\n";
    text.append("    <PrinterName>").append(printer).append("</PrinterName>\n");
    text.append("    <Action>").append(std::to_string(action)).append("</Action>\n");
    text.append("    <PrinterJobID>").append(job).append("</PrinterJobID>\n");
    text.append("    <ErrorCode>").append(code).append("</ErrorCode>\n");
    return text + "</PrinterAction>\n";
}
