// How a box ends, and what the news of its error do then.

#include "shell_support.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

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

} // namespace
