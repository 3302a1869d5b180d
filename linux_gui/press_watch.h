// Keeps presses with the mouse, or a touch, from the buttons of a box when nobody aimed them there.
#pragma once

#include <gtk/gtk.h>

// Watches a message box and the buttons in button_box from now on; to be called before the box is
// shown. A press that does not count (press_guard.h says which) never reaches its button, and the
// log gets one line. Keys and assistive tools are not held up. Null for either does nothing. For
// the GTK main thread.
void watch_presses(GtkWidget* box, GtkWidget* button_box);
