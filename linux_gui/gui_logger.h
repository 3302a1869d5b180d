// Diagnostic lines for the system log, switched by the configuration file at every call.
#pragma once

#include <ostream>
#include <sstream>
#include <string>

enum GUILogLevel : int {
    NORMAL = 0,  // written when diagnostics.level is 1 or more
    VERBOSE = 1, // written when diagnostics.level is 2 or more
};

// Builds the text of one log line on the stack of its caller, and writes it. GUI_LOG below is the
// short form of the whole pattern.
class GUILoggerHelper {
public:
    GUILoggerHelper();
    ~GUILoggerHelper();
    GUILoggerHelper(const GUILoggerHelper&) = delete;
    GUILoggerHelper& operator=(const GUILoggerHelper&) = delete;

    // The stream that the caller writes the message into; lives as long as this object.
    std::ostream& get_ostream();

    // All the text written so far into stream, which must be a string stream.
    static std::string stream_to_string(std::ostream& stream);

    // Writes `file_name:line_number function_name str` to the system log with priority LOG_INFO
    // under the identity zor_card_printer_gui, if the level is enabled now. May be called from any
    // thread. Throws std::runtime_error "Unexpected gui log level." for a level outside the
    // enumeration.
    static void log(GUILogLevel level, const std::string& file_name, int line_number,
                    const std::string& function_name, const std::string& str);

private:
    std::ostringstream m_stream;
};

// Whether a line of this level would be written now; reads the configuration file. Throws like
// GUILoggerHelper::log.
bool is_gui_log_level_enabled(GUILogLevel level);

// Opens the system log at the first call in the process; any thread.
void auto_init_syslog();

// The opening itself. Always true: the system log reports no failure to open.
bool auto_init_syslog_do_actual_work();

// The last step of GUI_LOG: GUILoggerHelper::log with the text that helper holds. Some thirty
// places are passed in each poll; what it builds for them stands here once, so that they stay
// small.
void gui_log_built_line(GUILogLevel level, const char* file_name, int line_number,
                        const char* function_name, GUILoggerHelper& helper);

// Logs the pieces, joined by <<, under the place where it stands.
#define GUI_LOG(level, pieces)                                                                     \
    do {                                                                                           \
        GUILoggerHelper gui_log_helper;                                                            \
        gui_log_helper.get_ostream() << pieces; /* NOLINT(bugprone-macro-parentheses) */           \
        gui_log_built_line(level, __FILE_NAME__, __LINE__, __func__, gui_log_helper);              \
    } while (false)
