// Yardstick: a GTK application with one hidden window, a thread that asks the printer service every
// 100 ms, and a thread that schedules an empty idle callback every 100 ms: what the program's
// threads and clocks cost by themselves.

#include <thread>

#include <gtk/gtk.h>

#include "plain_exchange.h"

namespace {

gboolean do_nothing(gpointer /*unused*/) {
    return G_SOURCE_REMOVE;
}

void activate(GtkApplication* app, gpointer /*unused*/) {
    gtk_application_window_new(app);
    std::thread([] {
        for (std::string reply;;) {
            reply = exchange_status(reply);
            g_usleep(100000);
        }
    }).detach();
    std::thread([] {
        for (;;) {
            g_idle_add(do_nothing, nullptr);
            g_usleep(100000);
        }
    }).detach();
}

} // namespace

int main(int argc, char** argv) {
    auto* app = gtk_application_new("org.example.ThreadedYardstick", G_APPLICATION_FLAGS_NONE);
    g_signal_connect(app, "activate", G_CALLBACK(activate), nullptr);
    return g_application_run(G_APPLICATION(app), argc, argv);
}
