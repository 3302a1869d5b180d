// What a message box that nobody has turned to yet looks like, and where it stands.
//
// On the GTK main thread only.
#pragma once

#include <gtk/gtk.h>

// Has the labels of the buttons of this container drawn as readable without keyboard focus as with
// it: themes draw the windows that have none paler than is good for a box that asks for an answer.
// Buttons that are added later are left as they are.
void keep_buttons_readable(GtkWidget* button_box);

// Raises the box of this program that has the keyboard focus, if there is one, over a box that has
// just been shown: what is typed goes there, and must not go to a box that nobody sees. Boxes are
// told by their id in the Builder file, which they share.
void keep_active_box_above(GtkWidget* box);
