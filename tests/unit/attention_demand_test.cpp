// What a box does when the window manager demands attention for it: a real one, which takes the
// name that the test gives it.

#include "attention_demand.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <X11/Xatom.h>

#include "x11_support.h"

namespace {

// Says what the window manager is called. GTK asks once, and again when this is gone.
class WindowManagerName {
public:
    explicit WindowManagerName(const std::string& name) {
        m_window =
            XCreateSimpleWindow(m_display, DefaultRootWindow(m_display), 0, 0, 1, 1, 0, 0, 0);
        XChangeProperty(m_display, m_window, atom("_NET_WM_NAME"), atom("UTF8_STRING"), 8,
                        PropModeReplace, reinterpret_cast<const unsigned char*>(name.data()),
                        static_cast<int>(name.size()));
        for (const auto window : {m_window, DefaultRootWindow(m_display)}) {
            XChangeProperty(m_display, window, atom("_NET_SUPPORTING_WM_CHECK"), XA_WINDOW, 32,
                            PropModeReplace, reinterpret_cast<const unsigned char*>(&m_window), 1);
        }
        XSync(m_display, 0);
    }
    ~WindowManagerName() {
        XDestroyWindow(m_display, m_window);
        XCloseDisplay(m_display);
    }
    WindowManagerName(const WindowManagerName&) = delete;
    WindowManagerName& operator=(const WindowManagerName&) = delete;

private:
    Atom atom(const char* name) const { return XInternAtom(m_display, name, 0); }

    Display* const m_display = XOpenDisplay(nullptr);
    Window m_window = 0;
};

class AttentionDemandTest : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        m_box = gtk_window_new(GTK_WINDOW_TOPLEVEL);
        gtk_window_set_focus_on_map(GTK_WINDOW(m_box), FALSE); // who has the focus demands nothing
        take_back_demand_for_attention(m_box);
        g_signal_connect(m_box, "property-notify-event", G_CALLBACK(handle_property), this);
        ASSERT_TRUE(show_mapped(m_box));
    }

    void TearDown() override { gtk_widget_destroy(m_box); }

    // Has the window manager change a state of the box.
    void demand(const char* state) const {
        send_message(m_box, SentTo::WINDOW_MANAGER, "_NET_WM_STATE",
                     {1, gdk_x11_get_xatom_by_name(state)});
    }

    // Whether the box has been told of a state since the last clear, and whether it is there now.
    bool was_told(const char* state) const {
        return std::ranges::any_of(m_states, [&](const auto& all) { return has(all, state); });
    }
    bool is_told(const char* state) const { return has(m_states.back(), state); }

    using States = std::vector<GdkAtom>;
    std::vector<States> m_states; // the last one of all is the present one

private:
    static bool has(const States& all, const char* state) {
        return std::ranges::count(all, gdk_atom_intern(state, FALSE)) != 0;
    }

    static gboolean handle_property(GtkWidget* /*box*/, GdkEventProperty* event, gpointer raw) {
        if (event->atom == gdk_atom_intern_static_string("_NET_WM_STATE")) {
            int size = 0;
            guchar* data = nullptr;
            gdk_property_get(event->window, event->atom, GDK_NONE, 0, 1000, FALSE, nullptr, nullptr,
                             &size, &data);
            const auto* atoms = reinterpret_cast<const GdkAtom*>(data);
            const auto count = static_cast<std::size_t>(size) / sizeof(GdkAtom);
            static_cast<AttentionDemandTest*>(raw)->m_states.emplace_back(atoms, atoms + count);
            g_free(data);
        }
        return GDK_EVENT_PROPAGATE;
    }

    const WindowManagerName m_name{GetParam()};
    GtkWidget* m_box = nullptr;
};

constexpr const char* DEMAND = "_NET_WM_STATE_DEMANDS_ATTENTION";

// Told after everything that was asked for before.
constexpr const char* LAST = "_NET_WM_STATE_SKIP_PAGER";

using AttentionDemandAtGnomeTest = AttentionDemandTest;

TEST_P(AttentionDemandAtGnomeTest, IsTakenBackEachTime) {
    for (int i = 0; i < 2; ++i) {
        m_states.clear();
        demand(DEMAND);
        EXPECT_TRUE(run_main_loop_until([this] { return was_told(DEMAND); }));
        EXPECT_TRUE(run_main_loop_until([this] { return !is_told(DEMAND); }));
    }
}

INSTANTIATE_TEST_SUITE_P(, AttentionDemandAtGnomeTest, testing::Values("GNOME Shell"));

using AttentionDemandElsewhereTest = AttentionDemandTest;

TEST_P(AttentionDemandElsewhereTest, StaysInTheTaskBar) {
    demand(DEMAND);
    EXPECT_TRUE(run_main_loop_until([this] { return was_told(DEMAND); }));
    demand(LAST);
    EXPECT_TRUE(run_main_loop_until([this] { return was_told(LAST); }));
    EXPECT_TRUE(is_told(DEMAND));
}

INSTANTIATE_TEST_SUITE_P(, AttentionDemandElsewhereTest, testing::Values("Metacity", "KWin", ""));

} // namespace
