// What single operations of the program cost. For the sandbox: it needs port 1753,
// /etc/zor-card-printer.conf and /dev/log to itself.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

#include <benchmark/benchmark.h>

#include "documents.h"
#include "gui_config.h"
#include "gui_logger.h"
#include "service_thread.h"
#include "zor_messages.h"
#include "zor_printer_io.h"

namespace {

// The configuration file, for the life of the object.
class ConfigFile {
public:
    explicit ConfigFile(const std::string& content) {
        std::ofstream file(PATH, std::ios::binary);
        file << content;
        if (!file.flush()) {
            throw std::runtime_error("cannot write the configuration file: not in the sandbox?");
        }
    }
    ~ConfigFile() { std::remove(PATH); }
    ConfigFile(const ConfigFile&) = delete;
    ConfigFile& operator=(const ConfigFile&) = delete;

private:
    static constexpr const char* PATH = "/etc/zor-card-printer.conf";
};

// A file of so many lines, the last of which sets the level.
std::string config_with_level_in_line(int lines, int level) {
    std::string content;
    for (int i = 1; i < lines; ++i) {
        content += "some.setting.number." + std::to_string(i) + " = value\n";
    }
    return content + "diagnostics.level = " + std::to_string(level) + "\n";
}

// The system log: takes what is sent to /dev/log and drops it.
class LogSink {
public:
    LogSink() : m_socket(socket(AF_UNIX, SOCK_DGRAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, "/dev/log");
        unlink(address.sun_path);
        if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
            throw std::runtime_error("cannot bind /dev/log: not in the sandbox?");
        }
        std::thread([socket = m_socket] {
            std::array<char, 65536> line;
            while (recv(socket, line.data(), line.size(), 0) > 0) {
            }
        }).detach();
    }

private:
    int m_socket;
};

const printer_simulator::PrinterError ERROR{"Front Desk", "17", "110", "3",
                                            "Print ribbon out or missing."};

void status_exchange(benchmark::State& state) {
    printer_simulator::ServiceThread service({}, printer_simulator::PRINTER_SERVICE_PORT);
    service.call([](auto& printer_service) { printer_service.publish_error(ERROR); });
    auto prior = get_updated_printer_status(nullptr);
    for (auto _ : state) {
        prior = get_updated_printer_status(&prior);
    }
    if (prior.errors.size() != 1) {
        state.SkipWithError("the reply holds no error");
    }
}
BENCHMARK(status_exchange)->UseRealTime();

void parse_status(benchmark::State& state) {
    const auto document =
        printer_simulator::status_document(printer_simulator::EventKind::show, ERROR, 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(parse_printer_status(document));
    }
}
BENCHMARK(parse_status);

void parse_idle_status(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(parse_printer_status(printer_simulator::idle_document()));
    }
}
BENCHMARK(parse_idle_status);

void escape_text(benchmark::State& state) {
    const std::string text = "Front Desk <second floor> & \"annex\"";
    for (auto _ : state) {
        benchmark::DoNotOptimize(xml_escape(text));
    }
}
BENCHMARK(escape_text);

// A command document and its exchange: the document is built only to be sent.
void job_command(benchmark::State& state) {
    const printer_simulator::ServiceThread service({}, printer_simulator::PRINTER_SERVICE_PORT);
    for (auto _ : state) {
        execute_printer_job_command("Front Desk", "17", "110", 102);
    }
}
BENCHMARK(job_command)->UseRealTime();

// The same exchange without a document, to be subtracted.
void empty_command(benchmark::State& state) {
    const printer_simulator::ServiceThread service({}, printer_simulator::PRINTER_SERVICE_PORT);
    for (auto _ : state) {
        benchmark::DoNotOptimize(execute_printer_op(""));
    }
}
BENCHMARK(empty_command)->UseRealTime();

void look_up_text(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(get_message_text(1110));
    }
}
BENCHMARK(look_up_text);

void look_up_mapping(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(looked_up_printer_error_strings(522));
    }
}
BENCHMARK(look_up_mapping);

void log_one_line(benchmark::State& state) {
    for (auto _ : state) {
        GUI_LOG(VERBOSE, "read reply length=" << 111);
    }
}

void log_without_file(benchmark::State& state) {
    log_one_line(state);
}
BENCHMARK(log_without_file);

void log_disabled_by_line(benchmark::State& state) {
    const ConfigFile file(config_with_level_in_line(static_cast<int>(state.range(0)), 0));
    log_one_line(state);
}
BENCHMARK(log_disabled_by_line)->Arg(1)->Arg(10);

void log_enabled(benchmark::State& state) {
    static const LogSink sink;
    const ConfigFile file(config_with_level_in_line(1, 2));
    log_one_line(state);
}
BENCHMARK(log_enabled);

void look_up_setting_in_line(benchmark::State& state) {
    const ConfigFile file(config_with_level_in_line(static_cast<int>(state.range(0)), 7));
    for (auto _ : state) {
        if (gui_config_get_diagnostic_level() != 7) {
            state.SkipWithError("another level");
            break;
        }
    }
}
BENCHMARK(look_up_setting_in_line)->Arg(1)->Arg(100);

} // namespace

BENCHMARK_MAIN();
