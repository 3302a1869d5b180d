// How a message box makes itself known to people who do not see it: what assistive tools are told,
// and a sound.
//
// On the GTK main thread only.
#pragma once

#include <string>

#include <gtk/gtk.h>

enum class BoxSign { Error, Warning };

// Names the sign in the words that GTK's translations have for it, gives the notification around
// it, which a screen reader says without focus, the sign and the window's title for a name and the
// first line of the text for a description, and describes the window with the whole text. Title and
// text are set before, and the window is shown later. Parts that are null are left out, and so is
// the notification when the layout has none. Throws nothing of its own.
void describe_box(GtkWidget* box, GtkWidget* sign_image, BoxSign sign,
                  const std::string& display_text);

// Rings the bell of the desktop, or what it has in its place, if its settings let programs do so.
// The box is realized.
void ring_for_box(GtkWidget* box);
