// The shell's endless threads, and the activation that starts them.

#include "shell_support.h"

namespace {

using testing::ElementsAre;
using testing::SizeIs;

// ---- The printer I/O thread ---------------------------------------------------------------------

struct EnoughRounds {};

class PrinterIoTest : public ShellTest {
protected:
    // Runs the loop for so many rounds, with a step of the test in each rest; gives the rests in
    // microseconds.
    static std::vector<gulong> run_rounds(std::size_t count,
                                          const std::function<void(std::size_t)>& between = {}) {
        std::vector<gulong> rests;
        rest = [&rests, &between, count](gulong microseconds) {
            rests.push_back(microseconds);
            if (between) {
                between(rests.size());
            }
            if (rests.size() == count) {
                throw EnoughRounds{};
            }
        };
        EXPECT_THROW(printer_io_thread_proc(std::make_shared<std::mutex>(),
                                            std::make_shared<std::vector<ZORPrinterError>>()),
                     EnoughRounds);
        return rests;
    }
};

constexpr gulong AFTER_SUCCESS = 100000;
constexpr gulong AFTER_FAILURE = 10000000;

TEST_F(PrinterIoTest, AsksWithThePriorReplyWhileTheServiceAnswers) {
    start_service();
    service->add_reply("<PrinterStatus><PrinterName>P</PrinterName></PrinterStatus>");
    service->add_reply("not a document");
    EXPECT_THAT(run_rounds(3, [](std::size_t) { global_gui_state.status_delivery.taken(); }),
                ElementsAre(AFTER_SUCCESS, AFTER_SUCCESS, AFTER_SUCCESS));
    EXPECT_THAT(service->requests(),
                ElementsAre("{{get-published-info}}",
                            "{{get-published-info}}"
                            "<PrinterStatus><PrinterName>P</PrinterName></PrinterStatus>",
                            "{{get-published-info}}not a document"));
    EXPECT_THAT(logged_by("printer_io_thread_proc"), ElementsAre("begin"));
}

TEST_F(PrinterIoTest, HandsEachStatusOver) {
    start_service();
    service->add_reply("<PrinterStatus><PrinterName>P</PrinterName>"
                       "<PrinterJobID>7</PrinterJobID></PrinterStatus>");
    run_rounds(1);
    ASSERT_NE(global_gui_state.new_printer_status, nullptr);
    ASSERT_THAT(global_gui_state.new_printer_status->errors, SizeIs(1));
    EXPECT_EQ(global_gui_state.new_printer_status->errors.front().printer_job_id, "7");
}

TEST_F(PrinterIoTest, AnswersFromBeforeTheRequestTakeNothingOut) {
    global_gui_state.status_delivery.asked();
    global_gui_state.status_delivery.answered(make_error("P", "7"));
    start_service();
    service->add_reply("<PrinterStatus><PrinterName>P</PrinterName>"
                       "<PrinterJobID>7</PrinterJobID></PrinterStatus>");
    run_rounds(1);
    ASSERT_NE(global_gui_state.new_printer_status, nullptr);
    EXPECT_THAT(global_gui_state.new_printer_status->errors, SizeIs(1));
}

TEST_F(PrinterIoTest, AsksForNoMoreWhileNewsOfAnErrorWaitsForTheTick) {
    start_service();
    service->add_reply("<PrinterStatus><PrinterName>P</PrinterName></PrinterStatus>");
    std::vector<std::size_t> requests;
    const auto rests = run_rounds(4, [this, &requests](std::size_t round) {
        requests.push_back(service->count_requests());
        if (round == 3) {
            EXPECT_THAT(global_gui_state.status_delivery.taken()->errors, SizeIs(1));
        }
    });
    EXPECT_THAT(requests, ElementsAre(1, 1, 1, 2));
    EXPECT_THAT(rests, ElementsAre(AFTER_SUCCESS, AFTER_SUCCESS, AFTER_SUCCESS, AFTER_SUCCESS));
}

TEST_F(PrinterIoTest, AFailedCommandCostsNoPause) {
    start_service();
    service->add_reply("<A/>");
    const auto rests = run_rounds(3, [](std::size_t round) {
        if (round == 1) {
            handle_failed_command();
        }
    });
    EXPECT_THAT(rests, ElementsAre(AFTER_SUCCESS, AFTER_SUCCESS, AFTER_SUCCESS));
    EXPECT_THAT(service->requests(), ElementsAre("{{get-published-info}}", "{{get-published-info}}",
                                                 "{{get-published-info}}"));
}

TEST_F(PrinterIoTest, AServiceThatIsDownHandsNothingOver) {
    EXPECT_THAT(run_rounds(3), ElementsAre(AFTER_FAILURE, AFTER_FAILURE, AFTER_FAILURE));
    EXPECT_EQ(global_gui_state.new_printer_status, nullptr);
    const std::string line = "caught c++ exception: Failed to connect socket.";
    EXPECT_THAT(logged_by("printer_io_thread_proc"), ElementsAre("begin", line, line, line));
}

TEST_F(PrinterIoTest, AsksAfreshWhenTheServiceComesBack) {
    start_service();
    service->add_reply("<A/>");
    std::vector<std::string> requests_before;
    const auto rests = run_rounds(4, [this, &requests_before](std::size_t round) {
        if (round == 2) {
            requests_before = service->requests();
            service.reset();
        } else if (round == 3) {
            start_service();
        }
    });
    EXPECT_THAT(requests_before,
                ElementsAre("{{get-published-info}}", "{{get-published-info}}<A/>"));
    EXPECT_THAT(rests, ElementsAre(AFTER_SUCCESS, AFTER_SUCCESS, AFTER_FAILURE, AFTER_SUCCESS));
    EXPECT_THAT(service->requests(), ElementsAre("{{get-published-info}}"));
}

TEST_F(PrinterIoTest, SurvivesAnythingThatIsThrown) {
    connecting_throws_no_exception_class = true;
    EXPECT_THAT(run_rounds(2), ElementsAre(AFTER_FAILURE, AFTER_FAILURE));
    EXPECT_THAT(logged_by("printer_io_thread_proc"),
                ElementsAre("begin", "caught unexpected exception", "caught unexpected exception"));
}

// ---- The tick thread ----------------------------------------------------------------------------

class TickThreadTest : public ShellTest {
protected:
    void start() {
        expect_threads_to_stay(1);
        rest = [this_turnstile = &turnstile](gulong microseconds) {
            EXPECT_EQ(microseconds, 100000U);
            this_turnstile->pass();
        };
        start_timer_tick();
        ASSERT_TRUE(turnstile.wait_for_arrivals(1));
    }

    void run_one_round() {
        turnstile.let_one_pass();
        ASSERT_TRUE(turnstile.wait_for_arrivals(++m_rounds));
    }

    Turnstile& turnstile = Turnstile::make();

private:
    int m_rounds = 1;
};

TEST_F(TickThreadTest, KeepsAtMostOneTickPending) {
    start();
    for (int round = 0; round < 5; ++round) {
        run_one_round();
    }
    EXPECT_EQ(global_gui_state.timer_tick_call_counter, 0);
    run_main_loop_until_idle();
    EXPECT_EQ(global_gui_state.timer_tick_call_counter, 1);
    run_one_round();
    run_one_round();
    run_main_loop_until_idle();
    EXPECT_EQ(global_gui_state.timer_tick_call_counter, 2);
}

TEST_F(TickThreadTest, KeepsTickingWhenTheCounterWraps) {
    global_gui_state.timer_tick_call_counter = 250;
    start();
    for (int tick = 1; tick <= 300; ++tick) {
        run_main_loop_until_idle();
        ASSERT_EQ(global_gui_state.timer_tick_call_counter, (250 + tick) % 256);
        run_one_round();
    }
    run_main_loop_until_idle();
}

// ---- Activation ---------------------------------------------------------------------------------

class ActivationTest : public ShellTest {
protected:
    // One for all tests: a process cannot register a second one.
    static void SetUpTestSuite() {
        s_app = gtk_application_new("tamarix.error.ui", G_APPLICATION_FLAGS_NONE);
        g_signal_connect(s_app, "activate", G_CALLBACK(initialize), nullptr);
        GError* error = nullptr;
        ASSERT_TRUE(g_application_register(G_APPLICATION(s_app), nullptr, &error))
            << error->message;
    }

    static void TearDownTestSuite() { g_object_unref(s_app); }

    void SetUp() override {
        ShellTest::SetUp();
        rest = [turnstile = &m_turnstile](gulong) {
            turnstile->pass();
        };
    }

    void TearDown() override {
        while (auto* window = main_window()) {
            gtk_widget_destroy(GTK_WIDGET(window));
        }
        ShellTest::TearDown();
    }

    static void activate() { g_application_activate(G_APPLICATION(s_app)); }

    // Activates, and waits until both threads are done with their first round.
    void activate_first() {
        expect_threads_to_stay(2);
        m_threads_before = StandardThreads::started;
        activate();
        ASSERT_EQ(count_threads(), 2);
        ASSERT_TRUE(m_turnstile.wait_for_arrivals(2));
    }

    int count_threads() const { return StandardThreads::started - m_threads_before; }

    static unsigned count_windows() { return g_list_length(gtk_application_get_windows(s_app)); }

    static GtkWindow* main_window() {
        auto* windows = gtk_application_get_windows(s_app);
        return windows != nullptr ? GTK_WINDOW(windows->data) : nullptr;
    }

private:
    static inline GtkApplication* s_app = nullptr;
    Turnstile& m_turnstile = Turnstile::make();
    int m_threads_before = 0;
};

TEST_F(ActivationTest, MakesAHiddenWindowAndTwoThreads) {
    activate_first();
    ASSERT_EQ(count_windows(), 1U);
    EXPECT_STREQ(gtk_window_get_title(main_window()),
                 "Error UI Window: Temp Main Window for Early Testing");
    int width = 0;
    int height = 0;
    gtk_window_get_default_size(main_window(), &width, &height);
    EXPECT_EQ(width, 200);
    EXPECT_EQ(height, 200);
    EXPECT_FALSE(gtk_widget_get_visible(GTK_WIDGET(main_window())));
    EXPECT_THAT(logged_by("initialize"),
                ElementsAre("begin", "starting printer io", "started printer io", "end"));
}

TEST_F(ActivationTest, TheThreadsTickAndPoll) {
    start_service();
    service->add_reply("<PrinterStatus><PrinterName>P</PrinterName>"
                       "<PrinterJobID>7</PrinterJobID><ErrorCode>114</ErrorCode>"
                       "<ErrorSeverity>3</ErrorSeverity></PrinterStatus>");
    activate_first();
    run_main_loop_until_idle();
    EXPECT_EQ(global_gui_state.timer_tick_call_counter, 1);
    EXPECT_THAT(presented_keys(), ElementsAre("P:::7"));
}

TEST_F(ActivationTest, TestModesShowTheWindow) {
    global_gui_state.show_main_window = true;
    activate_first();
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(main_window())));
}

TEST_F(ActivationTest, ValgrindModeShowsTheWindow) {
    global_gui_state.valgrind_mode = true;
    activate_first();
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(main_window())));
}

TEST_F(ActivationTest, HappensOnce) {
    activate_first();
    const auto* window = main_window();
    activate();
    activate();
    EXPECT_EQ(count_threads(), 2);
    EXPECT_EQ(count_windows(), 1U);
    EXPECT_EQ(main_window(), window);
    EXPECT_EQ(logged_by("initialize").back(), "end; already active");
}

} // namespace
