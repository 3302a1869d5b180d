// Keeps the printer's name in sight where nobody draws the title of a box.
#pragma once

#include <string>

#include <gtk/gtk.h>

// The box gets a line with its printer's name at the top when it appears without a title bar: on
// Wayland where GTK leaves the title bar to the compositor, which need not have any (a kiosk has
// none, and no compositor tells), and on X11 where the window manager has put none around it. name
// is valid UTF-8; without one there is no line. To be called once, before the box is shown, on the
// GTK main thread. Does nothing for a box that holds no column of widgets.
void show_printer_name_without_title_bar(GtkWidget* box, const std::string& name);
