#include "box_keyboard.h"

#include <memory>
#include <utility>

#include <gtk/gtk.h>

#ifdef GDK_WINDOWING_X11
#include <gdk/gdkx.h>
#endif

#include "typing_guard.h"

namespace {

// What is known of one box. Belongs to it, under this key.
constexpr const char* KEYBOARD_KEY = "my_box_keyboard";

// Behind all events that have come: a key that waits to be handled was typed before the time.
constexpr int BEHIND_ALL_EVENTS = G_PRIORITY_DEFAULT_IDLE;

// The first frame is on the screen when the desktop asks for the next one but one. A compositor
// gives the focus before that, however slow it is.
constexpr int FRAMES_UNTIL_SEEN = 3;

// Owns its timers and its event filter. On the GTK main thread only.
class BoxKeyboard {
public:
    explicit BoxKeyboard(GtkWidget* box) : m_box(box) {}
    ~BoxKeyboard() {
        stop(m_new_box_timer);
        stop(m_pause_timer);
        ignore_requests();
        if (m_presses != nullptr) {
            g_object_unref(m_presses);
        }
    }
    BoxKeyboard(const BoxKeyboard&) = delete;
    BoxKeyboard& operator=(const BoxKeyboard&) = delete;

    void watch();

private:
    // The handlers of signals; raw is the BoxKeyboard.
    static void handle_realize(GtkWidget* box, gpointer raw);
    static void handle_unrealize(GtkWidget* box, gpointer raw);
    static gboolean handle_map(GtkWidget* box, GdkEvent* event, gpointer raw);
    static gboolean handle_frame(GtkWidget* box, GdkFrameClock* clock, gpointer raw);
    static gboolean handle_new_box_timer(gpointer raw);
    static gboolean handle_pause_timer(gpointer raw);
    static gboolean handle_focus_in(GtkWidget* box, GdkEvent* event, gpointer raw);
    static gboolean handle_focus_out(GtkWidget* box, GdkEvent* event, gpointer raw);
    static gboolean handle_key(GtkWidget* box, GdkEvent* event, gpointer raw);
    static void handle_press(GtkGesture* gesture, int press_count, double x, double y,
                             gpointer raw);

    static void stop(guint& timer);
    void await_pause();
    void notice_request();
    void ignore_requests();

    GtkWidget* const m_box;
    TypingGuard m_guard;
    GtkGesture* m_presses = nullptr;
    bool m_was_mapped = false;
    int m_frames = 0;
    guint m_new_box_timer = 0;
    guint m_pause_timer = 0;
    guint32 m_refused_key_time = GDK_CURRENT_TIME; // by the desktop's clock, in milliseconds
#ifdef GDK_WINDOWING_X11
    GdkWindow* m_filtered_window = nullptr; // one reference, while it listens for requests
    static inline int s_listening_boxes = 0;
    static GdkFilterReturn filter_event(GdkXEvent* raw_event, GdkEvent* event, gpointer raw);
#endif
};

void BoxKeyboard::watch() {
    g_signal_connect(m_box, "realize", G_CALLBACK(handle_realize), this);
    g_signal_connect(m_box, "unrealize", G_CALLBACK(handle_unrealize), this);
    g_signal_connect(m_box, "map-event", G_CALLBACK(handle_map), this);
    g_signal_connect(m_box, "focus-in-event", G_CALLBACK(handle_focus_in), this);
    g_signal_connect(m_box, "focus-out-event", G_CALLBACK(handle_focus_out), this);
    // Before the window looks for what the key does.
    g_signal_connect(m_box, "key-press-event", G_CALLBACK(handle_key), this);
    g_signal_connect(m_box, "key-release-event", G_CALLBACK(handle_key), this);
    // Before the part of the box that the press is for takes it.
    m_presses = gtk_gesture_multi_press_new(m_box);
    gtk_gesture_single_set_button(GTK_GESTURE_SINGLE(m_presses), 0);
    gtk_event_controller_set_propagation_phase(GTK_EVENT_CONTROLLER(m_presses), GTK_PHASE_CAPTURE);
    g_signal_connect(m_presses, "pressed", G_CALLBACK(handle_press), this);
}

void BoxKeyboard::stop(guint& timer) {
    if (timer != 0) {
        g_source_remove(timer);
    }
    timer = 0;
}

// ---- When a box is old --------------------------------------------------------------------------

// The window manager has let the window onto the screen, which may take it a while.
gboolean BoxKeyboard::handle_map(GtkWidget* box, GdkEvent* /*event*/, gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    if (!std::exchange(keyboard->m_was_mapped, true)) {
        gtk_widget_add_tick_callback(box, handle_frame, raw, nullptr);
    }
    return GDK_EVENT_PROPAGATE;
}

gboolean BoxKeyboard::handle_frame(GtkWidget* /*box*/, GdkFrameClock* /*clock*/, gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    if (++keyboard->m_frames < FRAMES_UNTIL_SEEN) {
        return G_SOURCE_CONTINUE;
    }
    keyboard->m_new_box_timer = g_timeout_add_full(BEHIND_ALL_EVENTS, NEW_BOX_MILLISECONDS,
                                                   handle_new_box_timer, raw, nullptr);
    return G_SOURCE_REMOVE;
}

gboolean BoxKeyboard::handle_new_box_timer(gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    keyboard->m_new_box_timer = 0;
    keyboard->m_guard.box_is_old();
    if (!keyboard->m_guard.waits_for_request()) {
        keyboard->ignore_requests();
    }
    return G_SOURCE_REMOVE;
}

// ---- Focus, keys, presses -----------------------------------------------------------------------

// Begins the pause in the typing, or begins it anew.
void BoxKeyboard::await_pause() {
    stop(m_pause_timer);
    if (m_guard.waits_for_pause()) {
        m_pause_timer = g_timeout_add_full(BEHIND_ALL_EVENTS, PAUSE_MILLISECONDS,
                                           handle_pause_timer, this, nullptr);
    }
}

gboolean BoxKeyboard::handle_pause_timer(gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    keyboard->m_pause_timer = 0;
    keyboard->m_guard.typing_paused();
    return G_SOURCE_REMOVE;
}

gboolean BoxKeyboard::handle_focus_in(GtkWidget* /*box*/, GdkEvent* /*event*/, gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    keyboard->m_guard.focus_came();
    keyboard->await_pause();
    return GDK_EVENT_PROPAGATE;
}

gboolean BoxKeyboard::handle_focus_out(GtkWidget* /*box*/, GdkEvent* /*event*/, gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    keyboard->m_guard.focus_went();
    keyboard->await_pause();
    return GDK_EVENT_PROPAGATE;
}

gboolean BoxKeyboard::handle_key(GtkWidget* /*box*/, GdkEvent* event, gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    // A desktop that stood still for a while hands over late what was typed meanwhile.
    const auto time = gdk_event_get_time(event);
    if (keyboard->m_refused_key_time != GDK_CURRENT_TIME && time != GDK_CURRENT_TIME &&
        time - keyboard->m_refused_key_time < PAUSE_MILLISECONDS) {
        keyboard->m_guard.key_was_late();
    }
    if (keyboard->m_guard.keys_count()) {
        return GDK_EVENT_PROPAGATE;
    }
    keyboard->m_refused_key_time = time;
    keyboard->await_pause();
    return GDK_EVENT_STOP;
}

void BoxKeyboard::handle_press(GtkGesture* /*gesture*/, int /*press_count*/, double /*x*/,
                               double /*y*/, gpointer raw) {
    static_cast<BoxKeyboard*>(raw)->notice_request();
}

void BoxKeyboard::notice_request() {
    m_guard.was_asked_for();
    stop(m_pause_timer);
    ignore_requests();
}

// ---- Requests to the window manager -------------------------------------------------------------

// Task bars, switchers and assistive tools ask an X11 window manager for a window by a message to
// the root window. It reaches everybody who listens there, and the focus comes after it. A window
// manager that pushes the focus sends none.

#ifdef GDK_WINDOWING_X11

// Adds SubstructureNotify to what this program hears of the root window, or takes it away. Each
// window that comes or goes anywhere wakes the program meanwhile.
void hear_root_window(GdkWindow* window, bool is_listening) {
    auto* display = gdk_x11_display_get_xdisplay(gdk_window_get_display(window));
    const auto root =
        gdk_x11_window_get_xid(gdk_screen_get_root_window(gdk_window_get_screen(window)));
    XWindowAttributes now;
    if (XGetWindowAttributes(display, root, &now) == 0) {
        return;
    }
    XSelectInput(display, root,
                 is_listening ? now.your_event_mask | SubstructureNotifyMask
                              : now.your_event_mask & ~SubstructureNotifyMask);
}

GdkFilterReturn BoxKeyboard::filter_event(GdkXEvent* raw_event, GdkEvent* /*event*/, gpointer raw) {
    const auto& event = *static_cast<const XEvent*>(raw_event);
    if (event.type == ClientMessage &&
        event.xclient.message_type == gdk_x11_get_xatom_by_name("_NET_ACTIVE_WINDOW")) {
        static_cast<BoxKeyboard*>(raw)->notice_request();
    }
    return GDK_FILTER_CONTINUE;
}

void BoxKeyboard::handle_realize(GtkWidget* box, gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    auto* window = gtk_widget_get_window(box);
    if (!GDK_IS_X11_WINDOW(window) || keyboard->m_filtered_window != nullptr ||
        !keyboard->m_guard.waits_for_request()) {
        return;
    }
    // The message names the box as its window, and so it passes the filter of the box.
    keyboard->m_filtered_window = GDK_WINDOW(g_object_ref(window));
    gdk_window_add_filter(window, filter_event, raw);
    if (s_listening_boxes++ == 0) {
        hear_root_window(window, true);
    }
}

void BoxKeyboard::ignore_requests() {
    auto* window = std::exchange(m_filtered_window, nullptr);
    if (window == nullptr) {
        return;
    }
    gdk_window_remove_filter(window, filter_event, this);
    if (--s_listening_boxes == 0) {
        hear_root_window(window, false);
    }
    g_object_unref(window);
}

#else

void BoxKeyboard::handle_realize(GtkWidget* /*box*/, gpointer /*raw*/) {}
void BoxKeyboard::ignore_requests() {}

#endif

void BoxKeyboard::handle_unrealize(GtkWidget* /*box*/, gpointer raw) {
    static_cast<BoxKeyboard*>(raw)->ignore_requests();
}

} // namespace

void guard_box_from_typing(GtkWidget* box) {
    auto keyboard = std::make_unique<BoxKeyboard>(box);
    keyboard->watch();
    g_object_set_data_full(G_OBJECT(box), KEYBOARD_KEY, keyboard.release(), [](gpointer raw) {
        const std::unique_ptr<BoxKeyboard> owner(static_cast<BoxKeyboard*>(raw));
    });
}
