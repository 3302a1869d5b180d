// The room that the text of a message box gets, from the size of its letters and of the screen.
//
// On the GTK main thread only. Sizes are in pixels.
#pragma once

#include <string>

#include <gtk/gtk.h>

// Gives the scrolled window around text_view a least size: 55 letters wide, at most 70 % of the
// screen, and as high as display_text needs there with its first line bold, at most 60 % of the
// screen. A higher text scrolls, and ends in sight in the middle of a line. A window narrower than
// a third of the screen is taken to be that wide. window is text_view's; its other parts must be
// filled before. Does nothing when window is null, or text_view is null or lies in no scrolled
// window. Throws nothing of its own.
void fit_text_area(GtkWidget* window, GtkWidget* text_view, const std::string& display_text);
