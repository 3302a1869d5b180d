// What the guard of the keyboard does with a real window: which keys reach it, and when its times
// begin and end. Focus and keys are made up, as a desktop would send them, and so is the time; the
// window is on a real X server with a window manager that gives it no focus by itself.

#include "box_keyboard.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "typing_guard.h"
#include "x11_support.h"

namespace {

struct EventDeleter {
    void operator()(GdkEvent* event) const { gdk_event_free(event); }
};
using Event = std::unique_ptr<GdkEvent, EventDeleter>;

// The timers that were ever begun: their numbers, and when they end by a time of their own.
std::vector<std::pair<guint, gint64>> timers;
gint64 now = 0; // in milliseconds

// The time passes while the program is held up.
void stand_still(unsigned milliseconds) {
    now += milliseconds;
    for (const auto& [number, end] : timers) {
        auto* timer = g_main_context_find_source_by_id(nullptr, number);
        if (timer != nullptr && end <= now) {
            g_source_set_ready_time(timer, 0);
        }
    }
}

void let_pass(unsigned milliseconds) {
    for (unsigned passed = 0; passed < milliseconds; passed += 10) {
        stand_still(10);
        run_main_loop_until_idle();
    }
}

extern "C" {
decltype(g_timeout_add_full) __real_g_timeout_add_full, __wrap_g_timeout_add_full;
guint __wrap_g_timeout_add_full(gint priority, guint interval, GSourceFunc function, gpointer data,
                                GDestroyNotify notify) {
    const guint timer = __real_g_timeout_add_full(priority, G_MAXUINT, function, data, notify);
    timers.emplace_back(timer, now + interval);
    return timer;
}
}

class BoxKeyboardTest : public testing::Test {
protected:
    void SetUp() override {
        m_button = gtk_button_new_with_label("Retry");
        gtk_container_add(GTK_CONTAINER(m_box), m_button);
        g_signal_connect(m_button, "clicked", G_CALLBACK(+[](GtkButton*, gpointer count) {
                             ++*static_cast<int*>(count);
                         }),
                         &m_clicks);
        let_pass(PAUSE_MILLISECONDS + 100); // the end of the test before does not matter then
    }

    void TearDown() override { gtk_widget_destroy(m_box); }

    // Shows a box until it has been seen, which begins a timer, and the window manager lists it.
    static void show(GtkWidget* box) {
        const auto before = timers.size();
        EXPECT_TRUE(show_mapped(box));
        EXPECT_TRUE(run_main_loop_until([&] { return timers.size() > before && is_listed(box); }));
    }
    void show() { show(m_box); }

    // Beside other windows.
    void show_and_grow_old() {
        show();
        list_windows({1, 2, 3});
        let_pass(PAUSE_MILLISECONDS + BLINK_MILLISECONDS);
    }

    void focus(bool has_focus) {
        const Event event(gdk_event_new(GDK_FOCUS_CHANGE));
        event->focus_change.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(m_box)));
        event->focus_change.in = has_focus ? 1 : 0;
        gtk_widget_event(m_box, event.get());
    }

    // Presses and releases a key on the button, at a time by the desktop's clock. Whether the
    // button was pressed by that.
    bool answers(guint32 time = GDK_CURRENT_TIME) {
        const int before = m_clicks;
        for (const auto type : {GDK_KEY_PRESS, GDK_KEY_RELEASE}) {
            const Event event(gdk_event_new(type));
            event->key.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(m_box)));
            event->key.keyval = GDK_KEY_space;
            event->key.time = time;
            GdkKeymapKey* keys = nullptr;
            gint count = 0;
            auto* display = gtk_widget_get_display(m_box);
            gdk_keymap_get_entries_for_keyval(gdk_keymap_get_for_display(display), GDK_KEY_space,
                                              &keys, &count);
            event->key.hardware_keycode = count > 0 ? static_cast<guint16>(keys[0].keycode) : 0;
            g_free(keys);
            gdk_event_set_device(event.get(),
                                 gdk_seat_get_keyboard(gdk_display_get_default_seat(display)));
            gtk_widget_event(m_box, event.get());
        }
        return m_clicks > before;
    }

    // As a window manager does.
    static void set_root_property(const char* name, const char* type,
                                  const std::vector<unsigned long>& values) {
        auto* display = gdk_x11_display_get_xdisplay(gdk_display_get_default());
        XChangeProperty(display, DefaultRootWindow(display), gdk_x11_get_xatom_by_name(name),
                        gdk_x11_get_xatom_by_name(type), 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(values.data()),
                        static_cast<int>(values.size()));
        XSync(display, 0);
        run_main_loop_until_idle();
    }

    static void list_windows(const std::vector<Window>& windows) {
        set_root_property("_NET_CLIENT_LIST", "WINDOW", windows);
    }

    static void use_mouse(GtkWidget* box, GdkEventType type, guint button) {
        const Event event(gdk_event_new(type));
        event->button.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(box)));
        event->button.button = button;
        auto* seat = gdk_display_get_default_seat(gtk_widget_get_display(box));
        gdk_event_set_device(event.get(), gdk_seat_get_pointer(seat));
        gtk_main_do_event(event.get());
    }

    static GtkWidget* make_box() {
        auto* box = gtk_window_new(GTK_WINDOW_TOPLEVEL);
        gtk_window_set_focus_on_map(GTK_WINDOW(box), FALSE);
        guard_box_from_typing(box);
        return box;
    }
    // A second box, that comes and goes.
    static GtkWidget* show_other_box() {
        auto* other = make_box();
        show(other);
        return other;
    }

    static bool is_listed(GtkWidget* box) {
        int size = 0;
        guchar* data = nullptr;
        gdk_property_get(gdk_get_default_root_window(),
                         gdk_atom_intern_static_string("_NET_CLIENT_LIST"), GDK_NONE, 0, 1000,
                         FALSE, nullptr, nullptr, &size, &data);
        const std::unique_ptr<guchar, Releaser<g_free>> owner(data);
        const auto* first = reinterpret_cast<const Window*>(data);
        const auto* end = first + static_cast<std::size_t>(size) / sizeof *first;
        return std::find(first, end, gdk_x11_window_get_xid(gtk_widget_get_window(box))) != end;
    }

    static bool hears_root_window() {
        auto* display = gdk_x11_display_get_xdisplay(gdk_display_get_default());
        XWindowAttributes attributes;
        XGetWindowAttributes(display, DefaultRootWindow(display), &attributes);
        return (attributes.your_event_mask & SubstructureNotifyMask) != 0;
    }

    GtkWidget* m_box = make_box();
    GtkWidget* m_button = nullptr;
    int m_clicks = 0;
};

TEST_F(BoxKeyboardTest, TakesKeysAtOnceWhenSomebodyTurnsToAnOldBox) {
    show_and_grow_old();
    focus(true);
    EXPECT_TRUE(answers());
    let_pass(BLINK_MILLISECONDS + 100);
    list_windows({2, 3}); // and not because of the focus
    EXPECT_TRUE(answers());
}

TEST_F(BoxKeyboardTest, TakesNoKeysWhenTheFocusCameWithTheBox) {
    show();
    let_pass(BLINK_MILLISECONDS - 100);
    focus(true);
    EXPECT_FALSE(answers());
    let_pass(BLINK_MILLISECONDS + 200); // and goes on so when the box has grown old
    EXPECT_FALSE(answers());
}

TEST_F(BoxKeyboardTest, TakesNoKeysWhenTheFocusComesBeforeTheBoxCanBeSeen) {
    gtk_widget_realize(m_box);
    focus(true);
    show();
    EXPECT_FALSE(answers());
}

TEST_F(BoxKeyboardTest, TakesKeysAfterAPauseThatEveryKeyBeginsAnew) {
    show();
    focus(true);
    for (int i = 0; i < 4; ++i) {
        let_pass(PAUSE_MILLISECONDS * 6 / 10);
        EXPECT_FALSE(answers());
    }
    let_pass(PAUSE_MILLISECONDS + 100);
    EXPECT_TRUE(answers());
}

TEST_F(BoxKeyboardTest, CountsNoPauseWhileAnotherWindowHasTheFocus) {
    show();
    focus(true);
    focus(false);
    let_pass(PAUSE_MILLISECONDS + 100);
    focus(true);
    EXPECT_FALSE(answers());
}

TEST_F(BoxKeyboardTest, HandlesKeysThatWaitedBeforeItTakesTheTimeForAPause) {
    show();
    focus(true);
    // A key that is already there when the program comes back to its work after a long halt.
    bool has_answered = true;
    std::function<void()> press = [&] {
        has_answered = answers();
    };
    const auto handle = [](gpointer raw) -> gboolean {
        (*static_cast<std::function<void()>*>(raw))();
        return G_SOURCE_REMOVE;
    };
    g_idle_add_full(G_PRIORITY_DEFAULT, handle, &press, nullptr);
    stand_still(PAUSE_MILLISECONDS + 100);
    run_main_loop_until_idle();
    EXPECT_FALSE(has_answered);
}

TEST_F(BoxKeyboardTest, TakesNoKeysThatWerePressedBeforeAPauseAndCameAfterIt) {
    show();
    focus(true);
    EXPECT_FALSE(answers(1000));
    let_pass(PAUSE_MILLISECONDS + 100);
    EXPECT_FALSE(answers(1000 + PAUSE_MILLISECONDS - 1));
    let_pass(PAUSE_MILLISECONDS + 100);
    EXPECT_TRUE(answers(1000 + 2 * PAUSE_MILLISECONDS));
}

TEST_F(BoxKeyboardTest, TakesKeysAtOnceWhenTheWindowManagerWasAskedForTheBox) {
    show();
    focus(true);
    EXPECT_FALSE(answers());
    send_message(m_box, SentTo::WINDOW_MANAGER, "_NET_ACTIVE_WINDOW"); // as a task bar does
    run_main_loop_until_idle();
    EXPECT_TRUE(answers());
}

TEST_F(BoxKeyboardTest, TakesKeysAfterAPressOfTheMouseInIt) {
    show();
    focus(true);
    EXPECT_FALSE(answers());
    use_mouse(m_box, GDK_BUTTON_PRESS, 3); // any
    EXPECT_TRUE(answers());
}

TEST_F(BoxKeyboardTest, TakesNoKeysWhenTheFocusFallsToAnOldBoxAsAnotherBoxGoes) {
    auto* other = show_other_box();
    show_and_grow_old();
    gtk_widget_destroy(other);
    focus(true);
    EXPECT_FALSE(answers());
    let_pass(PAUSE_MILLISECONDS + 100);
    EXPECT_TRUE(answers());
}

TEST_F(BoxKeyboardTest, TakesNoKeysWhenTheFocusFallsToAnOldBoxAsAWindowGoes) {
    show_and_grow_old();
    list_windows({2, 3});
    let_pass(PAUSE_MILLISECONDS - 100);
    list_windows({3});
    let_pass(PAUSE_MILLISECONDS - 100);
    focus(true);
    EXPECT_FALSE(answers());
}

TEST_F(BoxKeyboardTest, TakesNoKeysWhenItHearsOnlyAfterTheFocusThatAWindowHasGone) {
    show_and_grow_old();
    focus(true);
    list_windows({2, 3});
    EXPECT_FALSE(answers());
    let_pass(PAUSE_MILLISECONDS + 100);
    EXPECT_TRUE(answers());
}

TEST_F(BoxKeyboardTest, TakesKeysAfterAPauseThatBeganAsAWindowWent) {
    show_and_grow_old();
    focus(true);
    list_windows({2, 3});
    let_pass(PAUSE_MILLISECONDS + 100);
    EXPECT_TRUE(answers());
}

TEST_F(BoxKeyboardTest, TakesKeysAtOnceWhenWindowsCameAndChangedTheirOrder) {
    show_and_grow_old();
    list_windows({4, 3, 2, 1});
    focus(true);
    EXPECT_TRUE(answers());
}

TEST_F(BoxKeyboardTest, TakesNoKeysWhenTheFocusFallsToItOnAnotherWorkspace) {
    show_and_grow_old();
    set_root_property("_NET_CURRENT_DESKTOP", "CARDINAL", {1});
    focus(true);
    EXPECT_FALSE(answers());
}

TEST_F(BoxKeyboardTest, WaitsForABlinkWhenTheBoxBeforeWasAnsweredWithTheKeyboard) {
    auto* other = show_other_box();
    show_and_grow_old();
    note_answer(); // a key that is held down presses its button without an event
    gtk_widget_destroy(other);
    focus(true);
    EXPECT_FALSE(answers());
    let_pass(BLINK_MILLISECONDS + 100);
    EXPECT_TRUE(answers());
}

TEST_F(BoxKeyboardTest, WaitsForTheWholePauseWhenTheBoxBeforeWasAnsweredWithTheMouse) {
    auto* other = show_other_box();
    show_and_grow_old();
    g_signal_connect(other, "button-release-event", G_CALLBACK(+[](GtkWidget*) { note_answer(); }),
                     nullptr);
    use_mouse(other, GDK_BUTTON_RELEASE, 1);
    gtk_widget_destroy(other);
    focus(true);
    let_pass(BLINK_MILLISECONDS + 100);
    EXPECT_FALSE(answers());
}

TEST_F(BoxKeyboardTest, ListensToTheRootWindowWhileThereIsABox) {
    EXPECT_FALSE(hears_root_window());
    auto* other = show_other_box();
    show_and_grow_old();
    EXPECT_TRUE(hears_root_window());
    gtk_widget_destroy(other);
    EXPECT_TRUE(hears_root_window());
    gtk_widget_destroy(std::exchange(m_box, gtk_window_new(GTK_WINDOW_TOPLEVEL)));
    EXPECT_FALSE(hears_root_window());
}

TEST_F(BoxKeyboardTest, EndsWithItsBox) {
    gtk_widget_destroy(show_other_box());
    auto* other = make_box();
    gtk_widget_show(other);
    EXPECT_TRUE(run_main_loop_until([] { return hears_root_window(); }));
    gtk_widget_destroy(other); // before it was seen
    EXPECT_FALSE(hears_root_window());
    list_windows({1});
    list_windows({});
    let_pass(BLINK_MILLISECONDS + 200); // no timer finds it
}

} // namespace
