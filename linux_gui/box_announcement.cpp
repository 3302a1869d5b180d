#include "box_announcement.h"

namespace {

// Of GTK's own catalogue, because the program's has only what printers say.
const char* get_sign_word(BoxSign sign) {
    return g_dgettext("gtk30", sign == BoxSign::Error ? "Error" : "Warning");
}

AtkObject* find_notification(GtkWidget* sign_image) {
    auto* place = gtk_widget_get_parent(sign_image);
    auto* accessible = place != nullptr ? gtk_widget_get_accessible(place) : nullptr;
    return accessible != nullptr && atk_object_get_role(accessible) == ATK_ROLE_NOTIFICATION
               ? accessible
               : nullptr;
}

} // namespace

void describe_box(GtkWidget* box, GtkWidget* sign_image, BoxSign sign,
                  const std::string& display_text) {
    if (box == nullptr) {
        return;
    }
    atk_object_set_description(gtk_widget_get_accessible(box), display_text.c_str());
    if (sign_image == nullptr) {
        return;
    }
    const std::string title_line = display_text.substr(0, display_text.find('\n'));
    const std::string word = get_sign_word(sign);
    auto* sign_accessible = gtk_widget_get_accessible(sign_image);
    atk_object_set_name(sign_accessible, word.c_str());
    atk_object_set_description(sign_accessible, title_line.c_str());
    if (auto* notification = find_notification(sign_image)) {
        const char* printer = gtk_window_get_title(GTK_WINDOW(box));
        const bool has_printer = printer != nullptr && *printer != '\0';
        const auto name = has_printer ? word + ", " + printer : word;
        atk_object_set_name(notification, name.c_str());
        atk_object_set_description(notification, title_line.c_str());
    }
}

void ring_for_box(GtkWidget* box) {
    gtk_widget_error_bell(box);
}
