// GTK on the sandbox's display, its main loop, and a box built from the program's own layout.
#pragma once

#include <functional>

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include "object_owner.h"
#include "test_support.h"

class GtkEnvironment : public testing::Environment {
public:
    void SetUp() override {
        g_setenv("NO_AT_BRIDGE", "1", TRUE);
        g_setenv("GSETTINGS_BACKEND", "memory", TRUE);
        ASSERT_TRUE(gtk_init_check(nullptr, nullptr)) << "no display; not in the sandbox?";
        // Without animations the main loop comes to rest.
        g_object_set(gtk_settings_get_default(), "gtk-enable-animations", FALSE, nullptr);
    }
};

inline auto* const gtk_environment = testing::AddGlobalTestEnvironment(new GtkEnvironment);

inline void run_main_loop_until_idle() {
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
}

// Runs the main loop until the condition holds; false when the deadline passes first.
inline bool run_main_loop_until(const std::function<bool()>& condition) {
    return wait_until([&condition] {
        run_main_loop_until_idle();
        return condition();
    });
}

// Shows a window, and waits until the window manager shows it.
inline bool show_mapped(GtkWidget* window) {
    bool is_mapped = false;
    const auto handler = g_signal_connect(
        window, "map-event", G_CALLBACK(+[](GtkWidget*, GdkEvent*, gpointer mapped) -> gboolean {
            *static_cast<bool*>(mapped) = true;
            return GDK_EVENT_PROPAGATE;
        }),
        &is_mapped);
    gtk_widget_show_all(window);
    const bool is_shown = run_main_loop_until([&is_mapped] { return is_mapped; });
    g_signal_handler_disconnect(window, handler);
    return is_shown;
}

#ifdef ZOR_LAYOUT
// A box as its layout describes it, before the program sets it up.
class LayoutTest : public testing::Test {
protected:
    void TearDown() override { gtk_widget_destroy(box); }

    GtkWidget* get(const char* name) const {
        return GTK_WIDGET(gtk_builder_get_object(m_builder.get(), name));
    }

private:
    const ObjectOwner<GtkBuilder> m_builder{gtk_builder_new_from_file(ZOR_LAYOUT)};

protected:
    GtkWidget* const box = get("error-message-box");
};
#endif
