// The text of a message box as it is laid out: title, paragraphs, numbered steps.
//
// On the GTK main thread only.
#pragma once

#include <string>

#include <gtk/gtk.h>

// Puts the text (UTF-8, as it is) into the text view: its first line in bold, a little space
// between paragraphs where there is no empty line, and each numbered step with its further lines
// under its text instead of under its number, whichever side they start at. The caret is put before
// the first character. Spaces and indents fit the font that the text view has at the time of the
// call. Throws nothing of its own.
void show_box_text(GtkTextView* text_view, const std::string& display_text);
