// How the program starts: what the command line sets, when it detaches, what GTK gets to see. The
// process is never left: forking and the main loop are replaced. What a person sees of the command
// line is tested with the built program.

#include <exception>

#include "shell_support.h"
#include "translation_support.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What run_as_gui did with the process and with GTK.
struct Start {
    static inline bool is_watched = false;
    static inline pid_t fork_result = 0;
    static inline int forks = 0;
    static inline int new_sessions = 0;
    static inline int runs = 0;
    static inline int run_status = 0;
    static inline std::vector<std::string> gtk_arguments;
    static inline bool gtk_arguments_end_with_null = false;
    static inline std::string application_id;
    static inline bool activate_is_connected = false;
    static inline bool application_is_gone = false;
};

} // namespace

extern "C" {
pid_t __real_fork();
pid_t __wrap_fork();
pid_t __wrap_setsid();
int __wrap_g_application_run(GApplication* application, int argc, char** argv);
void __real_g_log_set_writer_func(GLogWriterFunc function, gpointer data, GDestroyNotify notify);
void __wrap_g_log_set_writer_func(GLogWriterFunc function, gpointer data, GDestroyNotify notify);

// The test's own writer was first; GLib takes no second one.
void __wrap_g_log_set_writer_func(GLogWriterFunc function, gpointer data, GDestroyNotify notify) {
    static bool has_writer = false;
    if (!std::exchange(has_writer, true)) {
        __real_g_log_set_writer_func(function, data, notify);
    }
}

pid_t __wrap_fork() {
    if (!Start::is_watched) {
        return __real_fork();
    }
    ++Start::forks;
    return Start::fork_result;
}

pid_t __wrap_setsid() {
    ++Start::new_sessions;
    return 1;
}

int __wrap_g_application_run(GApplication* application, int argc, char** argv) {
    ++Start::runs;
    Start::gtk_arguments.assign(argv, argv + argc);
    Start::gtk_arguments_end_with_null = argv[argc] == nullptr;
    Start::application_id = g_application_get_application_id(application);
    Start::activate_is_connected =
        g_signal_handler_find(application, G_SIGNAL_MATCH_FUNC, 0, 0, nullptr,
                              reinterpret_cast<gpointer>(initialize), nullptr) != 0;
    g_object_weak_ref(
        G_OBJECT(application), [](gpointer, GObject*) { Start::application_is_gone = true; },
        nullptr);
    return Start::run_status;
}
}

namespace {

// Calls main. The path of the program comes first.
int start_program(const std::vector<std::string>& arguments) {
    std::vector<std::string> texts{"/opt/zor/program"};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (auto& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return zor_main(static_cast<int>(texts.size()), pointers.data());
}

class ShellStartTest : public ShellTest {
protected:
    void SetUp() override {
        ShellTest::SetUp();
        Start::is_watched = true;
        Start::fork_result = 0;
        Start::forks = Start::new_sessions = Start::runs = Start::run_status = 0;
        Start::application_is_gone = false;
    }

    void TearDown() override {
        Start::is_watched = false;
        std::set_terminate(m_terminate_handler);
        ShellTest::TearDown();
    }

    // What main writes to standard output while it looks a text up.
    static std::string look_up(const std::vector<std::string>& arguments) {
        testing::internal::CaptureStdout();
        const int exit_code = start_program(arguments);
        const auto output = testing::internal::GetCapturedStdout();
        EXPECT_EQ(exit_code, 0);
        EXPECT_EQ(Start::forks + Start::runs, 0);
        return output;
    }

private:
    std::terminate_handler m_terminate_handler = std::get_terminate();
};

TEST(StartsWith, ComparesTheFirstCharacters) {
    EXPECT_TRUE(starts_with("--getstring=5", "--getstring="));
    EXPECT_TRUE(starts_with("abc", "abc"));
    EXPECT_TRUE(starts_with("abc", ""));
    EXPECT_TRUE(starts_with("", ""));
    EXPECT_FALSE(starts_with("ab", "abc"));
    EXPECT_FALSE(starts_with("", "a"));
    EXPECT_FALSE(starts_with("xabc", "abc"));
    EXPECT_FALSE(starts_with("ABC", "abc"));
}

TEST(ParseTextEasy, ReadsTheLeadingNumber) {
    EXPECT_EQ(parse_text_easy<int>("114"), 114);
    EXPECT_EQ(parse_text_easy<int>("12abc"), 12);
    EXPECT_EQ(parse_text_easy<int>(" \t\n-7 8"), -7);
    EXPECT_EQ(parse_text_easy<int>("+3"), 3);
    EXPECT_EQ(parse_text_easy<int>("0042"), 42);
    EXPECT_EQ(parse_text_easy<int>("2147483647"), 2147483647);
    EXPECT_EQ(parse_text_easy<int>("-2147483648"), INT_MIN);
}

TEST(ParseTextEasy, ThrowsForWhatIsNoNumber) {
    for (const std::string text : {"", " ", "x1", "-", "--1", ".5", "2147483648", "99999999999"}) {
        EXPECT_EQ(thrown_text([&text] { parse_text_easy<int>(text); }),
                  "Failed to parse " + text + ".");
    }
}

TEST_F(ShellStartTest, LookupOfAnEmptyTextPrintsNull) {
    const Translation translation(Translation::Texts{{"OK", ""}, {"Retry", "Nochmal"}});
    EXPECT_EQ(look_up({"-g", "36"}), "null\n");
    EXPECT_THAT(logged_by("zor_main"), testing::Contains("looked up string: 36="));
    EXPECT_EQ(look_up({"-g", "-999993"}), "Nochmal\n");
}

TEST_F(ShellStartTest, DetachesIntoASessionOfItsOwn) {
    Start::run_status = 7;
    EXPECT_EQ(start_program({}), 7);
    EXPECT_EQ(Start::forks, 1);
    EXPECT_EQ(Start::new_sessions, 1);
    EXPECT_EQ(Start::runs, 1);
}

TEST_F(ShellStartTest, TheStartingProcessEndsWithZero) {
    Start::fork_result = 4711;
    Start::run_status = 7;
    EXPECT_EQ(start_program({}), 0);
    EXPECT_EQ(Start::runs + Start::new_sessions, 0);
}

TEST_F(ShellStartTest, AFailedForkEndsWith55AndWithoutAWord) {
    Start::fork_result = -1;
    EXPECT_EQ(start_program({}), 55);
    EXPECT_EQ(Start::runs + Start::new_sessions, 0);
    EXPECT_THAT(logged_by("run_as_gui"), IsEmpty());
}

TEST_F(ShellStartTest, StaysInItsProcessWhenTold) {
    for (const std::string option : {"--no-fork", "--valgrind"}) {
        Start::runs = 0;
        Start::run_status = 3;
        EXPECT_EQ(start_program({option}), 3);
        EXPECT_EQ(Start::forks + Start::new_sessions, 0) << option;
        EXPECT_EQ(Start::runs, 1);
    }
}

TEST_F(ShellStartTest, GtkNeverSeesTheProgramsOptions) {
    start_program({"--no-fork", "--show-main-window", "--simulate-error=2", "--unknown"});
    EXPECT_THAT(Start::gtk_arguments, ElementsAre("/opt/zor/program"));
    EXPECT_TRUE(Start::gtk_arguments_end_with_null);
}

TEST_F(ShellStartTest, MakesTheApplicationAndLetsItGo) {
    start_program({"--no-fork"});
    EXPECT_EQ(Start::application_id, "tamarix.error.ui");
    EXPECT_TRUE(Start::activate_is_connected);
    EXPECT_TRUE(Start::application_is_gone);
}

TEST_F(ShellStartTest, SettingsReachTheSharedState) {
    start_program({"--no-fork", "--show-main-window", "--valgrind", "--valgrind-num-boxes=3x",
                   "--simulate-error=two words"});
    EXPECT_EQ(global_gui_state.program_path, "/opt/zor/program");
    EXPECT_TRUE(global_gui_state.show_main_window);
    EXPECT_TRUE(global_gui_state.valgrind_mode);
    EXPECT_EQ(global_gui_state.valgrind_num_boxes, 3);
    EXPECT_EQ(global_gui_state.simulate_error, "two words");
}

TEST_F(ShellStartTest, DefaultsReachTheSharedState) {
    start_program({"--no-fork", "--simulate-error=", "--Valgrind", "--valgrind-num-boxes", "9"});
    EXPECT_FALSE(global_gui_state.show_main_window);
    EXPECT_FALSE(global_gui_state.valgrind_mode);
    EXPECT_EQ(global_gui_state.valgrind_num_boxes, 5);
    EXPECT_EQ(global_gui_state.simulate_error, "");
}

TEST_F(ShellStartTest, ALaterOptionOverridesAnEarlierOne) {
    start_program({"--no-fork", "--valgrind-num-boxes=3", "--simulate-error=1",
                   "--valgrind-num-boxes=-2", "--simulate-error=4"});
    EXPECT_EQ(global_gui_state.valgrind_num_boxes, -2);
    EXPECT_EQ(global_gui_state.simulate_error, "4");
}

TEST_F(ShellStartTest, LogsItsStartAndItsEnd) {
    Start::run_status = 7;
    start_program({"--no-fork"});
    EXPECT_THAT(logged_by("zor_main"), ElementsAre("begin", "argc=2 argv[0]=/opt/zor/program"));
    EXPECT_THAT(logged_by("run_as_gui"), ElementsAre("end; exit_code=7"));
}

} // namespace
