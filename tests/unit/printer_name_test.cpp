// When a box names its printer itself. The window manager is a real one; it puts a title bar around
// a window that lets it.

#include "printer_name.h"

#include <string>

#include "gtk_support.h"

namespace {

class PrinterNameTest : public testing::Test {
protected:
    void SetUp() override {
        m_box = gtk_window_new(GTK_WINDOW_TOPLEVEL);
        m_column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
        gtk_container_add(GTK_CONTAINER(m_column), gtk_button_new());
        gtk_container_add(GTK_CONTAINER(m_box), m_column);
    }

    void TearDown() override { gtk_widget_destroy(m_box); }

    // Shows the box and waits until the window manager has long had its chance.
    void show(const std::string& name) {
        show_printer_name_without_title_bar(m_box, name);
        gtk_widget_show_all(m_box);
        const auto end = g_get_monotonic_time() + 600 * 1000;
        EXPECT_TRUE(run_main_loop_until([end] { return g_get_monotonic_time() > end; }));
    }

    // The text of the first part of the box, when it is a line of text in sight.
    std::string first_line() const {
        auto* children = gtk_container_get_children(GTK_CONTAINER(m_column));
        auto* first = GTK_WIDGET(children->data);
        g_list_free(children);
        return GTK_IS_LABEL(first) && gtk_widget_get_mapped(first) != 0
                   ? gtk_label_get_text(GTK_LABEL(first))
                   : "";
    }

    GtkWidget* m_box = nullptr;
    GtkWidget* m_column = nullptr;
};

TEST_F(PrinterNameTest, IsLeftToTheTitleBarOfTheWindowManager) {
    show("Front desk");
    EXPECT_EQ(first_line(), "");
}

TEST_F(PrinterNameTest, IsLeftToATitleBarThatGtkDraws) {
    gtk_window_set_titlebar(GTK_WINDOW(m_box), gtk_header_bar_new());
    show("Front desk");
    EXPECT_EQ(first_line(), "");
}

TEST_F(PrinterNameTest, IsInTheBoxWhereThereIsNoTitleBar) {
    gtk_window_set_decorated(GTK_WINDOW(m_box), FALSE);
    show("Front <b>desk</b> & more");
    EXPECT_EQ(first_line(), "Front <b>desk</b> & more");
}

TEST_F(PrinterNameTest, MakesTheBoxNoWider) {
    gtk_window_set_decorated(GTK_WINDOW(m_box), FALSE);
    gtk_window_set_default_size(GTK_WINDOW(m_box), 300, 100);
    show(std::string(5000, 'x'));
    int width = 0;
    gtk_window_get_size(GTK_WINDOW(m_box), &width, nullptr);
    EXPECT_EQ(width, 300);
}

TEST_F(PrinterNameTest, TakesNoLineWhenItIsEmpty) {
    gtk_window_set_decorated(GTK_WINDOW(m_box), FALSE);
    show("");
    auto* children = gtk_container_get_children(GTK_CONTAINER(m_column));
    EXPECT_EQ(g_list_length(children), 1U); // the button
    g_list_free(children);
}

TEST_F(PrinterNameTest, IsNotLookedForInABoxThatIsGone) {
    auto* other = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_container_add(GTK_CONTAINER(other), gtk_box_new(GTK_ORIENTATION_VERTICAL, 0));
    show_printer_name_without_title_bar(other, "Back office");
    EXPECT_TRUE(show_mapped(other));
    gtk_widget_destroy(other);
    show("Front desk"); // its time comes meanwhile
}

} // namespace
