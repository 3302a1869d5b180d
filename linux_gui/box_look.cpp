#include "box_look.h"

#include <memory>

#include "object_owner.h"

namespace {

using ListOwner = std::unique_ptr<GList, Releaser<g_list_free>>;

constexpr const char* READABLE_BUTTONS = "button:backdrop:not(:disabled) {"
                                         "    color: @theme_fg_color;"
                                         "}";

bool is_other_active_box(gpointer window, GtkWidget* box) {
    return window != box && gtk_window_is_active(GTK_WINDOW(window)) &&
           g_strcmp0(gtk_buildable_get_name(GTK_BUILDABLE(window)),
                     gtk_buildable_get_name(GTK_BUILDABLE(box))) == 0;
}

} // namespace

void keep_buttons_readable(GtkWidget* button_box) {
    const ObjectOwner<GtkCssProvider> provider(gtk_css_provider_new());
    gtk_css_provider_load_from_data(provider.get(), READABLE_BUTTONS, -1, nullptr);
    const ListOwner buttons(gtk_container_get_children(GTK_CONTAINER(button_box)));
    for (const auto* item = buttons.get(); item != nullptr; item = item->next) {
        gtk_style_context_add_provider(gtk_widget_get_style_context(GTK_WIDGET(item->data)),
                                       GTK_STYLE_PROVIDER(provider.get()),
                                       GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    }
}

void keep_active_box_above(GtkWidget* box) {
    const ListOwner windows(gtk_window_list_toplevels());
    for (const auto* item = windows.get(); item != nullptr; item = item->next) {
        if (is_other_active_box(item->data, box)) {
            // Not the new one lowered: xfwm4 keeps a dialog above the others of its program.
            gdk_window_raise(gtk_widget_get_window(GTK_WIDGET(item->data)));
            return;
        }
    }
}
