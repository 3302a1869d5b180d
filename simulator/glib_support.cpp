#include "glib_support.h"

#include <stdexcept>

#include <glib-unix.h>

namespace printer_simulator {

namespace {

using Handler = std::function<bool()>;

gboolean call_handler(gpointer handler) {
    return (*static_cast<Handler*>(handler))() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

gboolean call_socket_handler(GSocket*, GIOCondition, gpointer handler) {
    return call_handler(handler);
}

gboolean call_descriptor_handler(gint, GIOCondition, gpointer handler) {
    return call_handler(handler);
}

void delete_handler(gpointer handler) {
    delete static_cast<Handler*>(handler);
}

GSource* attached(GSource* source, GMainContext* context, GSourceFunc function, Handler handler) {
    auto owned = std::make_unique<Handler>(std::move(handler));
    g_source_set_callback(source, function, owned.release(), delete_handler);
    g_source_attach(source, context);
    return source;
}

} // namespace

MainSource& MainSource::operator=(MainSource&& other) noexcept {
    if (this != &other) {
        reset();
        m_source = std::exchange(other.m_source, nullptr);
    }
    return *this;
}

MainSource MainSource::timer(GMainContext* context, std::chrono::milliseconds interval,
                             Handler handler) {
    GSource* source = g_timeout_source_new(static_cast<guint>(interval.count()));
    return MainSource(attached(source, context, call_handler, std::move(handler)));
}

MainSource MainSource::socket_watch(GMainContext* context, GSocket* socket, GIOCondition condition,
                                    Handler handler) {
    GSource* source = g_socket_create_source(socket, condition, nullptr);
    return MainSource(
        attached(source, context, G_SOURCE_FUNC(call_socket_handler), std::move(handler)));
}

MainSource MainSource::readable(GMainContext* context, int descriptor, Handler handler) {
    const auto condition = static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR);
    GSource* source = g_unix_fd_source_new(descriptor, condition);
    return MainSource(
        attached(source, context, G_SOURCE_FUNC(call_descriptor_handler), std::move(handler)));
}

MainSource MainSource::unix_signal(GMainContext* context, int signal_number, Handler handler) {
    GSource* source = g_unix_signal_source_new(signal_number);
    return MainSource(attached(source, context, call_handler, std::move(handler)));
}

void MainSource::reset() noexcept {
    if (GSource* source = std::exchange(m_source, nullptr)) {
        g_source_destroy(source);
        g_source_unref(source);
    }
}

std::string file_content(const std::string& path) {
    char* raw_content = nullptr;
    gsize size = 0;
    GError* raw_error = nullptr;
    const bool good = g_file_get_contents(path.c_str(), &raw_content, &size, &raw_error);
    const GTextPtr content(raw_content);
    const GErrorPtr error(raw_error);
    if (!good) {
        throw std::runtime_error(error->message);
    }
    return {content.get(), size};
}

} // namespace printer_simulator
