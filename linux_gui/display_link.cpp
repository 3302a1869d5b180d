#include "display_link.h"

#include <unistd.h>

#include <cstddef>
#include <iostream>
#include <mutex>
#include <span>
#include <string>
#include <string_view>

#include <gtk/gtk.h>
#ifdef GDK_WINDOWING_X11
#include <gdk/gdkx.h>
#endif

#include "gui_logger.h"

namespace {

// Takes no lock of the program: the tick may hold it. No function of the C library's end runs: GTK
// is in the middle of its own work.
[[noreturn]] void end_program(const std::string& reason) {
    GUI_LOG(NORMAL, "terminating: " << reason);
    std::cerr << "zor-card-printer-error-ui: " + reason + "\n";
    _exit(1);
}

// GTK says why before it ends the process, in English, and offers nothing else to go by.
std::string find_reason_to_end(std::string_view domain, std::string_view message) {
    if (domain == "Gtk" && message.starts_with("cannot open display")) {
        return std::string(message);
    }
    if (domain == "Gdk" &&
        (message.starts_with("Error ") || message.starts_with("Lost connection"))) {
        return "lost the connection to the Wayland compositor: " + std::string(message);
    }
    return "";
}

// The bytes of a field, which are a text unless they have a length.
std::string_view get_text(const GLogField& field) {
    const auto* text = static_cast<const char*>(field.value);
    return field.length < 0 ? std::string_view(text)
                            : std::string_view(text, static_cast<std::size_t>(field.length));
}

GLogWriterOutput write_message(GLogLevelFlags level, const GLogField* fields, gsize field_count,
                               gpointer unused) {
    std::string_view domain;
    std::string_view message;
    for (const auto& field : std::span(fields, field_count)) {
        const std::string_view key(field.key);
        if (key == "GLIB_DOMAIN") {
            domain = get_text(field);
        } else if (key == "MESSAGE") {
            message = get_text(field);
        }
    }
    const auto reason = find_reason_to_end(domain, message);
    if (!reason.empty()) {
        end_program(reason);
    }
    return g_log_writer_default(level, fields, field_count, unused);
}

#ifdef GDK_WINDOWING_X11
int handle_x_server_loss(Display* /*display*/) {
    end_program("lost the connection to the X server");
}
#endif

} // namespace

void prefer_x11() {
    static std::once_flag is_asked_for; // GDK copies the text each time and frees no copy
    std::call_once(is_asked_for, [] { gdk_set_allowed_backends("x11,*"); });
}

void end_clearly_without_display() {
    static std::once_flag has_writer; // GLib takes one in a process
    std::call_once(has_writer, [] { g_log_set_writer_func(write_message, nullptr, nullptr); });
}

void end_clearly_without_x_server() {
#ifdef GDK_WINDOWING_X11
    if (GDK_IS_X11_DISPLAY(gdk_display_get_default())) {
        XSetIOErrorHandler(handle_x_server_loss);
    }
#endif
}
