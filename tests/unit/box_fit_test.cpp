// Every mapped text in its box, on the screen that ZOR_SCREEN gives, at text scales 1 and 2 and in
// three themes: readable as a whole, or scrolling with a scroll bar that is there. And every one in
// the language of ZOR_LANGUAGE, whose compiled translation lies below ZOR_LOCALE_DIRECTORY.

#include <span>
#include <sstream>

#include "shell_support.h"
#include "translation_support.h"

namespace {

struct Look {
    int scale;
    const char* theme;
};

// Places and sizes of a box's parts on the screen, in pixels.
struct BoxPlaces {
    GdkRectangle frame{}; // with the window manager's decoration
    GdkRectangle client{};
    GtkAllocation text_view{};
    GtkAllocation scrolled_window{};
    double content_height = 0;
    double visible_height = 0;
    bool has_scroll_bar = false;
    GdkRectangle last_line{}; // the line of text at the lower end of what is visible
    double visible_end = 0;   // where that end is, measured as the line is
    double next_middle = 0;   // of the next line of text, measured the same way; or the end
};

BoxPlaces find_places(GtkWidget* box) {
    BoxPlaces places;
    auto* window = gtk_widget_get_window(box);
    gdk_window_get_frame_extents(window, &places.frame);
    gdk_window_get_origin(window, &places.client.x, &places.client.y);
    places.client.width = gdk_window_get_width(window);
    places.client.height = gdk_window_get_height(window);
    auto* text_view = find_in_box(box, "textview1");
    auto* scrolled = GTK_SCROLLED_WINDOW(gtk_widget_get_parent(text_view));
    gtk_widget_get_allocation(text_view, &places.text_view);
    gtk_widget_get_allocation(GTK_WIDGET(scrolled), &places.scrolled_window);
    auto* adjustment = gtk_scrolled_window_get_vadjustment(scrolled);
    places.content_height = gtk_adjustment_get_upper(adjustment);
    places.visible_height = gtk_adjustment_get_page_size(adjustment);
    places.has_scroll_bar =
        gtk_widget_get_mapped(gtk_scrolled_window_get_vscrollbar(scrolled)) != FALSE;
    places.visible_end = gtk_adjustment_get_value(adjustment) + places.visible_height -
                         gtk_text_view_get_top_margin(GTK_TEXT_VIEW(text_view));
    GtkTextIter last;
    gtk_text_view_get_iter_at_location(GTK_TEXT_VIEW(text_view), &last, 0,
                                       static_cast<int>(places.visible_end));
    gtk_text_view_get_iter_location(GTK_TEXT_VIEW(text_view), &last, &places.last_line);
    bool has_next = false;
    do {
        has_next = gtk_text_view_forward_display_line(GTK_TEXT_VIEW(text_view), &last) != FALSE;
    } while (has_next && gtk_text_iter_get_char(&last) == '\n');
    GdkRectangle next_line;
    gtk_text_view_get_iter_location(GTK_TEXT_VIEW(text_view), &last, &next_line);
    places.next_middle = has_next ? next_line.y + next_line.height / 2.0 : places.content_height;
    return places;
}

bool lies_within(const GdkRectangle& inner, int width, int height) {
    return inner.x >= 0 && inner.y >= 0 && inner.x + inner.width <= width &&
           inner.y + inner.height <= height;
}

void expect_buttons_in_sight(GtkWidget* box, const BoxPlaces& places) {
    EXPECT_FALSE(list_buttons(box).empty());
    for (auto* button : list_buttons(box)) {
        GtkAllocation area;
        gtk_widget_get_allocation(GTK_WIDGET(button), &area);
        EXPECT_TRUE(lies_within(area, places.client.width, places.client.height));
        EXPECT_GE(area.y, places.scrolled_window.y + places.scrolled_window.height);
    }
}

// A text as long as its translation can be: every line of it 40 % longer.
std::string lengthened(const std::string& text) {
    const std::string filler = " und noch manches Wort dazu";
    std::istringstream lines(text);
    std::string longer;
    for (std::string line; std::getline(lines, line);) {
        const auto length = line.size() * 14 / 10;
        while (line.size() < length) {
            line.append(filler, 0, length - line.size());
        }
        // No text ends with a blank, which takes no room at the end of a line for some releases of
        // Pango, but does for others.
        line.erase(line.find_last_not_of(' ') + 1);
        longer += (longer.empty() ? "" : "\n") + line;
    }
    return longer;
}

// The texts of all boxes, each with a translation that is 40 % longer.
Translation::Texts longer_translations() {
    Translation::Texts texts;
    for (const auto& entry : build_printer_error_code_mapping()) {
        for (const int id : {entry.title_text_message_id, entry.body_text_message_id}) {
            const auto text = get_message_text(id);
            texts[text] = lengthened(text);
        }
    }
    return texts;
}

// The characters of a text that no installed font has.
int count_missing_characters(GtkWidget* widget, const std::string& text) {
    auto* layout = gtk_widget_create_pango_layout(widget, text.c_str());
    const int count = pango_layout_get_unknown_glyphs_count(layout);
    g_object_unref(layout);
    return count;
}

void expect_no_missing_characters(GtkWidget* box) {
    EXPECT_FALSE(shown_text(box).empty());
    EXPECT_EQ(count_missing_characters(box, shown_text(box)), 0);
    for (auto* button : list_buttons(box)) {
        EXPECT_EQ(count_missing_characters(box, gtk_button_get_label(button)), 0);
    }
}

class BoxFit : public ShellTest {
protected:
    void SetUp() override {
        ShellTest::SetUp();
        data.make_icons_small();
    }

    static void set_look(const Look& look) {
        g_object_set(gtk_settings_get_default(), "gtk-xft-dpi", 96 * 1024 * look.scale,
                     "gtk-theme-name", look.theme, nullptr);
        run_main_loop_until_idle();
    }

    // A box for each error, all at once: most of their time they wait for the window manager.
    struct Boxes {
        explicit Boxes(std::span<const ZORPrinterError> errors) {
            report_and_tick({errors.begin(), errors.end()});
            EXPECT_TRUE(run_main_loop_until([] {
                const auto boxes = list_boxes();
                return std::all_of(boxes.begin(), boxes.end(), is_at_rest);
            }));
        }
        ~Boxes() {
            for (auto* box : list_boxes()) {
                gtk_widget_destroy(box);
            }
            run_main_loop_until_idle();
        }
        Boxes(const Boxes&) = delete;
        Boxes& operator=(const Boxes&) = delete;
    };

    // An error for each code, with each of the severities in turn.
    static std::vector<ZORPrinterError>
    make_errors(const std::vector<int>& codes, const std::vector<std::string>& severities = {"3"}) {
        std::vector<ZORPrinterError> errors;
        for (const int code : codes) {
            const auto& severity = severities[errors.size() % severities.size()];
            errors.push_back(make_error("printer", std::to_string(code), severity));
            errors.back().error_code = std::to_string(code);
        }
        return errors;
    }

    static std::vector<int> mapped_codes() {
        std::vector<int> codes;
        for (const auto& entry : build_printer_error_code_mapping()) {
            codes.push_back(entry.printer_error_code);
        }
        return codes;
    }

    // Looks at the box of each error, of which a few stand on the screen at a time.
    static void look_at_each(std::span<const ZORPrinterError> errors,
                             const std::function<void(GtkWidget*)>& look) {
        constexpr std::size_t AT_A_TIME = 25;
        std::size_t seen = 0;
        while (!errors.empty()) {
            const auto part = errors.first(std::min(AT_A_TIME, errors.size()));
            errors = errors.subspan(part.size());
            const Boxes boxes(part);
            for (const auto& error : part) {
                SCOPED_TRACE("code " + error.error_code);
                look(presented_box(create_error_key(error)));
                ++seen;
            }
        }
        EXPECT_GT(seen, 0U);
    }

    static void expect_fit(GtkWidget* box) {
        EXPECT_TRUE(is_at_rest(box))
            << "the box is not decorated, or its scroll bar is not what its text needs: "
            << describe(find_places(box));
        expect_readable(box);
        expect_no_missing_characters(box);
    }

    // Up to 60 % of the screen, but to the middle of a line: another one would not have fitted.
    static bool takes_all_the_room_it_may(const BoxPlaces& places) {
        const int limit = gdk_screen_height() * 60 / 100;
        const double cut = (places.visible_end - places.last_line.y) / places.last_line.height;
        const double height_with_another_line =
            places.scrolled_window.height + places.next_middle - places.visible_end;
        return places.scrolled_window.height <= limit && height_with_another_line > limit - 1 &&
               cut > 0.3 && cut < 0.7;
    }

private:
    static std::string describe(const BoxPlaces& places) {
        std::ostringstream text;
        text << places.scrolled_window.height << " high for " << places.content_height
             << ", shows up to " << places.visible_end << " of a line from " << places.last_line.y
             << " to " << places.last_line.y + places.last_line.height << ", middle of the next "
             << places.next_middle << ", scroll bar " << places.has_scroll_bar;
        return text.str();
    }

    // Decorated by the window manager, and with a scroll bar only if the text cannot have more
    // room.
    static bool is_at_rest(GtkWidget* box) {
        const auto places = find_places(box);
        return places.frame.height > places.client.height &&
               places.has_scroll_bar == (places.content_height > places.visible_height) &&
               (!places.has_scroll_bar || takes_all_the_room_it_may(places));
    }

    static void expect_readable(GtkWidget* box) {
        const int screen_width = gdk_screen_width();
        const int screen_height = gdk_screen_height();
        const auto places = find_places(box);
        EXPECT_TRUE(lies_within(places.frame, screen_width, screen_height));
        EXPECT_GE(places.client.width, screen_width / 3);
        EXPECT_GE(places.client.height, screen_height / 6);
        expect_buttons_in_sight(box, places);
        // Centred as it ends up, but for the decoration.
        EXPECT_NEAR(places.frame.x + places.frame.width / 2, screen_width / 2, 12);
        EXPECT_NEAR(places.frame.y + places.frame.height / 2, screen_height / 2, 24);
        EXPECT_LE(places.text_view.width, places.scrolled_window.width);
        if (places.has_scroll_bar) {
            EXPECT_TRUE(takes_all_the_room_it_may(places));
            EXPECT_GT(places.content_height, places.visible_height);
        } else {
            EXPECT_LE(places.content_height, places.visible_height);
            EXPECT_LE(places.scrolled_window.height,
                      std::max(screen_height * 61 / 100, places.client.height));
        }
    }
};

TEST_F(BoxFit, EveryMappedTextIsReadable) {
    for (const int scale : {1, 2}) {
        SCOPED_TRACE(scale);
        set_look({scale, "Adwaita"});
        look_at_each(make_errors(mapped_codes()), expect_fit);
    }
}

TEST_F(BoxFit, OtherThemesHaveRoomToo) {
    for (const auto& look : {Look{1, "Adwaita-dark"}, Look{2, "Adwaita-dark"},
                             Look{1, "HighContrast"}, Look{2, "HighContrast"}}) {
        SCOPED_TRACE(look.theme + std::to_string(look.scale));
        set_look(look);
        // A short text, one of middle length, and the longest ones.
        look_at_each(make_errors({101, 115, 110, 128, 136, 211, 252, 317, 318, 512}), expect_fit);
    }
}

TEST_F(BoxFit, ATranslationLongerByTwoFifthsFitsWithoutScrolling) {
    if (gdk_screen_width() != 1024) {
        GTEST_SKIP()
            << "on a smaller screen the English texts scroll already, a larger one has room";
    }
    set_look({1, "Adwaita"});
    ASSERT_EQ(get_message_text(IDS_RETRY), "Retry");
    const Translation language(longer_translations());
    ASSERT_GT(get_message_text(1101).size(), 90U);
    look_at_each(make_errors(mapped_codes()),
                 [](GtkWidget* box) { EXPECT_FALSE(find_places(box).has_scroll_bar); });
}

class LanguageFit : public BoxFit {};

TEST_F(LanguageFit, EveryMappedTextIsReadable) {
    const char* name = std::getenv("ZOR_LANGUAGE");
    ASSERT_NE(name, nullptr) << "which language?";
    set_look({1, "Adwaita"});
    const auto english = get_message_text(1110);
    const Translation language(ZOR_LOCALE_DIRECTORY, name);
    gtk_widget_set_default_direction(std::string(name) == "ar" ? GTK_TEXT_DIR_RTL
                                                               : GTK_TEXT_DIR_LTR);
    ASSERT_NE(get_message_text(1110), english) << "there is no translation into " << name;
    // Retry and Cancel, OK and Cancel, OK alone.
    look_at_each(make_errors(mapped_codes(), {"3", "4", "1"}), expect_fit);
}

TEST_F(BoxFit, ATextFarTooLongScrollsInSight) {
    set_look({1, "Adwaita"});
    const int screen_height = gdk_screen_height();
    report_and_tick({make_error("printer", "job")});
    auto* box = presented_box("printer:::job");
    auto* text_view = find_in_box(box, "textview1");
    std::string long_text;
    for (int line = 0; line < 500; ++line) {
        long_text += "A line of a text that is far too long for any screen.\n";
    }
    show_box_text(GTK_TEXT_VIEW(text_view), long_text);
    fit_text_area(box, text_view);
    ASSERT_TRUE(run_main_loop_until([box] { return takes_all_the_room_it_may(find_places(box)); }))
        << find_places(box).scrolled_window.height << " of " << screen_height;
    const auto places = find_places(box);
    EXPECT_TRUE(places.has_scroll_bar);
    EXPECT_LE(places.frame.height, screen_height);
    expect_buttons_in_sight(box, places);
}

} // namespace
