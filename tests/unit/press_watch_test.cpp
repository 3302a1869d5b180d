// Presses on the buttons of a real window: with the mouse, by touch, and without either.

#include "press_watch.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "gtk_support.h"
#include "syslog_capture.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

constexpr int FAR = 50; // pixels: more than a trembling hand

class PressWatchTest : public testing::Test {
protected:
    void SetUp() override {
        set_double_click_time(60000); // whatever the machine is doing, the test is within it
        m_box = gtk_window_new(GTK_WINDOW_TOPLEVEL);
        auto* button_box = gtk_button_box_new(GTK_ORIENTATION_HORIZONTAL);
        m_button = gtk_button_new_with_label("Retry");
        gtk_container_add(GTK_CONTAINER(button_box), m_button);
        gtk_container_add(GTK_CONTAINER(m_box), button_box);
        g_signal_connect_swapped(m_button, "clicked",
                                 G_CALLBACK(+[](PressWatchTest* test) { ++test->clicks; }), this);
        watch_presses(m_box, button_box);
        g_signal_connect(m_button, "touch-event", G_CALLBACK(count_touch), this);
        ASSERT_TRUE(show_mapped(m_box));
        auto* seat = gdk_display_get_default_seat(gdk_display_get_default());
        m_pointer = gdk_seat_get_pointer(seat);
        gdk_device_get_position_double(m_pointer, nullptr, &m_rest_x, &m_rest_y);
        SyslogCapture::clear();
    }

    void TearDown() override {
        gtk_widget_destroy(m_box);
        run_main_loop_until_idle();
        // The next test shall not take its first press for the second half of a double click.
        s_away += 1000;
    }

    static void set_double_click_time(int milliseconds) {
        g_object_set(gtk_settings_get_default(), "gtk-double-click-time", milliseconds, nullptr);
    }

    // A press and its release, so far from where the pointer rests.
    void press_mouse(double away, guint number = GDK_BUTTON_PRIMARY) {
        for (const auto type : {GDK_BUTTON_PRESS, GDK_BUTTON_RELEASE}) {
            auto* event = make_event(type);
            event->button.x = event->button.y = 5;
            event->button.x_root = m_rest_x + away;
            event->button.y_root = m_rest_y;
            event->button.button = number;
            send(event);
        }
    }

    void touch(double away) {
        for (const auto type : {GDK_TOUCH_BEGIN, GDK_TOUCH_END}) {
            auto* event = make_event(type);
            event->touch.x = event->touch.y = 5;
            event->touch.x_root = m_rest_x + away;
            event->touch.y_root = m_rest_y;
            event->touch.sequence = reinterpret_cast<GdkEventSequence*>(1);
            send(event);
        }
    }

    // Another place for each test.
    double far() const { return FAR + s_away; }

    std::vector<std::string> log_texts() const {
        std::vector<std::string> texts;
        for (const auto& line : SyslogCapture::lines()) {
            texts.push_back(line.text);
        }
        return texts;
    }

    GtkWidget* button() const { return m_button; }

    int clicks = 0;
    int touches = 0; // that the button saw the beginning of

private:
    static gboolean count_touch(GtkWidget* /*button*/, GdkEvent* event, PressWatchTest* test) {
        test->touches += event->type == GDK_TOUCH_BEGIN ? 1 : 0;
        return FALSE;
    }

    GdkEvent* make_event(GdkEventType type) const {
        auto* event = gdk_event_new(type);
        event->any.window =
            GDK_WINDOW(g_object_ref(gtk_button_get_event_window(GTK_BUTTON(m_button))));
        gdk_event_set_device(event, m_pointer);
        return event;
    }

    static void send(GdkEvent* event) {
        gtk_main_do_event(event);
        gdk_event_free(event);
        run_main_loop_until_idle();
    }

    static inline int s_away = 0;
    ConfigFile m_config{"diagnostics.level = 1\n"};
    GtkWidget* m_box = nullptr;
    GtkWidget* m_button = nullptr;
    GdkDevice* m_pointer = nullptr;
    double m_rest_x = 0;
    double m_rest_y = 0;
};

TEST_F(PressWatchTest, APressWhereThePointerRestedDoesNotReachTheButton) {
    press_mouse(0);
    EXPECT_EQ(clicks, 0);
    EXPECT_THAT(log_texts(), ElementsAre(EndsWith(
                                 "the press does not count: the box came up under the pointer")));
    EXPECT_EQ(gtk_widget_get_state_flags(button()) & GTK_STATE_FLAG_ACTIVE, 0);
}

TEST_F(PressWatchTest, APressElsewhereCountsAndItsSecondHalfDoesNot) {
    press_mouse(far());
    EXPECT_EQ(clicks, 1);
    EXPECT_THAT(log_texts(), IsEmpty());
    press_mouse(far());
    EXPECT_EQ(clicks, 1);
    EXPECT_THAT(log_texts(),
                ElementsAre(EndsWith("the press does not count: second half of a double click")));
    press_mouse(far() + FAR);
    EXPECT_EQ(clicks, 2);
}

// A button clicks only for touches that move the pointer too, which no program can make up.
TEST_F(PressWatchTest, ATouchIsJudgedLikeAPress) {
    touch(0);
    EXPECT_EQ(touches, 0);
    EXPECT_THAT(log_texts(), ElementsAre(EndsWith("the box came up under the pointer")));
    touch(far());
    EXPECT_EQ(touches, 1);
}

TEST_F(PressWatchTest, AfterTheDesktopsDoubleClickTimeEveryPressCounts) {
    set_double_click_time(0);
    const auto shown = g_get_monotonic_time();
    ASSERT_TRUE(wait_until([shown] { return g_get_monotonic_time() > shown + 2000; }));
    press_mouse(0);
    EXPECT_EQ(clicks, 1);
}

TEST_F(PressWatchTest, OtherButtonsOfTheMouseAreNoPresses) {
    press_mouse(0, GDK_BUTTON_SECONDARY);
    EXPECT_EQ(clicks, 0);
    EXPECT_THAT(log_texts(), IsEmpty());
}

TEST_F(PressWatchTest, WhatComesWithoutMouseAndTouchCountsAtOnceAndIsNoFirstHalf) {
    gtk_button_clicked(GTK_BUTTON(button()));
    EXPECT_EQ(clicks, 1);
    press_mouse(far());
    EXPECT_EQ(clicks, 2);
    EXPECT_THAT(log_texts(), IsEmpty());
}

TEST(WatchPresses, NothingToWatchIsNoFault) {
    watch_presses(nullptr, nullptr);
}

} // namespace
