#include "attention_demand.h"

#ifdef GDK_WINDOWING_X11

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

#include <gdk/gdkx.h>

namespace {

constexpr const char* STATE = "_NET_WM_STATE";
constexpr const char* DEMAND = "_NET_WM_STATE_DEMANDS_ATTENTION";

// Of a message about _NET_WM_STATE, as the Extended Window Manager Hints have them.
constexpr long REMOVE = 0;
constexpr long FROM_AN_APPLICATION = 1;

bool demands_attention(GdkWindow* window) {
    GdkAtom type = GDK_NONE;
    int format = 0;
    int size = 0; // in bytes
    guchar* data = nullptr;
    if (gdk_property_get(window, gdk_atom_intern_static_string(STATE), GDK_NONE, 0, G_MAXLONG,
                         FALSE, &type, &format, &size, &data) == FALSE) {
        return false;
    }
    const std::unique_ptr<guchar, decltype(&g_free)> owner(data, g_free);
    const auto* states = static_cast<const GdkAtom*>(static_cast<const void*>(data));
    const auto demand = gdk_atom_intern_static_string(DEMAND);
    for (const auto state : std::span(states, static_cast<std::size_t>(size) / sizeof(GdkAtom))) {
        if (state == demand) {
            return true;
        }
    }
    return false;
}

void take_back_demand(GdkWindow* window) {
    auto* display = gdk_window_get_display(window);
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = gdk_x11_window_get_xid(window);
    event.xclient.message_type = gdk_x11_get_xatom_by_name_for_display(display, STATE);
    event.xclient.format = 32;
    event.xclient.data.l[0] = REMOVE;
    event.xclient.data.l[1] =
        static_cast<long>(gdk_x11_get_xatom_by_name_for_display(display, DEMAND));
    event.xclient.data.l[3] = FROM_AN_APPLICATION;
    auto* root = gdk_screen_get_root_window(gdk_window_get_screen(window));
    XSendEvent(gdk_x11_display_get_xdisplay(display), gdk_x11_window_get_xid(root), False,
               SubstructureRedirectMask | SubstructureNotifyMask, &event);
}

bool is_at_gnome(GdkWindow* window) {
    const std::string_view name =
        gdk_x11_screen_get_window_manager_name(gdk_window_get_screen(window));
    return name == "GNOME Shell";
}

gboolean handle_property(GtkWidget* /*box*/, GdkEventProperty* event, gpointer /*unused*/) {
    if (event->atom == gdk_atom_intern_static_string(STATE) &&
        event->state == GDK_PROPERTY_NEW_VALUE && is_at_gnome(event->window) &&
        demands_attention(event->window)) {
        take_back_demand(event->window);
    }
    return GDK_EVENT_PROPAGATE;
}

} // namespace

void take_back_demand_for_attention(GtkWidget* box) {
    if (GDK_IS_X11_DISPLAY(gtk_widget_get_display(box))) {
        gtk_widget_add_events(box, GDK_PROPERTY_CHANGE_MASK);
        g_signal_connect(box, "property-notify-event", G_CALLBACK(handle_property), nullptr);
    }
}

#else

// Natively on Wayland a box gets the keyboard, and no banner.
void take_back_demand_for_attention(GtkWidget* /*box*/) {}

#endif
