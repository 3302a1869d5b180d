#include "monitor_area.h"

#include <algorithm>

#include <gtk/gtk.h>

RoomForWindow get_room_for_window() {
    RoomForWindow room{gdk_screen_width(), gdk_screen_height()};
    auto* display = gdk_display_get_default();
    const int monitor_count = gdk_display_get_n_monitors(display);
    for (int i = 0; i < monitor_count; ++i) {
        GdkRectangle area;
        gdk_monitor_get_workarea(gdk_display_get_monitor(display, i), &area);
        if (area.width > 0 && area.height > 0) {
            room.width = std::min(room.width, area.width);
            room.height = std::min(room.height, area.height);
        }
    }
    return room;
}
