#include "text_fit.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "monitor_area.h"

namespace {

template <auto release>
struct Releaser {
    template <typename T>
    void operator()(T* owned) const {
        release(owned);
    }
};
using Layout = std::unique_ptr<PangoLayout, Releaser<g_object_unref>>;
using Attributes = std::unique_ptr<PangoAttrList, Releaser<pango_attr_list_unref>>;
using FontMetrics = std::unique_ptr<PangoFontMetrics, Releaser<pango_font_metrics_unref>>;

// The height in pixels that the text takes in the text view when its lines are this wide.
int measure_text_height(GtkWidget* text_view, std::string_view text, int line_width) {
    const Layout owned_layout(gtk_widget_create_pango_layout(text_view, nullptr));
    auto* const layout = owned_layout.get();
    pango_layout_set_width(layout, line_width * PANGO_SCALE);
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    const Attributes bold(pango_attr_list_new());
    pango_attr_list_insert(bold.get(), pango_attr_weight_new(PANGO_WEIGHT_BOLD));
    pango_layout_set_attributes(layout, bold.get());
    int total_height = 0;
    // A text view lays out and rounds each paragraph by itself.
    for (;;) {
        const auto line_end = text.find('\n');
        const auto line = text.substr(0, line_end);
        pango_layout_set_text(layout, line.data(), static_cast<int>(line.size()));
        int height = 0;
        pango_layout_get_pixel_size(layout, nullptr, &height);
        total_height += height;
        if (line_end == std::string_view::npos) {
            return total_height;
        }
        text.remove_prefix(line_end + 1);
        pango_layout_set_attributes(layout, nullptr); // only the title is bold
    }
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

// The height of a text area whose text with its margins takes text_height: up to 60 % of the
// screen's height. What is higher scrolls, and ends in the middle of a line, because a whole last
// line in sight would look like the end of the text.
int choose_text_area_height(GtkWidget* text_view, int text_height, const GtkBorder& margins) {
    const int limit = get_room_for_window().height * 6 / 10;
    if (text_height <= limit) {
        return text_height;
    }
    const int line_height = measure_text_height(text_view, "", gdk_screen_width());
    const int whole_lines = (2 * (limit - margins.top) / line_height - 1) / 2;
    return margins.top + whole_lines * line_height + line_height / 2;
}

} // namespace

void fit_text_area(GtkWidget* window, GtkWidget* text_view, const std::string& display_text) {
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
    const int content_width =
        std::min(readable_line_length * character_width, get_room_for_window().width * 7 / 10);
    gtk_widget_set_size_request(scrolled_window, content_width, -1);

    int least_window_width = 0;
    gtk_widget_get_preferred_width(window, &least_window_width, nullptr);
    const int spare_width = std::max(0, gdk_screen_width() / 3 - least_window_width);
    const auto margins = get_text_margins(text_view, scrolled_window);
    const int room_for_cursor = 1; // a text view keeps it free at the end of its lines
    const int line_width =
        content_width + spare_width - margins.left - margins.right - room_for_cursor;
    const int text_height =
        measure_text_height(text_view, display_text, line_width) + margins.top + margins.bottom;
    gtk_widget_set_size_request(scrolled_window, content_width,
                                choose_text_area_height(text_view, text_height, margins));
}
