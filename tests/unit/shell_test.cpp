// The shell: what the threads share, the life of a box from tick to tick, and activation.

#include "shell_support.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

std::atomic<bool> connecting_throws_no_exception_class = false;

} // namespace

extern "C" {
int __real_connect(int handle, const sockaddr* address, socklen_t length);
int __wrap_connect(int handle, const sockaddr* address, socklen_t length);

int __wrap_connect(int handle, const sockaddr* address, socklen_t length) {
    if (connecting_throws_no_exception_class) {
        throw 1;
    }
    return __real_connect(handle, address, length);
}
}

namespace {

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

TEST_F(GtkReleaserTest, GivesBackWhatItTakesAndReleasesItAtTheEnd) {
    {
        GtkReleaser releaser;
        EXPECT_EQ(releaser.set(G_OBJECT(g_object_ref(object))), object);
        EXPECT_EQ(references(), 2U);
    }
    EXPECT_EQ(references(), 1U);
}

TEST_F(GtkReleaserTest, ReleasesOnce) {
    GtkReleaser releaser;
    releaser.set(G_OBJECT(g_object_ref(object)));
    releaser.release();
    EXPECT_EQ(references(), 1U);
    releaser.release();
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

TEST(CleanupHelperTest, CallsItsFunctionOnceAtTheEnd) {
    int calls = 0;
    {
        CleanupHelper helper([&calls] { ++calls; });
        EXPECT_EQ(calls, 0);
    }
    EXPECT_EQ(calls, 1);
}

TEST(CleanupHelperTest, CallsItsFunctionWhenAnExceptionPasses) {
    int calls = 0;
    EXPECT_THROW(
        {
            CleanupHelper helper([&calls] { ++calls; });
            throw std::runtime_error("passing");
        },
        std::runtime_error);
    EXPECT_EQ(calls, 1);
}

TEST(CleanupHelperTest, AnExceptionOutOfTheFunctionEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(CleanupHelper([] { throw std::runtime_error("from the clean-up"); }),
                testing::KilledBySignal(SIGABRT), "from the clean-up");
}

TEST(BoolHolderTest, BeginsFalse) {
    EXPECT_FALSE(bool_holder().value);
}

TEST(ButtonClickInfoTest, BeginsAsCancelWithAFlagOfItsOwn) {
    const button_click_info first;
    const button_click_info second;
    EXPECT_EQ(first.action_code, 100);
    EXPECT_NE(first.action_in_progress, second.action_in_progress);
    EXPECT_FALSE(first.action_in_progress->value);
}

TEST(PrinterErrorInfoTest, BeginsWithoutABoxAndSharesItWhenCopied) {
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

TEST(GUIStateTest, BeginsEmpty) {
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

TEST(GUIStateLockerTest, HoldsTheLockForItsOwnLife) {
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

TEST(ErrorKeyTest, IsPrinterAndJobAlone) {
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
    EXPECT_THAT(GlibMessages::take(), testing::Contains(testing::HasSubstr("CRITICAL")));
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

// ---- How a box ends -----------------------------------------------------------------------------

class BoxEndTest : public ShellTest {
protected:
    // Three boxes of which the first stands for the one that is to go.
    void SetUp() override {
        ShellTest::SetUp();
        report_and_tick({make_error("P", "1"), make_error("P", "2"), make_error("P", "3")});
        ASSERT_THAT(list_boxes(), SizeIs(3));
        box = presented_box("P:::1");
    }

    static void withdraw() { report_and_tick({make_removal("P", "1")}); }

    void expect_only_the_others_are_left() {
        run_main_loop_until_idle();
        EXPECT_THAT(presented_keys(), ElementsAre("P:::2", "P:::3"));
        EXPECT_THAT(list_boxes(),
                    UnorderedElementsAre(presented_box("P:::2"), presented_box("P:::3")));
    }

    GtkWidget* box = nullptr;
};

TEST_F(BoxEndTest, GtkIsAskedOnce) {
    start_service();
    g_object_ref(box);
    click(box, "Cancel");
    click(box, "Cancel");
    click(box, "Retry");
    EXPECT_EQ(count_close_requests(box), 1);
    expect_only_the_others_are_left();
    close_error_box(box);
    EXPECT_EQ(count_close_requests(box), 1);
    g_object_unref(box);
}

TEST_F(BoxEndTest, WithdrawalAndClickInOneInstant) {
    start_service();
    withdraw();
    click(box, "Retry");
    EXPECT_EQ(count_close_requests(box), 1);
    expect_only_the_others_are_left();
    EXPECT_THAT(service->wait_for_requests(1), SizeIs(1)) << "the answer is sent all the same";
}

TEST_F(BoxEndTest, ClickAndWithdrawalInOneInstant) {
    start_service();
    click(box, "Retry");
    withdraw();
    EXPECT_EQ(count_close_requests(box), 1);
    expect_only_the_others_are_left();
}

void press_right_button(GdkWindow* window) {
    auto* event = gdk_event_new(GDK_BUTTON_PRESS);
    event->button.window = GDK_WINDOW(g_object_ref(window));
    event->button.x = 5;
    event->button.y = 5;
    event->button.button = 3;
    auto* seat = gdk_display_get_default_seat(gdk_window_get_display(window));
    gdk_event_set_device(event, gdk_seat_get_pointer(seat));
    gtk_main_do_event(event);
    gdk_event_free(event);
}

// Opens the context menu of the text in a box. As long as the window manager does not show the box
// yet, nothing can grab the pointer in it.
void open_context_menu(GtkWidget* box) {
    auto* text_view = GTK_TEXT_VIEW(find_in_box(box, "textview1"));
    ASSERT_TRUE(run_main_loop_until([text_view] {
        press_right_button(gtk_text_view_get_window(text_view, GTK_TEXT_WINDOW_TEXT));
        run_main_loop_until_idle();
        return GTK_IS_MENU(gtk_grab_get_current());
    }));
}

TEST_F(BoxEndTest, WithdrawalClosesABoxWhoseMenuIsOpen) {
    open_context_menu(box);
    withdraw();
    expect_only_the_others_are_left();
    EXPECT_EQ(gtk_grab_get_current(), nullptr);
}

TEST_F(BoxEndTest, WithdrawalClosesABoxWhileTheMenuOfAnotherIsOpen) {
    open_context_menu(presented_box("P:::2"));
    withdraw();
    expect_only_the_others_are_left();
}

TEST_F(BoxEndTest, AnswerClosesABoxWhileTheMenuOfAnotherIsOpen) {
    start_service();
    open_context_menu(presented_box("P:::3"));
    click(box, "Cancel");
    expect_only_the_others_are_left();
}

TEST_F(BoxEndTest, WithdrawalClosesABoxWhileAnotherHoldsAGrab) {
    auto* other_text = find_in_box(presented_box("P:::2"), "textview1");
    gtk_grab_add(other_text);
    withdraw();
    expect_only_the_others_are_left();
    gtk_grab_remove(other_text);
}

TEST_F(BoxEndTest, ARequestOfTheWindowManagerIsIgnored) {
    start_service();
    send_delete_request(box);
    send_delete_request(box);
    run_main_loop_until_idle();
    EXPECT_THAT(presented_keys(), SizeIs(3));
    EXPECT_THAT(list_boxes(), SizeIs(3));
    click(box, "Retry");
    expect_only_the_others_are_left();
    EXPECT_THAT(service->wait_for_requests(1),
                ElementsAre(make_command_text(make_error("P", "1"), 102)));
}

TEST_F(BoxEndTest, WithdrawalStillClosesABoxThatTheWindowManagerWantedGone) {
    send_delete_request(box);
    run_main_loop_until_idle();
    withdraw();
    expect_only_the_others_are_left();
}

TEST_F(BoxEndTest, ABoxDestroyedFromOutsideLeavesNoPointer) {
    gtk_widget_destroy(box);
    EXPECT_THAT(presented_keys(), ElementsAre("P:::2", "P:::3"));
    expect_only_the_others_are_left();
    withdraw();
    expect_only_the_others_are_left();
    report_and_tick({make_error("P", "1")});
    EXPECT_THAT(list_boxes(), SizeIs(3)) << "later news opens it anew";
}

TEST_F(BoxEndTest, ABoxDestroyedUnderTheLockLeavesNoPointer) {
    {
        GUIStateLocker locker;
        gtk_widget_destroy(box);
        EXPECT_THAT(presented_keys(), ElementsAre("P:::2", "P:::3"));
    }
    expect_only_the_others_are_left();
}

TEST_F(BoxEndTest, ABoxDestroyedWhileItsClosingIsUnderWayIsGone) {
    withdraw();
    gtk_widget_destroy(box);
    expect_only_the_others_are_left();
}

TEST_F(BoxEndTest, AllBoxesDestroyedAtOnceLeaveNoPointer) {
    for (auto* each : list_boxes()) {
        gtk_widget_destroy(each);
    }
    EXPECT_THAT(presented_keys(), IsEmpty());
}

// ---- Answers and later news ---------------------------------------------------------------------

class AnswerTest : public BoxEndTest {
protected:
    void SetUp() override {
        BoxEndTest::SetUp();
        start_service();
    }
};

TEST_F(AnswerTest, AStatusThatWasWaitingDoesNotOpenTheBoxAnew) {
    report({make_error("P", "1")});
    click(box, "Retry");
    timer_tick(nullptr);
    expect_only_the_others_are_left();
}

TEST_F(AnswerTest, AStatusThatWasUnderWayDoesNotOpenTheBoxAnew) {
    begin_status_exchange();
    click(box, "Retry");
    report_and_tick({make_error("P", "1")});
    expect_only_the_others_are_left();
    report_and_tick({make_error("P", "1")}); // asked for later
    EXPECT_THAT(presented_keys(), SizeIs(3));
}

TEST_F(AnswerTest, AStatusThatWasUnderWayStillWithdrawsAndTellsOfOthers) {
    begin_status_exchange();
    click(box, "Retry");
    auto other_code = make_error("P", "1");
    other_code.error_code = "115";
    report_and_tick({make_removal("P", "2"), make_error("P", "4"), other_code});
    run_main_loop_until_idle();
    EXPECT_THAT(presented_keys(), ElementsAre("P:::1", "P:::3", "P:::4"));
    EXPECT_EQ(global_gui_state.error_presentation_map.at("P:::1").error.error_code, "115");
}

TEST_F(AnswerTest, AStatusThatWasUnderWayIsNotQuotedWhenItIsPutAside) {
    ZORPrinterStatus status;
    status.raw_status_text = "seen";
    begin_status_exchange();
    set_new_printer_status(status);
    begin_status_exchange();
    click(box, "Retry");
    status.raw_status_text = "put aside";
    status.errors = {make_error("P", "1")};
    set_new_printer_status(status);
    EXPECT_EQ(global_gui_state.new_printer_status->raw_status_text, "seen");
    EXPECT_EQ(begin_status_exchange().value()->raw_status_text, "seen");
}

TEST_F(AnswerTest, AFailedCommandMakesTheNextRequestQuoteNothing) {
    begin_status_exchange();
    report({});
    service.reset(); // so that nobody takes the command
    click(box, "Retry");
    ASSERT_TRUE(wait_until([] { return logged_by("operator()").size() == 3; }));
    EXPECT_THAT(logged_by("operator()"),
                ElementsAre("starting action 102",
                            "printer job exception: Failed to connect socket.", "finished action"));
    EXPECT_EQ(begin_status_exchange().value(), nullptr);
}

TEST_F(AnswerTest, ACommandThatArrivedChangesNothingInTheNextRequest) {
    begin_status_exchange();
    report({});
    click(box, "Retry");
    service->wait_for_requests(1);
    ASSERT_TRUE(wait_until([] { return logged_by("operator()").size() == 2; }));
    EXPECT_NE(begin_status_exchange().value(), nullptr);
}

TEST_F(AnswerTest, AnExchangeThatFailedTakesItsAnswersWithIt) {
    begin_status_exchange();
    click(box, "Retry");
    global_gui_state.status_delivery.exchange_failed();
    begin_status_exchange();
    report_and_tick({make_error("P", "1")});
    EXPECT_THAT(presented_keys(), SizeIs(3));
}

TEST_F(AnswerTest, LaterNewsOpensTheBoxAnew) {
    click(box, "Retry");
    report_and_tick({make_error("P", "1")});
    run_main_loop_until_idle();
    EXPECT_THAT(presented_keys(), SizeIs(3));
    EXPECT_THAT(list_boxes(), SizeIs(3));
}

TEST_F(AnswerTest, AWaitingStatusKeepsWhatItSaysOfOthers) {
    report(
        {make_error("P", "1"), make_error("P", "4"), make_removal("P", "2"), make_error("P", "1")});
    click(box, "Retry");
    timer_tick(nullptr);
    run_main_loop_until_idle();
    EXPECT_THAT(presented_keys(), ElementsAre("P:::3", "P:::4"));
    EXPECT_THAT(list_boxes(), SizeIs(2));
}

TEST_F(AnswerTest, NoThreadAtAClickIsSaidAndTheErrorComesAgain) {
    auto* retry = find_button(box, "Retry");
    const auto flag = find_click_info(retry)->action_in_progress;
    StandardThreads::to_refuse = 1;
    gtk_button_clicked(retry);
    EXPECT_EQ(count_started_workers(), 0);
    EXPECT_FALSE(flag->value);
    ASSERT_THAT(logged_by("start_action"), SizeIs(1));
    EXPECT_THAT(logged_by("start_action").front(),
                testing::StartsWith("failed to start action 102: "));
    expect_only_the_others_are_left();
    report_and_tick({make_error("P", "1")});
    EXPECT_THAT(presented_keys(), SizeIs(3));
    click(presented_box("P:::1"), "Retry");
    EXPECT_THAT(service->wait_for_requests(1), SizeIs(1));
}

// ---- The printer I/O thread ---------------------------------------------------------------------

struct EnoughRounds {};

class PrinterIoTest : public ShellTest {
protected:
    void SetUp() override {
        ShellTest::SetUp();
        connecting_throws_no_exception_class = false;
    }

    void TearDown() override {
        connecting_throws_no_exception_class = false;
        ShellTest::TearDown();
    }

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
    ZORPrinterError answered;
    answered.gui_action_code = SHOW_ERROR;
    answered.printer_name = "P";
    answered.printer_job_id = "7";
    global_gui_state.status_delivery.asked();
    global_gui_state.status_delivery.answered(answered);
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
