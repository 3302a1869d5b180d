// Keeps keys that somebody types elsewhere from answering a box that a desktop gave the focus to.
#pragma once

#include <gtk/gtk.h>

// Watches a box until it is destroyed, so that keys reach it only when they are meant for it (see
// typing_guard.h). To be called once, before the box is shown, on the GTK main thread. Answers of
// assistive tools are no keys and always count. Does nothing without a box.
void guard_box_from_typing(GtkWidget* box);

// Tells the other boxes that this one is being answered, and whether with a press of the mouse:
// whoever answers one after the other with the keyboard need not wait for long. To be called in the
// handler of its button, on the GTK main thread.
void note_answer();
