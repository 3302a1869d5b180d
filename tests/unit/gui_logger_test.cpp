#include "gui_logger.h"

#include <atomic>
#include <thread>
#include <vector>

#include "syslog_capture.h"
#include "test_support.h"

namespace {

std::vector<std::string> log_both_levels() {
    SyslogCapture::clear();
    GUILoggerHelper::log(NORMAL, "file.cpp", 1, "function", "normal");
    GUILoggerHelper::log(VERBOSE, "file.cpp", 2, "function", "verbose");
    std::vector<std::string> texts;
    for (const auto& line : SyslogCapture::lines()) {
        texts.push_back(line.text);
    }
    return texts;
}

const std::string NORMAL_LINE = "file.cpp:1 function normal";
const std::string VERBOSE_LINE = "file.cpp:2 function verbose";

using Lines = std::vector<std::string>;

TEST(GuiLogger, WritesNothingWithoutAConfigurationFile) {
    std::remove(ConfigFile::PATH);
    EXPECT_EQ(log_both_levels(), Lines{});
}

TEST(GuiLogger, WritesWhatTheLevelAsksFor) {
    for (const char* level : {"0", "-1", "x", ""}) {
        ConfigFile config(std::string("diagnostics.level = ") + level + "\n");
        EXPECT_EQ(log_both_levels(), Lines{}) << level;
    }
    {
        ConfigFile config("diagnostics.level = 1\n");
        EXPECT_EQ(log_both_levels(), Lines{NORMAL_LINE});
    }
    for (const char* level : {"2", "3", "2147483647"}) {
        ConfigFile config(std::string("diagnostics.level = ") + level + "\n");
        EXPECT_EQ(log_both_levels(), (Lines{NORMAL_LINE, VERBOSE_LINE})) << level;
    }
}

TEST(GuiLogger, FollowsAnEditAtTheNextCall) {
    ConfigFile config("diagnostics.level = 1\n");
    EXPECT_EQ(log_both_levels().size(), 1U);
    ConfigFile::write("diagnostics.level = 2\n");
    EXPECT_EQ(log_both_levels().size(), 2U);
    ConfigFile::replace("diagnostics.level = 0\n");
    EXPECT_EQ(log_both_levels().size(), 0U);
}

TEST(GuiLogger, MarksEveryLineAsInformation) {
    ConfigFile config("diagnostics.level = 2\n");
    EXPECT_EQ(log_both_levels().size(), 2U);
    for (const auto& line : SyslogCapture::lines()) {
        EXPECT_EQ(line.priority, LOG_INFO);
    }
}

TEST(GuiLogger, OpensTheLogOnceWithIdentityAndProcessId) {
    log_both_levels();
    log_both_levels();
    EXPECT_EQ(SyslogCapture::openings(),
              (std::vector<SyslogOpening>{{"zor_card_printer_gui", LOG_PID, LOG_USER}}));
    EXPECT_TRUE(auto_init_syslog_do_actual_work());
}

TEST(GuiLogger, WritesAMessageAsItStands) {
    ConfigFile config("diagnostics.level = 1\n");
    SyslogCapture::clear();
    GUILoggerHelper::log(NORMAL, "a%s", 7, "b%n", "100%d %s\n\xff");
    ASSERT_EQ(SyslogCapture::lines().size(), 1U);
    EXPECT_EQ(SyslogCapture::lines()[0].text, "a%s:7 b%n 100%d %s\n\xff");
}

TEST(GuiLogger, ThrowsForALevelThatDoesNotExist) {
    std::remove(ConfigFile::PATH);
    for (const int level : {2, -1}) {
        const auto unknown = static_cast<GUILogLevel>(level);
        EXPECT_EQ(thrown_text([&] { GUILoggerHelper::log(unknown, "f", 1, "g", "h"); }),
                  "Unexpected gui log level.");
        EXPECT_EQ(thrown_text([&] { is_gui_log_level_enabled(unknown); }),
                  "Unexpected gui log level.");
    }
}

TEST(GuiLogger, HelperGathersThePiecesOfALine) {
    GUILoggerHelper helper;
    EXPECT_EQ(GUILoggerHelper::stream_to_string(helper.get_ostream()), "");
    helper.get_ostream() << "number " << 12 << ' ' << 0.5;
    EXPECT_EQ(GUILoggerHelper::stream_to_string(helper.get_ostream()), "number 12 0.5");
}

TEST(GuiLogger, ShortFormNamesFileLineAndFunction) {
    ConfigFile config("diagnostics.level = 1\n");
    SyslogCapture::clear();
    const int line = __LINE__ + 1;
    GUI_LOG(NORMAL, "text " << 1);
    const auto in_a_lambda = [] {
        GUI_LOG(NORMAL, "text " << 2);
    };
    in_a_lambda();
    ASSERT_EQ(SyslogCapture::lines().size(), 2U);
    EXPECT_EQ(SyslogCapture::lines()[0].text,
              "gui_logger_test.cpp:" + std::to_string(line) + " TestBody text 1");
    EXPECT_TRUE(SyslogCapture::lines()[1].text.ends_with(" operator() text 2"));
}

TEST(GuiLogger, ServesSeveralThreadsWhileTheFileIsRewritten) {
    ConfigFile config("diagnostics.level = 2\n");
    SyslogCapture::clear();
    constexpr int threads = 4;
    constexpr int lines_each = 500;
    std::vector<std::thread> loggers;
    for (int i = 0; i < threads; ++i) {
        loggers.emplace_back([i] {
            for (int line = 0; line < lines_each; ++line) {
                GUILoggerHelper::log(VERBOSE, "file.cpp", line, "function", std::to_string(i));
            }
        });
    }
    std::atomic<bool> ready{false};
    // By rename the file is whole at every moment, so no line may be lost.
    std::thread writer([&ready] {
        while (!ready) {
            ConfigFile::replace("something = else\ndiagnostics.level = 2\n");
        }
    });
    for (auto& logger : loggers) {
        logger.join();
    }
    ready = true;
    writer.join();
    EXPECT_EQ(SyslogCapture::lines().size(), static_cast<std::size_t>(threads * lines_each));
}

TEST(GuiLogger, SurvivesAFileThatIsRewrittenInPlace) {
    ConfigFile config("diagnostics.level = 2\n");
    SyslogCapture::clear();
    std::atomic<bool> ready{false};
    std::thread writer([&ready] {
        while (!ready) {
            ConfigFile::write("diagnostics.level = 2\n");
        }
    });
    // While the file is empty a line is not written; most are, none of them twice or torn.
    int calls = 0;
    EXPECT_TRUE(wait_until([&calls] {
        for (int i = 0; i < 20; ++i) {
            GUILoggerHelper::log(NORMAL, "file.cpp", ++calls, "function", "text");
        }
        return SyslogCapture::lines().size() >= 500;
    }));
    ready = true;
    writer.join();
    int last_call = 0;
    for (const auto& line : SyslogCapture::lines()) {
        int call = 0;
        int end = 0;
        std::sscanf(line.text.c_str(), "file.cpp:%d function text%n", &call, &end);
        EXPECT_EQ(end, static_cast<int>(line.text.size())) << line.text;
        EXPECT_GT(call, last_call) << line.text;
        last_call = call;
    }
    EXPECT_LE(last_call, calls);
    ConfigFile::write("diagnostics.level = 2\n");
    EXPECT_EQ(log_both_levels().size(), 2U);
}

} // namespace
