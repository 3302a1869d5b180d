// The shell: what the threads share, and the life of boxes from tick to tick.

#include "shell_support.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// ---- Records and guards -------------------------------------------------------------------------

GObject* make_object() {
    return G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
}

// An object with one reference of the test's own beside the one that is given away.
class GtkReleaserTest : public testing::Test {
protected:
    ~GtkReleaserTest() override { g_object_unref(object); }

    unsigned references() const { return object->ref_count; }

    GObject* const object = make_object();
};

TEST_F(GtkReleaserTest, GivesBackWhatItTakesAndReleasesItOnceAtTheLatestAtTheEnd) {
    {
        GtkReleaser releaser;
        EXPECT_EQ(releaser.set(G_OBJECT(g_object_ref(object))), object);
        EXPECT_EQ(references(), 2U);
        releaser.release();
        releaser.release();
        EXPECT_EQ(references(), 1U);
        releaser.set(G_OBJECT(g_object_ref(object)));
    }
    EXPECT_EQ(references(), 1U);
}

TEST_F(GtkReleaserTest, ForgetsWithoutReleasing) {
    {
        GtkReleaser releaser;
        releaser.set(G_OBJECT(g_object_ref(object)));
        releaser.forget();
    }
    EXPECT_EQ(references(), 2U);
    g_object_unref(object);
}

TEST_F(GtkReleaserTest, SettingReleasesWhatItHeld) {
    GtkReleaser releaser;
    releaser.set(G_OBJECT(g_object_ref(object)));
    auto* other = releaser.set(make_object());
    EXPECT_EQ(references(), 1U);
    EXPECT_EQ(other->ref_count, 1U);
}

TEST_F(GtkReleaserTest, HoldsNothingAfterNull) {
    GtkReleaser releaser;
    releaser.set(G_OBJECT(g_object_ref(object)));
    EXPECT_EQ(releaser.set(static_cast<GtkWidget*>(nullptr)), nullptr);
    EXPECT_EQ(references(), 1U);
}

TEST_F(GtkReleaserTest, RefusesAnInstanceThatIsNoObject) {
    GParamSpec* spec = g_param_spec_int("number", nullptr, nullptr, 0, 1, 0, G_PARAM_READABLE);
    g_param_spec_ref_sink(spec);
    {
        GtkReleaser releaser;
        releaser.set(G_OBJECT(g_object_ref(object)));
        EXPECT_EQ(thrown_text([&releaser, spec] { releaser.set(spec); }),
                  "Got a non-GObject in the releaser class.");
        EXPECT_EQ(references(), 1U);
    }
    EXPECT_EQ(spec->ref_count, 1U);
    g_param_spec_unref(spec);
}

TEST(CleanupHelper, CallsItsFunctionOnceAtTheEnd) {
    int calls = 0;
    {
        CleanupHelper helper([&calls] { ++calls; });
        EXPECT_EQ(calls, 0);
    }
    EXPECT_EQ(calls, 1);
}

TEST(CleanupHelper, CallsItsFunctionWhenAnExceptionPasses) {
    int calls = 0;
    EXPECT_THROW(
        {
            CleanupHelper helper([&calls] { ++calls; });
            throw std::runtime_error("passing");
        },
        std::runtime_error);
    EXPECT_EQ(calls, 1);
}

TEST(CleanupHelper, AnExceptionOutOfTheFunctionEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(CleanupHelper([] { throw std::runtime_error("from the clean-up"); }),
                testing::KilledBySignal(SIGABRT), "from the clean-up");
}

TEST(ButtonClickInfo, BeginsAsCancelWithAFlagOfItsOwn) {
    const button_click_info first;
    const button_click_info second;
    EXPECT_EQ(first.action_code, 100);
    EXPECT_NE(first.action_in_progress, second.action_in_progress);
    EXPECT_FALSE(first.action_in_progress->value);
}

TEST(PrinterErrorInfo, BeginsWithoutABoxAndSharesItWhenCopied) {
    PrinterErrorInfo info;
    EXPECT_EQ(info.presentation_message_box, nullptr);
    EXPECT_EQ(info.error.gui_action_code, REMOVE_ERROR);
    auto* widget = GTK_WIDGET(g_object_ref_sink(gtk_label_new(nullptr)));
    info.presentation_message_box = widget;
    info.error.printer_name = "P";
    const auto copy = info;
    EXPECT_EQ(copy.presentation_message_box, widget);
    EXPECT_EQ(copy.error.printer_name, "P");
    EXPECT_EQ(G_OBJECT(widget)->ref_count, 1U);
    g_object_unref(widget);
}

TEST(GUIState, BeginsEmpty) {
    GUIState state;
    EXPECT_EQ(state.app, nullptr);
    EXPECT_EQ(state.program_path, "");
    EXPECT_FALSE(state.show_main_window);
    EXPECT_FALSE(state.valgrind_mode);
    EXPECT_EQ(state.valgrind_num_boxes, 0);
    EXPECT_EQ(state.valgrind_error_box_count, 0);
    EXPECT_EQ(state.simulate_error, "");
    EXPECT_EQ(state.timer_tick_call_counter, 0);
    EXPECT_EQ(state.new_printer_status, nullptr);
    EXPECT_THAT(state.error_presentation_map, IsEmpty());
}

TEST(GUIStateLocker, HoldsTheLockForItsOwnLife) {
    const auto is_free = [] {
        bool free = false;
        std::thread([&free] {
            free = global_gui_state.mux.try_lock();
            if (free) {
                global_gui_state.mux.unlock();
            }
        }).join();
        return free;
    };
    {
        GUIStateLocker locker;
        EXPECT_FALSE(is_free());
    }
    EXPECT_TRUE(is_free());
}

TEST(ErrorKey, IsPrinterAndJobAlone) {
    auto error = make_error("Front desk", "17");
    EXPECT_EQ(create_error_key(error), "Front desk:::17");
    error.error_code = "99";
    error.error_severity = "1";
    error.error_string = error.service_code = "other";
    error.gui_action_code = REMOVE_ERROR;
    EXPECT_EQ(create_error_key(error), "Front desk:::17");
    EXPECT_EQ(create_error_key(make_error("", "")), ":::");
    EXPECT_EQ(create_error_key(make_error("\xFF\n", "1")), "\xFF\n:::1");
}

// ---- Ticks --------------------------------------------------------------------------------------

using TickTest = ShellTest;

TEST_F(TickTest, RunsOnceAndCounts) {
    EXPECT_EQ(timer_tick(nullptr), FALSE);
    EXPECT_EQ(global_gui_state.timer_tick_call_counter, 1);
    EXPECT_THAT(list_boxes(), IsEmpty());
}

TEST_F(TickTest, CounterWraps) {
    global_gui_state.timer_tick_call_counter = 255;
    report_and_tick({make_error("P", "1")});
    EXPECT_EQ(global_gui_state.timer_tick_call_counter, 0);
    EXPECT_THAT(presented_keys(), ElementsAre("P:::1"));
}

TEST_F(TickTest, ShowsAReportedErrorOnceAndConsumesTheStatus) {
    report_and_tick({make_error("P", "1")});
    EXPECT_EQ(global_gui_state.new_printer_status, nullptr);
    ASSERT_THAT(list_boxes(), SizeIs(1));
    EXPECT_EQ(presented_box("P:::1"), list_boxes().front());
    const auto* box = presented_box("P:::1");
    timer_tick(nullptr);
    report_and_tick({make_error("P", "1")});
    EXPECT_EQ(presented_box("P:::1"), box);
    EXPECT_THAT(list_boxes(), SizeIs(1));
}

TEST_F(TickTest, LeavesAPresentedBoxAloneWhenTheTextsChange) {
    report_and_tick({make_error("P", "1", "3")});
    auto changed = make_error("P", "1", "5");
    changed.error_code = "115";
    report_and_tick({changed});
    ASSERT_THAT(list_boxes(), SizeIs(1));
    EXPECT_NE(find_button(list_boxes().front(), "Retry"), nullptr);
    EXPECT_EQ(global_gui_state.error_presentation_map.at("P:::1").error.error_code, "114");
}

TEST_F(TickTest, TwoCodesOfOneJobAreOneError) {
    auto second = make_error("P", "1");
    second.error_code = "115";
    report_and_tick({make_error("P", "1"), second});
    EXPECT_THAT(list_boxes(), SizeIs(1));
    EXPECT_EQ(global_gui_state.error_presentation_map.at("P:::1").error.error_code, "114");
}

TEST_F(TickTest, MereAbsenceClosesNothing) {
    report_and_tick({make_error("P", "1")});
    report_and_tick({});
    report_and_tick({make_error("Q", "1")});
    run_main_loop_until_idle();
    EXPECT_THAT(presented_keys(), ElementsAre("P:::1", "Q:::1"));
    EXPECT_THAT(list_boxes(), SizeIs(2));
}

TEST_F(TickTest, WithdrawalClosesTheBox) {
    report_and_tick({make_error("P", "1"), make_error("Q", "1")});
    report_and_tick({make_removal("P", "1")});
    EXPECT_THAT(presented_keys(), ElementsAre("Q:::1"));
    run_main_loop_until_idle();
    EXPECT_THAT(list_boxes(), ElementsAre(presented_box("Q:::1")));
}

TEST_F(TickTest, WithdrawalOfWhatIsNotShownChangesNothing) {
    report_and_tick({make_error("P", "1")});
    report_and_tick({make_removal("P", "2"), make_removal("", "")});
    run_main_loop_until_idle();
    EXPECT_THAT(presented_keys(), ElementsAre("P:::1"));
    EXPECT_THAT(list_boxes(), SizeIs(1));
}

TEST_F(TickTest, ShowAndWithdrawalInOneListOpensAndCloses) {
    report_and_tick({make_error("P", "1"), make_removal("P", "1")});
    EXPECT_THAT(presented_keys(), IsEmpty());
    EXPECT_THAT(list_boxes(), SizeIs(1)) << "the box was opened";
    run_main_loop_until_idle();
    EXPECT_THAT(list_boxes(), IsEmpty());
}

TEST_F(TickTest, ShowAfterWithdrawalInOneListKeepsNoBox) {
    report_and_tick({make_error("P", "1")});
    report_and_tick({make_removal("P", "1"), make_error("P", "1")});
    run_main_loop_until_idle();
    EXPECT_THAT(presented_keys(), IsEmpty()) << "withdrawals come last";
    EXPECT_THAT(list_boxes(), IsEmpty());
}

TEST_F(TickTest, WithdrawsAnyNumberAtOnce) {
    for (const int count : {0, 1, 2, 3, 50}) {
        std::vector<ZORPrinterError> errors;
        std::vector<ZORPrinterError> removals;
        for (int job = 0; job < count; ++job) {
            errors.push_back(make_error("P", std::to_string(job)));
            removals.push_back(make_removal("P", std::to_string(job)));
        }
        report_and_tick(errors);
        EXPECT_THAT(list_boxes(), SizeIs(count));
        report_and_tick(removals);
        EXPECT_THAT(presented_keys(), IsEmpty());
        run_main_loop_until_idle();
        EXPECT_THAT(list_boxes(), IsEmpty()) << count;
    }
}

TEST_F(TickTest, OnlyTheNewestStatusCounts) {
    report({make_error("P", "1")});
    report({make_error("Q", "1")});
    timer_tick(nullptr);
    EXPECT_THAT(presented_keys(), ElementsAre("Q:::1"));
}

TEST_F(TickTest, TheHandedOverStatusIsACopy) {
    ZORPrinterStatus status;
    status.raw_status_text = "raw";
    status.errors.push_back(make_error("P", "1"));
    set_new_printer_status(status);
    status.errors.front().printer_name = "changed";
    EXPECT_EQ(global_gui_state.new_printer_status->raw_status_text, "raw");
    EXPECT_EQ(global_gui_state.new_printer_status->errors.front().printer_name, "P");
    EXPECT_EQ(global_gui_state.new_printer_status.use_count(), 1);
}

TEST_F(TickTest, AnActionCodeOutsideTheTwoIsThrown) {
    auto error = make_error("P", "1");
    // By its bytes: converting the number is undefined.
    const int code = 2;
    static_assert(sizeof code == sizeof error.gui_action_code);
    std::copy_n(reinterpret_cast<const char*>(&code), sizeof code,
                reinterpret_cast<char*>(&error.gui_action_code));
    report({error});
    EXPECT_EQ(thrown_text([] { timer_tick(nullptr); }), "Unexpected GUI action code.");
    GUIStateLocker the_lock_was_given_back;
    EXPECT_THAT(list_boxes(), IsEmpty());
}

TEST_F(TickTest, ASeverityThatIsNoNumberIsThrownBeforeAnyButtonIsSetUp) {
    report({make_error("P", "1", "high")});
    EXPECT_EQ(thrown_text([] { timer_tick(nullptr); }), "Failed to parse high.");
    GUIStateLocker the_lock_was_given_back;
    EXPECT_THAT(logged_by("setup_error_dialog_button"), IsEmpty());
    EXPECT_THAT(presented_keys(), IsEmpty());
}

TEST_F(TickTest, ACodeThatIsNoNumberIsThrownAndTheBoxNeverShown) {
    auto error = make_error("P", "1");
    error.error_code = "E7";
    report({error});
    EXPECT_EQ(thrown_text([] { timer_tick(nullptr); }), "Failed to parse E7.");
    EXPECT_THAT(logged_by("setup_error_dialog_button"), testing::Not(IsEmpty()));
    for (auto* box : list_boxes()) {
        EXPECT_FALSE(gtk_widget_get_visible(box));
        EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(box)), nullptr);
    }
}

TEST_F(TickTest, WithoutItsDescriptionABoxIsTriedAgainAtTheNextReport) {
    data.hide_builder_file();
    report_and_tick({make_error("P", "1")});
    EXPECT_THAT(presented_keys(), IsEmpty());
    ASSERT_THAT(logged_by("present_error_box"), SizeIs(3));
    EXPECT_THAT(logged_by("present_error_box").back(),
                testing::StartsWith("Failed to load error ui xml: "));
    data.bring_builder_file_back();
    timer_tick(nullptr);
    EXPECT_THAT(list_boxes(), IsEmpty());
    report_and_tick({make_error("P", "1")});
    EXPECT_THAT(presented_keys(), ElementsAre("P:::1"));
}

TEST_F(TickTest, ABrokenDescriptionIsAFailureLikeAMissingOne) {
    std::ofstream(data.builder_file()) << "no description";
    report_and_tick({make_error("P", "1")});
    EXPECT_THAT(logged_by("present_error_box").back(),
                testing::StartsWith("Failed to load error ui xml: "));
    EXPECT_THAT(presented_keys(), IsEmpty());
    EXPECT_THAT(list_boxes(), IsEmpty());
}

TEST_F(TickTest, ADescriptionWithoutTheObjectsMakesGtkWarnAndNoBox) {
    std::ofstream(data.builder_file()) << "<interface/>";
    report_and_tick({make_error("P", "1")});
    EXPECT_THAT(presented_keys(), IsEmpty());
    EXPECT_THAT(list_boxes(), IsEmpty());
    const auto messages = GlibMessages::take();
    EXPECT_THAT(messages, testing::Contains(testing::HasSubstr("CRITICAL")));
    EXPECT_THAT(messages, testing::Contains(testing::HasSubstr("set_data_full")).Times(2))
        << "only the two buttons are given something that nobody would free";
}

// ---- Test modes ---------------------------------------------------------------------------------

TEST_F(TickTest, ValgrindModeShowsItsBoxesOneATickAndThenClosesAll) {
    global_gui_state.valgrind_mode = true;
    global_gui_state.valgrind_num_boxes = 3;
    report_and_tick({make_error("P", "1")});
    EXPECT_THAT(presented_keys(), ElementsAre("P:::1", "fake1 severity=2:::0"));
    timer_tick(nullptr);
    EXPECT_THAT(presented_keys(),
                ElementsAre("P:::1", "fake1 severity=2:::0", "fake2 severity=3:::0"));
    timer_tick(nullptr);
    EXPECT_THAT(presented_keys(), ElementsAre("P:::1", "fake1 severity=2:::0",
                                              "fake2 severity=3:::0", "fake3 severity=4:::0"));
    const auto& info = global_gui_state.error_presentation_map.at("fake3 severity=4:::0");
    EXPECT_EQ(info.error.error_code, "114");
    EXPECT_EQ(info.error.error_severity, "4");
    EXPECT_EQ(info.error.printer_name, "fake3 severity=4");
    run_main_loop_until_idle();
    EXPECT_THAT(list_boxes(), SizeIs(4));
    timer_tick(nullptr);
    EXPECT_THAT(presented_keys(), IsEmpty());
    run_main_loop_until_idle();
    EXPECT_THAT(list_boxes(), IsEmpty());
    report_and_tick({make_error("Q", "1")});
    EXPECT_THAT(presented_keys(), IsEmpty()) << "later ones are closed too";
    run_main_loop_until_idle();
    EXPECT_THAT(list_boxes(), IsEmpty());
}

TEST_F(TickTest, ValgrindModeWithoutBoxesClosesAllOnEachTick) {
    global_gui_state.valgrind_mode = true;
    for (int round = 0; round < 2; ++round) {
        report_and_tick({make_error("P", "1"), make_error("P", "2")});
        EXPECT_THAT(presented_keys(), IsEmpty());
        EXPECT_THAT(list_boxes(), SizeIs(2));
        run_main_loop_until_idle();
        EXPECT_THAT(list_boxes(), IsEmpty());
    }
    EXPECT_EQ(global_gui_state.valgrind_error_box_count, 0);
}

TEST_F(TickTest, ValgrindModeCyclesThroughTheSeverities) {
    global_gui_state.valgrind_mode = true;
    global_gui_state.valgrind_num_boxes = 5;
    for (int tick = 0; tick < 5; ++tick) {
        timer_tick(nullptr);
    }
    EXPECT_THAT(presented_keys(),
                ElementsAre("fake1 severity=2:::0", "fake2 severity=3:::0", "fake3 severity=4:::0",
                            "fake4 severity=1:::0", "fake5 severity=2:::0"));
}

TEST_F(TickTest, ValgrindModeRecordsABoxThatCannotBeMade) {
    global_gui_state.valgrind_mode = true;
    global_gui_state.valgrind_num_boxes = 1;
    data.hide_builder_file();
    timer_tick(nullptr);
    EXPECT_EQ(presented_box("fake1 severity=2:::0"), nullptr);
    timer_tick(nullptr);
    EXPECT_THAT(presented_keys(), IsEmpty());
}

TEST_F(TickTest, SimulatedErrorIsShownOnce) {
    global_gui_state.simulate_error = "2";
    timer_tick(nullptr);
    ASSERT_THAT(presented_keys(), ElementsAre("Simulated Error Printer:::123"));
    const auto& error =
        global_gui_state.error_presentation_map.at("Simulated Error Printer:::123").error;
    EXPECT_EQ(error.error_code, "114");
    EXPECT_EQ(error.error_severity, "2");
    EXPECT_EQ(global_gui_state.simulate_error, "");
    report_and_tick({make_removal("Simulated Error Printer", "123")});
    timer_tick(nullptr);
    run_main_loop_until_idle();
    EXPECT_THAT(list_boxes(), IsEmpty());
}

TEST_F(TickTest, SimulatedErrorTakesThePlaceOfARealStatus) {
    global_gui_state.simulate_error = "2";
    report_and_tick({make_error("P", "1")});
    EXPECT_THAT(presented_keys(), ElementsAre("Simulated Error Printer:::123"));
    timer_tick(nullptr);
    EXPECT_THAT(presented_keys(), SizeIs(1)) << "the real one was dropped";
}

TEST_F(TickTest, SimulatedSeverityThatIsNoNumberIsThrown) {
    global_gui_state.simulate_error = "x";
    EXPECT_EQ(thrown_text([] { timer_tick(nullptr); }), "Failed to parse x.");
}

} // namespace
