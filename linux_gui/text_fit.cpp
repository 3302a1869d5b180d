#include "text_fit.h"

#include <algorithm>
#include <vector>

#include "monitor_area.h"
#include "object_owner.h"

namespace {

using TextAttributes = std::unique_ptr<GtkTextAttributes, Releaser<gtk_text_attributes_unref>>;
using LineIterator = std::unique_ptr<PangoLayoutIter, Releaser<pango_layout_iter_free>>;
using FontMetrics = std::unique_ptr<PangoFontMetrics, Releaser<pango_font_metrics_unref>>;

// Distances from the top of the text, and from its side.
struct TextPlaces {
    int end = 0;
    int widest_indent = 0;    // of the further lines of a paragraph
    std::vector<int> middles; // of the lines that show something
};

void add_line_middles(PangoLayout* layout, int paragraph_top, std::vector<int>& middles) {
    const LineIterator line(pango_layout_get_iter(layout));
    do {
        int top = 0;
        int bottom = 0;
        pango_layout_iter_get_line_yrange(line.get(), &top, &bottom);
        middles.push_back(paragraph_top + PANGO_PIXELS((top + bottom) / 2));
    } while (pango_layout_iter_next_line(line.get()));
}

// Where the lines of the text view's text are when they are at most this wide.
TextPlaces measure_text(GtkTextView* text_view, int line_width) {
    const ObjectOwner<PangoLayout> owned_layout(
        gtk_widget_create_pango_layout(GTK_WIDGET(text_view), nullptr));
    auto* const layout = owned_layout.get();
    pango_layout_set_width(layout, line_width * PANGO_SCALE);
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    auto* buffer = gtk_text_view_get_buffer(text_view);
    TextPlaces places;
    // A text view lays out and rounds each paragraph by itself.
    const int count = gtk_text_buffer_get_line_count(buffer);
    for (int paragraph = 0; paragraph < count; ++paragraph) {
        GtkTextIter start;
        gtk_text_buffer_get_iter_at_line(buffer, &start, paragraph);
        GtkTextIter end = start;
        if (!gtk_text_iter_ends_line(&end)) {
            gtk_text_iter_forward_to_line_end(&end);
        }
        const TextAttributes look(gtk_text_view_get_default_attributes(text_view));
        gtk_text_iter_get_attributes(&start, look.get());
        const TextOwner text(gtk_text_iter_get_text(&start, &end));
        pango_layout_set_font_description(layout, look->font);
        places.widest_indent = std::max(places.widest_indent, -look->indent);
        pango_layout_set_indent(layout, look->indent * PANGO_SCALE);
        pango_layout_set_text(layout, text.get(), -1);
        int height = 0;
        pango_layout_get_pixel_size(layout, nullptr, &height);
        places.end += look->pixels_above_lines;
        if (!gtk_text_iter_equal(&start, &end)) {
            add_line_middles(layout, places.end, places.middles);
        }
        places.end += height + look->pixels_below_lines;
    }
    return places;
}

// The pixels to the left and right of a text view's text (or above and below it) within the
// scrolled window around it.
GtkBorder get_text_margins(GtkWidget* text_view, GtkWidget* scrolled_window) {
    auto* view = GTK_TEXT_VIEW(text_view);
    GtkBorder sum{static_cast<gint16>(gtk_text_view_get_left_margin(view)),
                  static_cast<gint16>(gtk_text_view_get_right_margin(view)),
                  static_cast<gint16>(gtk_text_view_get_top_margin(view)),
                  static_cast<gint16>(gtk_text_view_get_bottom_margin(view))};
    for (auto* widget : {text_view, scrolled_window}) {
        auto* style = gtk_widget_get_style_context(widget);
        const auto state = gtk_style_context_get_state(style);
        GtkBorder padding;
        GtkBorder border;
        gtk_style_context_get_padding(style, state, &padding);
        gtk_style_context_get_border(style, state, &border);
        sum.left = static_cast<gint16>(sum.left + padding.left + border.left);
        sum.right = static_cast<gint16>(sum.right + padding.right + border.right);
        sum.top = static_cast<gint16>(sum.top + padding.top + border.top);
        sum.bottom = static_cast<gint16>(sum.bottom + padding.bottom + border.bottom);
    }
    return sum;
}

int get_scroll_bar_width(GtkWidget* scrolled_window) {
    auto* bar = gtk_scrolled_window_get_vscrollbar(GTK_SCROLLED_WINDOW(scrolled_window));
    int width = 0;
    gtk_widget_get_preferred_width(bar, nullptr, &width);
    int spacing = 0;
    gtk_widget_style_get(scrolled_window, "scrollbar-spacing", &spacing, nullptr);
    return width + spacing;
}

// Whether the text is at most height_limit high. The space below its paragraphs gives way as far as
// that takes: to see all of a text is worth more. It stays as it was when nothing helps.
bool fits_with_less_space(GtkTextView* text_view, int line_width, int height_limit) {
    const int space = gtk_text_view_get_pixels_below_lines(text_view);
    for (int left = space; left >= 0; --left) {
        gtk_text_view_set_pixels_below_lines(text_view, left);
        if (measure_text(text_view, line_width).end <= height_limit) {
            return true;
        }
    }
    gtk_text_view_set_pixels_below_lines(text_view, space);
    return false;
}

int get_least_height(GtkWidget* widget) {
    int height = 0;
    gtk_widget_get_preferred_height(widget, &height, nullptr);
    return height;
}

// How high the text area may be. Buttons that stand on one another must stay on the screen, and so
// must the frame that the window manager adds.
int get_height_limit(GtkWidget* window, GtkWidget* scrolled_window) {
    const int room = get_room_for_window().height;
    const int rest = get_least_height(window) - get_least_height(scrolled_window);
    return std::min(room * 6 / 10, room * 85 / 100 - rest);
}

// The height of the text area whose text is up to line_width wide. What is higher than the limit
// scrolls, and ends in the middle of a line, because a whole last line in sight would look like the
// end of the text.
int choose_text_area_height(GtkTextView* text_view, GtkWidget* scrolled_window, int line_width,
                            const GtkBorder& margins, int limit) {
    const int around = margins.top + margins.bottom;
    if (fits_with_less_space(text_view, line_width, limit - around)) {
        return measure_text(text_view, line_width).end + around;
    }
    int height = limit;
    const int narrow_width = line_width - get_scroll_bar_width(scrolled_window);
    for (const int middle : measure_text(text_view, narrow_width).middles) {
        if (margins.top + middle > limit) {
            break;
        }
        height = margins.top + middle;
    }
    return height;
}

} // namespace

void fit_text_area(GtkWidget* window, GtkWidget* text_view) {
    auto* scrolled_window = text_view != nullptr
                                ? gtk_widget_get_ancestor(text_view, GTK_TYPE_SCROLLED_WINDOW)
                                : nullptr;
    if (window == nullptr || scrolled_window == nullptr) {
        return;
    }
    // A resized window looks only at the least sizes of what it holds, so the room is set as such.
    constexpr int readable_line_length = 55; // in characters
    auto* context = gtk_widget_get_pango_context(text_view);
    const FontMetrics metrics(pango_context_get_metrics(context, nullptr, nullptr));
    const int character_width =
        PANGO_PIXELS_CEIL(pango_font_metrics_get_approximate_char_width(metrics.get()));
    const int indent = measure_text(GTK_TEXT_VIEW(text_view), gdk_screen_width()).widest_indent;
    const int content_width = std::min(readable_line_length * character_width + indent,
                                       get_room_for_window().width * 7 / 10);
    gtk_widget_set_size_request(scrolled_window, content_width, -1);

    int least_window_width = 0;
    gtk_widget_get_preferred_width(window, &least_window_width, nullptr);
    const int spare_width = std::max(0, gdk_screen_width() / 3 - least_window_width);
    const auto margins = get_text_margins(text_view, scrolled_window);
    const int room_for_cursor = 1; // a text view keeps it free at the end of its lines
    const int line_width =
        content_width + spare_width - margins.left - margins.right - room_for_cursor;
    gtk_widget_set_size_request(scrolled_window, content_width,
                                choose_text_area_height(GTK_TEXT_VIEW(text_view), scrolled_window,
                                                        line_width, margins,
                                                        get_height_limit(window, scrolled_window)));
}
