// The room for the text of a box built from the program's own layout: the space between paragraphs
// gives way to the text, and the text to the buttons.

#include "text_fit.h"

#include <string>

#include "box_text.h"
#include "gtk_support.h"
#include "monitor_area.h"

namespace {

class TextFitTest : public LayoutTest {
protected:
    // Shows paragraphs of one line each that take this share of the screen's height without space
    // between them; returns the space that they have before they are fitted.
    int show_paragraphs_of_share(double share) {
        const double height = share * get_room_for_window().height;
        std::string text = "Title";
        for (int taken = m_line_height; taken + m_line_height <= height; taken += m_line_height) {
            text += "\nA line.";
        }
        show_box_text(GTK_TEXT_VIEW(text_view), text);
        return space();
    }

    // In pixels, below each paragraph.
    int space() const { return gtk_text_view_get_pixels_below_lines(GTK_TEXT_VIEW(text_view)); }

    void fit_and_show() {
        fit_text_area(box, text_view);
        gtk_widget_show_all(box);
        run_main_loop_until_idle();
    }

    bool scrolls() const {
        auto* scrolled = GTK_SCROLLED_WINDOW(gtk_widget_get_parent(text_view));
        auto* adjustment = gtk_scrolled_window_get_vadjustment(scrolled);
        return gtk_adjustment_get_upper(adjustment) > gtk_adjustment_get_page_size(adjustment);
    }

    GtkWidget* const text_view = get("textview1");

private:
    int measure_line() const {
        const ObjectOwner<PangoLayout> layout(gtk_widget_create_pango_layout(text_view, "A line."));
        int height = 0;
        pango_layout_get_pixel_size(layout.get(), nullptr, &height);
        return height;
    }

    const int m_line_height = measure_line();
};

TEST_F(TextFitTest, AShortTextKeepsItsSpace) {
    const int before = show_paragraphs_of_share(0.3);
    fit_and_show();
    EXPECT_GT(before, 0);
    EXPECT_EQ(space(), before);
    EXPECT_FALSE(scrolls());
}

TEST_F(TextFitTest, SpaceGivesWayToATextThatIsALittleTooHigh) {
    const int before = show_paragraphs_of_share(0.55);
    fit_and_show();
    EXPECT_LT(space(), before);
    EXPECT_FALSE(scrolls());
}

TEST_F(TextFitTest, ATextThatScrollsAnywayKeepsItsSpace) {
    const int before = show_paragraphs_of_share(0.7);
    fit_and_show();
    EXPECT_EQ(space(), before);
    EXPECT_TRUE(scrolls());
}

TEST_F(TextFitTest, ATextGivesWayToHighButtons) {
    const int room = get_room_for_window().height;
    gtk_widget_set_size_request(get("button2"), -1, room * 4 / 10);
    show_paragraphs_of_share(0.55);
    fit_and_show();
    EXPECT_TRUE(scrolls());
    EXPECT_LE(gtk_widget_get_allocated_height(box), room * 85 / 100);
    EXPECT_GT(gtk_widget_get_allocated_height(text_view), room * 3 / 10);
}

} // namespace
