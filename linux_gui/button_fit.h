// The buttons of a message box whose labels are too long for the screen.
//
// On the GTK main thread only.
#pragma once

#include <gtk/gtk.h>

// Has the buttons stand on one another, all of the same width, where side by side they would make
// the window wider than nine tenths of the screen, and a label that is too long even so go on in
// further lines. Otherwise all stays as the layout has it. The labels are set before; the window is
// sized and shown later. Does nothing when window is null, or button_box is null or not one that
// knows a direction. Throws nothing of its own.
void fit_buttons(GtkWidget* window, GtkWidget* button_box);
