// GDK's side of X11, and what others send a window through the X server.
#pragma once

#include <algorithm>
#include <initializer_list>

#include "gtk_support.h"

// Behind GoogleTest, which uses the names of its macros.
#include <gdk/gdkx.h>
#undef Bool
#undef None
#undef Status
#undef Success

enum class SentTo { WINDOW, WINDOW_MANAGER };

// Sends a message about a window. The main loop has it when it runs.
inline void send_message(GtkWidget* about, SentTo receiver, const char* type,
                         std::initializer_list<unsigned long> data = {}) {
    auto* display = gdk_x11_get_default_xdisplay();
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = gdk_x11_window_get_xid(gtk_widget_get_window(about));
    event.xclient.message_type = gdk_x11_get_xatom_by_name(type);
    event.xclient.format = 32;
    std::copy(data.begin(), data.end(), event.xclient.data.l);
    const bool is_for_window = receiver == SentTo::WINDOW;
    XSendEvent(display, is_for_window ? event.xclient.window : DefaultRootWindow(display), 0,
               is_for_window ? NoEventMask : SubstructureRedirectMask | SubstructureNotifyMask,
               &event);
    XSync(display, 0);
}
