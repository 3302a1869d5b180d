#include "box_keyboard.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include <gtk/gtk.h>

#ifdef GDK_WINDOWING_X11
#include <gdk/gdkx.h>
#endif

#include "object_owner.h"
#include "typing_guard.h"

namespace {

// What is known of one box. Belongs to it, under this key.
constexpr const char* KEYBOARD_KEY = "my_box_keyboard";

// Behind all events that have come: a key that waits to be handled was typed before the time.
constexpr int BEHIND_ALL_EVENTS = G_PRIORITY_DEFAULT_IDLE;

// The first frame is on the screen when the desktop asks for the next one but one. A compositor
// gives the focus before that, however slow it is.
constexpr int FRAMES_UNTIL_SEEN = 3;

void stop(guint& timer) {
    if (timer != 0) {
        g_source_remove(timer);
    }
    timer = 0;
}

class BoxKeyboard;

// What all boxes share: which there are, and what has gone lately. Owns its timer. On the GTK main
// thread only.
class BoxKeyboards {
public:
    void add(BoxKeyboard* box) { m_boxes.push_back(box); }
    void remove(BoxKeyboard* box) { std::erase(m_boxes, box); }

    void handle_window_gone();
    void handle_answer_with_key();
    FocusSource find_focus_source(GtkWidget* box) const;

private:
    static gboolean handle_timer(gpointer raw);
    void restart_timer();

    std::vector<BoxKeyboard*> m_boxes;
    FocusWitness m_witness;
    guint m_timer = 0;
};

BoxKeyboards box_keyboards;

// Owns its timers and its event filter. On the GTK main thread only.
class BoxKeyboard {
public:
    explicit BoxKeyboard(GtkWidget* box) : m_box(box) { box_keyboards.add(this); }
    ~BoxKeyboard() {
        box_keyboards.remove(this);
        stop(m_new_box_timer);
        stop(m_new_focus_timer);
        stop(m_pause_timer);
        stop_counting_frames();
        ignore_requests();
        if (m_presses != nullptr) {
            g_object_unref(m_presses);
        }
    }
    BoxKeyboard(const BoxKeyboard&) = delete;
    BoxKeyboard& operator=(const BoxKeyboard&) = delete;

    void watch();
    void handle_window_gone();

private:
    // The handlers of signals; raw is the BoxKeyboard.
    static void handle_realize(GtkWidget* box, gpointer raw);
    static void handle_unrealize(GtkWidget* box, gpointer raw);
    static void handle_unmap(GtkWidget* box, gpointer raw);
    static gboolean handle_map(GtkWidget* box, GdkEvent* event, gpointer raw);
    static void handle_frame(GdkFrameClock* clock, gpointer raw);
    static gboolean handle_new_box_timer(gpointer raw);
    static gboolean handle_new_focus_timer(gpointer raw);
    static gboolean handle_pause_timer(gpointer raw);
    static gboolean handle_focus_in(GtkWidget* box, GdkEvent* event, gpointer raw);
    static gboolean handle_focus_out(GtkWidget* box, GdkEvent* event, gpointer raw);
    static gboolean handle_key(GtkWidget* box, GdkEvent* event, gpointer raw);
    static void handle_press(GtkGesture* gesture, int press_count, double x, double y,
                             gpointer raw);

    void stop_counting_frames();
    void await_pause();
    void notice_request();
    void ignore_requests();

    GtkWidget* const m_box;
    TypingGuard m_guard;
    GtkGesture* m_presses = nullptr;
    bool m_was_mapped = false;
    // While frames are counted. A tick callback of GTK would do, but for a window that somebody
    // else destroys: GTK then looks for the clock of a window that is not there.
    ObjectOwner<GdkFrameClock> m_frame_clock;
    int m_frames = 0;
    guint m_new_box_timer = 0;
    guint m_new_focus_timer = 0;
    guint m_pause_timer = 0;
    guint32 m_refused_key_time = GDK_CURRENT_TIME; // by the desktop's clock, in milliseconds
#ifdef GDK_WINDOWING_X11
    GdkWindow* m_filtered_window = nullptr; // one reference, while it listens for requests
    static GdkFilterReturn filter_event(GdkXEvent* raw_event, GdkEvent* event, gpointer raw);
#endif
};

void BoxKeyboard::watch() {
    g_signal_connect(m_box, "realize", G_CALLBACK(handle_realize), this);
    g_signal_connect(m_box, "unrealize", G_CALLBACK(handle_unrealize), this);
    g_signal_connect(m_box, "unmap", G_CALLBACK(handle_unmap), this);
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

// ---- What has gone ------------------------------------------------------------------------------

void BoxKeyboards::handle_window_gone() {
    m_witness.window_went();
    restart_timer();
    for (auto* box : m_boxes) {
        box->handle_window_gone();
    }
}

void BoxKeyboards::handle_answer_with_key() {
    m_witness.answered_with_key();
    restart_timer();
}

void BoxKeyboards::restart_timer() {
    stop(m_timer);
    m_timer =
        g_timeout_add_full(BEHIND_ALL_EVENTS, PAUSE_MILLISECONDS, handle_timer, this, nullptr);
}

gboolean BoxKeyboards::handle_timer(gpointer raw) {
    auto* keyboards = static_cast<BoxKeyboards*>(raw);
    keyboards->m_timer = 0;
    keyboards->m_witness.is_long_ago();
    return G_SOURCE_REMOVE;
}

void BoxKeyboard::handle_unmap(GtkWidget* /*box*/, gpointer /*raw*/) {
    box_keyboards.handle_window_gone();
}

void BoxKeyboard::handle_window_gone() {
    const bool did_count = m_guard.keys_count();
    m_guard.window_went();
    if (did_count) {
        await_pause();
    }
}

// ---- When a box is old --------------------------------------------------------------------------

// The window manager has let the window onto the screen, which may take it a while.
gboolean BoxKeyboard::handle_map(GtkWidget* box, GdkEvent* /*event*/, gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    if (!std::exchange(keyboard->m_was_mapped, true)) {
        auto* clock = gtk_widget_get_frame_clock(box);
        keyboard->m_frame_clock.reset(GDK_FRAME_CLOCK(g_object_ref(clock)));
        g_signal_connect(clock, "before-paint", G_CALLBACK(handle_frame), raw);
        gdk_frame_clock_request_phase(clock, GDK_FRAME_CLOCK_PHASE_BEFORE_PAINT);
    }
    return GDK_EVENT_PROPAGATE;
}

void BoxKeyboard::handle_frame(GdkFrameClock* clock, gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    if (++keyboard->m_frames < FRAMES_UNTIL_SEEN) {
        gdk_frame_clock_request_phase(clock, GDK_FRAME_CLOCK_PHASE_BEFORE_PAINT);
        return;
    }
    keyboard->stop_counting_frames();
    keyboard->m_new_box_timer = g_timeout_add_full(BEHIND_ALL_EVENTS, BLINK_MILLISECONDS,
                                                   handle_new_box_timer, raw, nullptr);
}

void BoxKeyboard::stop_counting_frames() {
    if (const auto clock = std::move(m_frame_clock)) {
        g_signal_handlers_disconnect_by_data(clock.get(), this);
    }
}

gboolean BoxKeyboard::handle_new_box_timer(gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    keyboard->m_new_box_timer = 0;
    keyboard->m_guard.box_is_old();
    return G_SOURCE_REMOVE;
}

// ---- Focus, keys, presses -----------------------------------------------------------------------

// Begins the pause in the typing, or begins it anew.
void BoxKeyboard::await_pause() {
    stop(m_pause_timer);
    if (m_guard.waits_for_pause()) {
        m_pause_timer = g_timeout_add_full(BEHIND_ALL_EVENTS, m_guard.get_pause_milliseconds(),
                                           handle_pause_timer, this, nullptr);
    }
}

gboolean BoxKeyboard::handle_pause_timer(gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    keyboard->m_pause_timer = 0;
    keyboard->m_guard.typing_paused();
    return G_SOURCE_REMOVE;
}

gboolean BoxKeyboard::handle_focus_in(GtkWidget* box, GdkEvent* /*event*/, gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    keyboard->m_guard.focus_came(box_keyboards.find_focus_source(box));
    stop(keyboard->m_new_focus_timer);
    keyboard->m_new_focus_timer = g_timeout_add_full(BEHIND_ALL_EVENTS, BLINK_MILLISECONDS,
                                                     handle_new_focus_timer, raw, nullptr);
    keyboard->await_pause();
    return GDK_EVENT_PROPAGATE;
}

gboolean BoxKeyboard::handle_new_focus_timer(gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    keyboard->m_new_focus_timer = 0;
    keyboard->m_guard.focus_is_old();
    return G_SOURCE_REMOVE;
}

gboolean BoxKeyboard::handle_focus_out(GtkWidget* /*box*/, GdkEvent* /*event*/, gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    keyboard->m_guard.focus_went();
    stop(keyboard->m_new_focus_timer);
    keyboard->await_pause();
    return GDK_EVENT_PROPAGATE;
}

gboolean BoxKeyboard::handle_key(GtkWidget* /*box*/, GdkEvent* event, gpointer raw) {
    auto* keyboard = static_cast<BoxKeyboard*>(raw);
    // A desktop that stood still for a while hands over late what was typed meanwhile.
    const auto time = gdk_event_get_time(event);
    if (keyboard->m_refused_key_time != GDK_CURRENT_TIME && time != GDK_CURRENT_TIME &&
        time - keyboard->m_refused_key_time < keyboard->m_guard.get_pause_milliseconds()) {
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
}

// ---- What an X server tells of other windows ----------------------------------------------------

#ifdef GDK_WINDOWING_X11

// Hears of the root window of an X server, while any box is there, which windows go. The window
// manager lists them there, and which workspace it shows. For one thread.
class RootWindow {
public:
    // Called by each box as it comes and goes; box_window is its window.
    void add_box(GdkWindow* box_window);
    void remove_box();

private:
    static GdkFilterReturn filter_event(GdkXEvent* raw_event, GdkEvent* event, gpointer raw);
    long get_events() const;
    void select_events(long events) const;
    std::vector<Window> read_windows() const;

    int m_boxes = 0;
    GdkWindow* m_root = nullptr;   // of GDK's own, while there are boxes
    long m_added_events = 0;       // that GDK had not asked for
    std::vector<Window> m_windows; // in order
};

RootWindow root_window;

void RootWindow::add_box(GdkWindow* box_window) {
    if (m_boxes++ > 0) {
        return;
    }
    m_root = gdk_screen_get_root_window(gdk_window_get_screen(box_window));
    // Task bars, switchers and assistive tools ask a window manager for a window by a message that
    // reaches everybody who asks for SubstructureNotify. Each window that comes or goes anywhere
    // wakes the program meanwhile.
    const long events = get_events();
    m_added_events = (PropertyChangeMask | SubstructureNotifyMask) & ~events;
    select_events(events | m_added_events);
    gdk_window_add_filter(m_root, filter_event, this);
    m_windows = read_windows();
}

void RootWindow::remove_box() {
    if (--m_boxes > 0) {
        return;
    }
    gdk_window_remove_filter(m_root, filter_event, this);
    select_events(get_events() & ~m_added_events);
}

long RootWindow::get_events() const {
    XWindowAttributes attributes{};
    XGetWindowAttributes(gdk_x11_display_get_xdisplay(gdk_window_get_display(m_root)),
                         gdk_x11_window_get_xid(m_root), &attributes);
    return attributes.your_event_mask;
}

void RootWindow::select_events(long events) const {
    XSelectInput(gdk_x11_display_get_xdisplay(gdk_window_get_display(m_root)),
                 gdk_x11_window_get_xid(m_root), events);
}

std::vector<Window> RootWindow::read_windows() const {
    constexpr long all = 0x7fffffff;
    Atom type = 0;
    int bits = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(gdk_x11_display_get_xdisplay(gdk_window_get_display(m_root)),
                       gdk_x11_window_get_xid(m_root),
                       gdk_x11_get_xatom_by_name("_NET_CLIENT_LIST"), 0, all, 0,
                       gdk_x11_get_xatom_by_name("WINDOW"), &type, &bits, &count, &left, &data);
    const std::unique_ptr<unsigned char, Releaser<XFree>> owner(data);
    constexpr int bits_of_window = 32;
    if (data == nullptr || bits != bits_of_window) {
        return {};
    }
    const auto* first = reinterpret_cast<const Window*>(data);
    std::vector<Window> windows(first, first + count);
    std::sort(windows.begin(), windows.end());
    return windows;
}

GdkFilterReturn RootWindow::filter_event(GdkXEvent* raw_event, GdkEvent* /*event*/, gpointer raw) {
    auto* root = static_cast<RootWindow*>(raw);
    const auto& event = *static_cast<const XEvent*>(raw_event);
    if (event.type != PropertyNotify) {
        return GDK_FILTER_CONTINUE;
    }
    if (event.xproperty.atom == gdk_x11_get_xatom_by_name("_NET_CURRENT_DESKTOP")) {
        box_keyboards.handle_window_gone();
    } else if (event.xproperty.atom == gdk_x11_get_xatom_by_name("_NET_CLIENT_LIST")) {
        // Some window managers write it anew whenever a window comes to the front.
        const auto before = std::exchange(root->m_windows, root->read_windows());
        if (!std::includes(root->m_windows.begin(), root->m_windows.end(), before.begin(),
                           before.end())) {
            box_keyboards.handle_window_gone();
        }
    }
    return GDK_FILTER_CONTINUE;
}

// An X server that a Wayland compositor runs beside itself knows nothing of the other windows. Its
// keyboards say what they are.
bool sees_all_windows(GtkWidget* box) {
    auto* display = gtk_widget_get_display(box);
    if (!GDK_IS_X11_DISPLAY(display)) {
        return false;
    }
    const std::unique_ptr<GList, Releaser<g_list_free>> keyboards(
        gdk_seat_get_slaves(gdk_display_get_default_seat(display), GDK_SEAT_CAPABILITY_KEYBOARD));
    for (const auto* item = keyboards.get(); item != nullptr; item = item->next) {
        if (g_str_has_prefix(gdk_device_get_name(GDK_DEVICE(item->data)), "xwayland-") != FALSE) {
            return false;
        }
    }
    return true;
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
    if (!GDK_IS_X11_WINDOW(window) || keyboard->m_filtered_window != nullptr) {
        return;
    }
    // The message names the box as its window, and so it passes the filter of the box. The focus
    // comes after it.
    keyboard->m_filtered_window = GDK_WINDOW(g_object_ref(window));
    gdk_window_add_filter(window, filter_event, raw);
    root_window.add_box(window);
}

void BoxKeyboard::ignore_requests() {
    auto* window = std::exchange(m_filtered_window, nullptr);
    if (window == nullptr) {
        return;
    }
    gdk_window_remove_filter(window, filter_event, this);
    root_window.remove_box();
    g_object_unref(window);
}

#else

bool sees_all_windows(GtkWidget* /*box*/) {
    return false;
}

void BoxKeyboard::handle_realize(GtkWidget* /*box*/, gpointer /*raw*/) {}
void BoxKeyboard::ignore_requests() {}

#endif

FocusSource BoxKeyboards::find_focus_source(GtkWidget* box) const {
    return m_witness.find_source(sees_all_windows(box));
}

void BoxKeyboard::handle_unrealize(GtkWidget* /*box*/, gpointer raw) {
    static_cast<BoxKeyboard*>(raw)->ignore_requests();
}

} // namespace

void guard_box_from_typing(GtkWidget* box) {
    if (box == nullptr) {
        return;
    }
    auto keyboard = std::make_unique<BoxKeyboard>(box);
    keyboard->watch();
    g_object_set_data_full(G_OBJECT(box), KEYBOARD_KEY, keyboard.release(), [](gpointer raw) {
        const std::unique_ptr<BoxKeyboard> owner(static_cast<BoxKeyboard*>(raw));
    });
}

void note_answer() {
    const std::unique_ptr<GdkEvent, Releaser<gdk_event_free>> event(gtk_get_current_event());
    // A key that is held down for long presses its button by a timer, without an event.
    const auto type = event ? gdk_event_get_event_type(event.get()) : GDK_NOTHING;
    if (type != GDK_BUTTON_RELEASE && type != GDK_TOUCH_END) {
        box_keyboards.handle_answer_with_key();
    }
}
