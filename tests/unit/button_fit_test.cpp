// Long labels on the buttons of the program's own layout: one above the other where the screen is
// too narrow for a row, in several lines where it is too narrow for a label.

#include "button_fit.h"

#include <string>

#include "gtk_support.h"
#include "monitor_area.h"

namespace {

class ButtonFitTest : public LayoutTest {
protected:
    // Labels the buttons, fits them and shows the box.
    void show(const std::string& first_label, const std::string& second_label) {
        gtk_button_set_label(GTK_BUTTON(first), first_label.c_str());
        gtk_button_set_label(GTK_BUTTON(second), second_label.c_str());
        fit_buttons(box, row);
        gtk_widget_show_all(box);
        run_main_loop_until_idle();
    }

    static GtkAllocation place_of(GtkWidget* widget) {
        GtkAllocation area;
        gtk_widget_get_allocation(widget, &area);
        return area;
    }

    static PangoLayout* layout_of(GtkWidget* button) {
        return gtk_label_get_layout(GTK_LABEL(gtk_bin_get_child(GTK_BIN(button))));
    }

    static int line_count(GtkWidget* button) {
        return pango_layout_get_line_count(layout_of(button));
    }

    void expect_all_in_sight() const {
        const auto room = get_room_for_window();
        const int width = gtk_widget_get_allocated_width(box);
        const int height = gtk_widget_get_allocated_height(box);
        EXPECT_LE(width, room.width);
        EXPECT_LE(height, room.height);
        for (auto* button : {first, second}) {
            const auto place = place_of(button);
            EXPECT_GE(place.x, 0);
            EXPECT_LE(place.x + place.width, width);
            EXPECT_LE(place.y + place.height, height);
            PangoRectangle text;
            pango_layout_get_pixel_extents(layout_of(button), nullptr, &text);
            EXPECT_LE(text.width, place.width) << "the label is cut off";
            EXPECT_LT(text.height, place.height) << "the label is cut off";
        }
    }

    // Words that take about this share of the screen's width as a label.
    std::string label_of_share(double share) const {
        const ObjectOwner<PangoLayout> layout(gtk_widget_create_pango_layout(first, "Retry this "));
        int width = 0;
        pango_layout_get_pixel_size(layout.get(), &width, nullptr);
        std::string label = "Retry";
        for (double taken = width; taken < share * get_room_for_window().width; taken += width) {
            label += " this Retry";
        }
        return label;
    }

    GtkWidget* const row = get("buttonbox1");
    GtkWidget* const first = get("button1");
    GtkWidget* const second = get("button2");
};

TEST_F(ButtonFitTest, ShortLabelsStaySideBySideAsTheLayoutHasThem) {
    show("Retry", "Cancel");
    EXPECT_EQ(place_of(first).y, place_of(second).y);
    EXPECT_LT(place_of(first).x + place_of(first).width, place_of(second).x);
    EXPECT_EQ(gtk_widget_get_halign(row), GTK_ALIGN_FILL);
    EXPECT_TRUE(gtk_button_box_get_child_non_homogeneous(GTK_BUTTON_BOX(row), first));
    expect_all_in_sight();
}

TEST_F(ButtonFitTest, LabelsThatFitStaySideBySide) {
    show(label_of_share(0.3), label_of_share(0.3));
    EXPECT_EQ(place_of(first).y, place_of(second).y);
    expect_all_in_sight();
}

TEST_F(ButtonFitTest, LabelsThatAreTooLongTogetherStandOnOneAnother) {
    show(label_of_share(0.5), label_of_share(0.6));
    EXPECT_EQ(place_of(first).x, place_of(second).x);
    EXPECT_EQ(place_of(first).width, place_of(second).width);
    EXPECT_LE(place_of(first).y + place_of(first).height, place_of(second).y);
    expect_all_in_sight();
}

TEST_F(ButtonFitTest, ALabelThatIsTooLongAloneGoesOnInFurtherLines) {
    show(label_of_share(1.5), "Cancel");
    EXPECT_EQ(line_count(first), 2);
    EXPECT_EQ(line_count(second), 1);
    EXPECT_EQ(place_of(first).x, place_of(second).x);
    expect_all_in_sight();
}

TEST_F(ButtonFitTest, AWordThatIsTooLongAloneIsBroken) {
    show(std::string(label_of_share(1.5).size(), 'm'), "Cancel");
    expect_all_in_sight();
}

TEST_F(ButtonFitTest, WhatIsNotThereIsLeftOut) {
    fit_buttons(nullptr, row);
    fit_buttons(box, nullptr);
    fit_buttons(box, first);
}

} // namespace
