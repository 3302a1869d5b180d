#include "gui_logger.h"

#include <syslog.h>

#include <iostream>
#include <stdexcept>

#include "gui_config.h"

GUILoggerHelper::GUILoggerHelper() = default;

GUILoggerHelper::~GUILoggerHelper() = default;

std::ostream& GUILoggerHelper::get_ostream() {
    return m_stream;
}

std::string GUILoggerHelper::stream_to_string(std::ostream& stream) {
    return static_cast<std::ostringstream&>(stream).str();
}

void GUILoggerHelper::log(GUILogLevel level, const std::string& file_name, int line_number,
                          const std::string& function_name, const std::string& str) {
    auto_init_syslog();
    const bool enabled = is_gui_log_level_enabled(level);
    if (!enabled) {
        return;
    }
    std::ostringstream builder;
    builder << file_name << ":" << line_number << " " << function_name << " " << str;
    const auto log_text = builder.str();
    // The message may hold anything that the service sent; it is never a format.
    syslog(LOG_INFO, "%s", log_text.c_str());
}

bool is_gui_log_level_enabled(GUILogLevel level) {
    const int current_level = gui_config_get_diagnostic_level();
    switch (level) {
    case NORMAL:
        return current_level > 0;
    case VERBOSE:
        return current_level > 1;
    }
    throw std::runtime_error("Unexpected gui log level.");
}

void auto_init_syslog() {
    static const bool initialized = auto_init_syslog_do_actual_work();
    // Outside the one-time part, so that a log that cannot be opened is told at every call.
    if (!initialized) {
        std::cerr << "failed to initialize logging\n";
    }
}

bool auto_init_syslog_do_actual_work() {
    openlog("zor_card_printer_gui", LOG_PID, LOG_USER);
    return true;
}

void gui_log_built_line(GUILogLevel level, const char* file_name, int line_number,
                        const char* function_name, GUILoggerHelper& helper) {
    GUILoggerHelper::log(level, file_name, line_number, function_name,
                         GUILoggerHelper::stream_to_string(helper.get_ostream()));
}
