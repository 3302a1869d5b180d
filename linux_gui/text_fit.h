// The room that the text of a message box gets, from the size of its letters and of the screen.
//
// On the GTK main thread only. Sizes are in pixels.
#pragma once

#include <gtk/gtk.h>

// Gives the scrolled window around text_view a least size: 55 letters wide beside the numbers of
// steps, at most 70 % of the screen, and as high as what the text view shows needs there, at most
// 60 % of the screen and so that the window takes at most 85 %. Where a text is higher, the text
// view's space below paragraphs shrinks as far as that helps; otherwise the text scrolls, and ends
// in sight in the middle of a line of text. A window narrower than a third of the screen is taken
// to be that wide. window is text_view's; its other parts must be filled before. Does nothing when
// window is null, or text_view is null or lies in no scrolled window. Throws nothing of its own.
void fit_text_area(GtkWidget* window, GtkWidget* text_view);
