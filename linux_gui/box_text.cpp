#include "box_text.h"

#include "object_owner.h"

namespace {

// The width and height of a text in the text view's font, in pixels.
GtkRequisition measure_text(GtkTextView* text_view, const char* text) {
    const ObjectOwner<PangoLayout> layout(
        gtk_widget_create_pango_layout(GTK_WIDGET(text_view), text));
    GtkRequisition size{};
    pango_layout_get_pixel_size(layout.get(), &size.width, &size.height);
    return size;
}

bool is_blank(gunichar character) {
    return character != '\n' && g_unichar_isspace(character);
}

// Moves from the start of a paragraph behind the number of a step, as "1. " or in the digits and
// marks of other scripts; false when there is none.
bool skip_step_number(GtkTextIter* place) {
    const auto skip_while = [place](auto is_skipped) {
        bool has_skipped = false;
        while (is_skipped(gtk_text_iter_get_char(place)) && gtk_text_iter_forward_char(place)) {
            has_skipped = true;
        }
        return has_skipped;
    };
    // A translation into a language that is written from right to left may begin with its mark.
    skip_while([](gunichar character) { return g_unichar_type(character) == G_UNICODE_FORMAT; });
    if (!skip_while([](gunichar character) { return g_unichar_isdigit(character) != FALSE; })) {
        return false;
    }
    const auto mark = gtk_text_iter_get_char(place);
    if (!g_unichar_ispunct(mark) || !gtk_text_iter_forward_char(place)) {
        return false;
    }
    // The marks of Chinese and Japanese bring their blank with them.
    return skip_while(is_blank) || g_unichar_iswide(mark);
}

void indent_steps(GtkTextView* text_view, GtkTextBuffer* buffer) {
    const int count = gtk_text_buffer_get_line_count(buffer);
    for (int line = 0; line < count; ++line) {
        GtkTextIter start;
        gtk_text_buffer_get_iter_at_line(buffer, &start, line);
        GtkTextIter text_start = start;
        if (!skip_step_number(&text_start)) {
            continue;
        }
        const TextOwner number(gtk_text_iter_get_text(&start, &text_start));
        // A negative indent is one of all lines but the first.
        auto* hanging = gtk_text_buffer_create_tag(
            buffer, nullptr, "indent", -measure_text(text_view, number.get()).width, nullptr);
        GtkTextIter end = text_start;
        gtk_text_iter_forward_line(&end);
        gtk_text_buffer_apply_tag(buffer, hanging, &start, &end);
    }
}

bool is_empty_line(GtkTextBuffer* buffer, int line) {
    GtkTextIter start;
    gtk_text_buffer_get_iter_at_line(buffer, &start, line);
    return gtk_text_iter_ends_line(&start) != FALSE;
}

// Where an empty line is between two paragraphs, it is space enough.
void keep_empty_lines_as_they_are(GtkTextBuffer* buffer) {
    auto* tight = gtk_text_buffer_create_tag(buffer, nullptr, "pixels-below-lines", 0, nullptr);
    const int count = gtk_text_buffer_get_line_count(buffer);
    for (int line = 0; line + 1 < count; ++line) {
        if (is_empty_line(buffer, line) || is_empty_line(buffer, line + 1)) {
            GtkTextIter start;
            GtkTextIter end;
            gtk_text_buffer_get_iter_at_line(buffer, &start, line);
            gtk_text_buffer_get_iter_at_line(buffer, &end, line + 1);
            gtk_text_buffer_apply_tag(buffer, tight, &start, &end);
        }
    }
}

void embolden_title(GtkTextBuffer* buffer) {
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_start_iter(buffer, &start);
    gtk_text_buffer_get_iter_at_line(buffer, &end, 1);
    auto* bold = gtk_text_buffer_create_tag(buffer, nullptr, "weight", PANGO_WEIGHT_BOLD, nullptr);
    gtk_text_buffer_apply_tag(buffer, bold, &start, &end);
}

} // namespace

void show_box_text(GtkTextView* text_view, const std::string& display_text) {
    auto* buffer = gtk_text_view_get_buffer(text_view);
    gtk_text_buffer_set_text(buffer, display_text.c_str(), -1);
    if (buffer == nullptr) {
        return;
    }
    embolden_title(buffer);
    indent_steps(text_view, buffer);
    keep_empty_lines_as_they_are(buffer);
    // Enough to tell paragraphs from lines, too little to look like an empty line.
    gtk_text_view_set_pixels_below_lines(text_view, measure_text(text_view, "").height / 4);
    GtkTextIter start;
    gtk_text_buffer_get_start_iter(buffer, &start);
    gtk_text_buffer_place_cursor(buffer, &start);
}
