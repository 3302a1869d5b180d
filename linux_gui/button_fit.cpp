#include "button_fit.h"

#include <algorithm>
#include <memory>

#include "monitor_area.h"
#include "object_owner.h"

namespace {

using ListOwner = std::unique_ptr<GList, Releaser<g_list_free>>;

int get_least_width(GtkWidget* widget) {
    int width = 0;
    gtk_widget_get_preferred_width(widget, &width, nullptr);
    return width;
}

// Has the label of a button go on in further lines, so that the button is this wide.
void break_label(GtkWidget* button, int button_width) {
    auto* label = gtk_bin_get_child(GTK_BIN(button));
    if (!GTK_IS_LABEL(label)) {
        return;
    }
    const int width = button_width - (get_least_width(button) - get_least_width(label));
    gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
    gtk_label_set_line_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
    gtk_label_set_justify(GTK_LABEL(label), GTK_JUSTIFY_CENTER);
    gtk_widget_set_size_request(label, width, -1); // else as wide as its longest word
}

} // namespace

void fit_buttons(GtkWidget* window, GtkWidget* button_box) {
    if (window == nullptr || !GTK_IS_ORIENTABLE(button_box)) {
        return;
    }
    const int width_limit = get_room_for_window().width * 9 / 10;
    if (get_least_width(window) <= width_limit) {
        return;
    }
    const ListOwner buttons(gtk_container_get_children(GTK_CONTAINER(button_box)));
    const int room = width_limit - (get_least_width(window) - get_least_width(button_box));
    int widest = 0;
    for (const auto* item = buttons.get(); item != nullptr; item = item->next) {
        auto* button = GTK_WIDGET(item->data);
        if (GTK_IS_BUTTON(button) && get_least_width(button) > room) {
            break_label(button, room);
        }
        widest = std::max(widest, get_least_width(button));
    }
    for (const auto* item = buttons.get(); item != nullptr; item = item->next) {
        gtk_widget_set_size_request(GTK_WIDGET(item->data), widest, -1);
    }
    gtk_orientable_set_orientation(GTK_ORIENTABLE(button_box), GTK_ORIENTATION_VERTICAL);
    gtk_widget_set_halign(button_box, GTK_ALIGN_END); // where the last button of a row is
}
