// Yardstick: a GTK application with one hidden window that does nothing. Says on standard output
// when it is up: the monotonic clock in microseconds.

#include <cstdio>

#include <gtk/gtk.h>

namespace {

void activate(GtkApplication* app, gpointer /*unused*/) {
    gtk_application_window_new(app);
    std::printf("%lld active\n", static_cast<long long>(g_get_monotonic_time()));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    auto* app = gtk_application_new("org.example.EmptyYardstick", G_APPLICATION_FLAGS_NONE);
    g_signal_connect(app, "activate", G_CALLBACK(activate), nullptr);
    return g_application_run(G_APPLICATION(app), argc, argv);
}
