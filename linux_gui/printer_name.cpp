#include "printer_name.h"

#ifdef GDK_WINDOWING_X11
#include <gdk/gdkx.h>
#endif

namespace {

constexpr const char* PRINTER_NAME_KEY = "my_printer_name";

void show_printer_name(GtkWidget* box) {
    auto* column = gtk_bin_get_child(GTK_BIN(box));
    auto* label =
        gtk_label_new(static_cast<const char*>(g_object_get_data(G_OBJECT(box), PRINTER_NAME_KEY)));
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END); // as a title bar does it
    gtk_box_pack_start(GTK_BOX(column), label, FALSE, FALSE, 0);
    gtk_box_reorder_child(GTK_BOX(column), label, 0);
    gtk_widget_show(label);
}

bool has_title_bar_of_gtk(GtkWidget* box) {
    auto* style = gtk_widget_get_style_context(box);
    return gtk_style_context_has_class(style, "csd") != 0 ||
           gtk_style_context_has_class(style, "solid-csd") != 0;
}

#ifdef GDK_WINDOWING_X11

constexpr int LEAST_TITLE_BAR_HEIGHT = 10; // in pixels; what is lower is a border

// Some window managers put the title bar around a window that is on the screen already.
constexpr guint MILLISECONDS_FOR_TITLE_BAR = 250;

bool has_title_bar_of_window_manager(GtkWidget* box) {
    auto* window = gtk_widget_get_window(box);
    GdkRectangle frame;
    int x = 0;
    int y = 0;
    gdk_window_get_frame_extents(window, &frame);
    gdk_window_get_origin(window, &x, &y);
    return y - frame.y >= LEAST_TITLE_BAR_HEIGHT;
}

gboolean look_for_title_bar(gpointer raw) {
    auto* box = GTK_WIDGET(raw);
    if (gtk_widget_get_mapped(box) != 0 && !has_title_bar_of_window_manager(box)) {
        show_printer_name(box);
    }
    return G_SOURCE_REMOVE;
}

gboolean handle_map(GtkWidget* box, GdkEvent* /*event*/, gpointer /*unused*/) {
    g_signal_handlers_disconnect_by_func(box, reinterpret_cast<gpointer>(handle_map), nullptr);
    g_timeout_add_full(G_PRIORITY_DEFAULT, MILLISECONDS_FOR_TITLE_BAR, look_for_title_bar,
                       g_object_ref(box), g_object_unref);
    return GDK_EVENT_PROPAGATE;
}

bool waits_for_window_manager(GtkWidget* box) {
    if (!GDK_IS_X11_WINDOW(gtk_widget_get_window(box))) {
        return false;
    }
    g_signal_connect(box, "map-event", G_CALLBACK(handle_map), nullptr);
    return true;
}

#else

bool waits_for_window_manager(GtkWidget* /*box*/) {
    return false;
}

#endif

// By now GTK has decided who draws the title bar.
void handle_realize(GtkWidget* box, gpointer /*unused*/) {
    g_signal_handlers_disconnect_by_func(box, reinterpret_cast<gpointer>(handle_realize), nullptr);
    if (!has_title_bar_of_gtk(box) && !waits_for_window_manager(box)) {
        show_printer_name(box);
    }
}

} // namespace

void show_printer_name_without_title_bar(GtkWidget* box, const std::string& name) {
    auto* column = gtk_bin_get_child(GTK_BIN(box));
    if (name.empty() || !GTK_IS_BOX(column) ||
        gtk_orientable_get_orientation(GTK_ORIENTABLE(column)) != GTK_ORIENTATION_VERTICAL) {
        return;
    }
    g_object_set_data_full(G_OBJECT(box), PRINTER_NAME_KEY, g_strdup(name.c_str()), g_free);
    g_signal_connect(box, "realize", G_CALLBACK(handle_realize), nullptr);
}
