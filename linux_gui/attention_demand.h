// Spares the person a banner that says the opposite of what happened.
#pragma once

#include <gtk/gtk.h>

// The window manager of GNOME demands attention for a box that it shows without giving it the
// keyboard, and GNOME then tells in a banner, and in its list of notifications, that “TITLE” is
// ready: of a printer that has stopped, that is false. So the demand is taken back there as soon as
// it is made, and the banner goes at once; the box stands above all other windows anyway. Elsewhere
// the demand stays: it marks the box in the task bar. To be called once, before the box is shown,
// on the GTK main thread.
void take_back_demand_for_attention(GtkWidget* box);
