#include "press_watch.h"

#include <optional>

#ifdef GDK_WINDOWING_X11
#include <gdk/gdkx.h>
#endif

#include "gui_logger.h"
#include "press_guard.h"

namespace {

// Under this key a box holds its BoxPresses.
constexpr const char* BOX_PRESSES_KEY = "my_box_presses";

// What is known of one box; owned by the box.
struct BoxPresses {
    std::optional<PointerMoment> shown; // when, and with the pointer where, it came to the screen
    std::optional<PointerMoment> last_press; // the last one that counted
};

// One for all boxes, because they lie over one another.
PressGuard press_guard;

BoxPresses* presses_of(gpointer box) {
    return static_cast<BoxPresses*>(g_object_get_data(G_OBJECT(box), BOX_PRESSES_KEY));
}

std::int64_t now_in_milliseconds() {
    return g_get_monotonic_time() / 1000;
}

bool knows_the_whole_screen([[maybe_unused]] GtkWidget* widget) {
#ifdef GDK_WINDOWING_X11
    return GDK_IS_X11_DISPLAY(gtk_widget_get_display(widget));
#else
    return false;
#endif
}

// How long an event has waited in the queue while the main loop was busy, building a box perhaps.
std::int64_t age_in_milliseconds([[maybe_unused]] GtkWidget* widget, const GdkEvent* event) {
    const guint32 event_time = gdk_event_get_time(event);
    if (event_time == GDK_CURRENT_TIME) {
        return 0;
    }
    // The clock of a compositor is this machine's; that of an X server is its own.
    auto now = static_cast<guint32>(now_in_milliseconds());
#ifdef GDK_WINDOWING_X11
    if (knows_the_whole_screen(widget)) {
        now = gdk_x11_get_server_time(gtk_widget_get_window(gtk_widget_get_toplevel(widget)));
    }
#endif
    const guint32 age = now - event_time; // both wrap
    constexpr guint32 longest_plausible = 60000;
    return age <= longest_plausible ? age : 0;
}

PointerMoment moment_of(GtkWidget* widget, const GdkEvent* event) {
    PointerMoment moment;
    moment.milliseconds = now_in_milliseconds() - age_in_milliseconds(widget, event);
    gdk_event_get_root_coords(event, &moment.x, &moment.y);
    return moment;
}

PressLimits read_limits(GtkWidget* widget) {
    int time = 0;
    int distance = 0;
    int threshold = 0;
    g_object_get(gtk_widget_get_settings(widget), "gtk-double-click-time", &time,
                 "gtk-double-click-distance", &distance, "gtk-dnd-drag-threshold", &threshold,
                 nullptr);
    return {time, distance, threshold};
}

// The handler of "map-event": the box has come to the screen. Where the pointer is at that moment
// not every desktop tells.
gboolean handle_map(GtkWidget* box, GdkEvent* /*event*/, gpointer /*unused*/) {
    auto& shown = presses_of(box)->shown;
    shown.reset();
    if (knows_the_whole_screen(box)) {
        shown.emplace();
        shown->milliseconds = now_in_milliseconds();
        auto* seat = gdk_display_get_default_seat(gtk_widget_get_display(box));
        gdk_device_get_position_double(gdk_seat_get_pointer(seat), nullptr, &shown->x, &shown->y);
    }
    return FALSE;
}

// The handler of "enter-notify-event". Where nobody tells where the pointer was when the box came
// up, it was where it is seen first: within the box, or at its edge when it came from elsewhere.
gboolean handle_enter(GtkWidget* box, GdkEvent* event, gpointer /*unused*/) {
    auto& shown = presses_of(box)->shown;
    if (!shown) {
        shown = moment_of(box, event);
    }
    return FALSE;
}

bool is_press(const GdkEvent* event) {
    guint number = 0;
    gdk_event_get_button(event, &number); // a touch has none
    const auto type = gdk_event_get_event_type(event);
    return type == GDK_TOUCH_BEGIN || (type == GDK_BUTTON_PRESS && number == GDK_BUTTON_PRIMARY);
}

// The handler of "button-press-event" and "touch-event" of a button.
gboolean handle_press(GtkWidget* button, GdkEvent* event, gpointer box) {
    if (!is_press(event)) {
        return FALSE;
    }
    auto* presses = presses_of(box);
    const auto press = moment_of(button, event);
    const auto objection = press_guard.find_objection(presses->shown, press, read_limits(button));
    if (!objection.empty()) {
        GUI_LOG(NORMAL, "the press does not count: " << objection);
        return TRUE;
    }
    presses->last_press = press;
    return FALSE;
}

// The handler of "clicked". A key or an assistive tool comes without such an event.
void handle_click(GtkWidget* /*button*/, gpointer box) {
    auto* event = gtk_get_current_event();
    if (event == nullptr) {
        return;
    }
    const auto type = gdk_event_get_event_type(event);
    gdk_event_free(event);
    const auto& press = presses_of(box)->last_press;
    if ((type == GDK_BUTTON_RELEASE || type == GDK_TOUCH_END) && press) {
        press_guard.answered({now_in_milliseconds(), press->x, press->y});
    }
}

void watch_button(GtkWidget* button, gpointer box) {
    g_signal_connect(button, "button-press-event", G_CALLBACK(handle_press), box);
    g_signal_connect(button, "touch-event", G_CALLBACK(handle_press), box);
    g_signal_connect(button, "clicked", G_CALLBACK(handle_click), box);
}

} // namespace

void watch_presses(GtkWidget* box, GtkWidget* button_box) {
    if (box == nullptr || button_box == nullptr) {
        return;
    }
    g_object_set_data_full(G_OBJECT(box), BOX_PRESSES_KEY, new BoxPresses,
                           [](gpointer presses) { delete static_cast<BoxPresses*>(presses); });
    gtk_widget_add_events(box, GDK_ENTER_NOTIFY_MASK);
    g_signal_connect(box, "map-event", G_CALLBACK(handle_map), nullptr);
    if (!knows_the_whole_screen(box)) {
        g_signal_connect(box, "enter-notify-event", G_CALLBACK(handle_enter), nullptr);
    }
    gtk_container_foreach(GTK_CONTAINER(button_box), watch_button, box);
}
