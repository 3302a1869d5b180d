// How the text of a box is laid out in its text view: its text untouched, steps with their further
// lines under their text, on the side on which they start.

#include "box_text.h"

#include <algorithm>
#include <string>

#include "gtk_support.h"

namespace {

// A text view 200 pixels wide on the screen, as narrow as makes steps go on in a second line.
class BoxTextTest : public testing::Test {
protected:
    void SetUp() override {
        m_window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
        gtk_window_set_default_size(GTK_WINDOW(m_window), 200, 400);
        text_view = GTK_TEXT_VIEW(gtk_text_view_new());
        gtk_text_view_set_wrap_mode(text_view, GTK_WRAP_WORD_CHAR);
        gtk_container_add(GTK_CONTAINER(m_window), GTK_WIDGET(text_view));
    }

    void TearDown() override {
        gtk_widget_destroy(m_window);
        gtk_widget_set_default_direction(GTK_TEXT_DIR_LTR);
    }

    void show(const std::string& text) {
        show_box_text(text_view, text);
        gtk_widget_show_all(m_window);
        run_main_loop_until_idle();
    }

    // Where the character with this offset is drawn.
    GdkRectangle place_of(int offset) const {
        GtkTextIter place;
        gtk_text_buffer_get_iter_at_offset(gtk_text_view_get_buffer(text_view), &place, offset);
        GdkRectangle rectangle;
        gtk_text_view_get_iter_location(text_view, &place, &rectangle);
        return rectangle;
    }

    // The offset of the first character of the second line on the screen of the line of text that
    // holds offset; 0 when it has one line.
    int second_line_of(int offset) const {
        GtkTextIter place;
        gtk_text_buffer_get_iter_at_offset(gtk_text_view_get_buffer(text_view), &place, offset);
        const int line = gtk_text_iter_get_line(&place);
        gtk_text_view_forward_display_line(text_view, &place);
        return gtk_text_iter_get_line(&place) == line ? gtk_text_iter_get_offset(&place) : 0;
    }

    GtkTextView* text_view = nullptr;

private:
    GtkWidget* m_window = nullptr;
};

TEST_F(BoxTextTest, TheTitleAloneIsBold) {
    show("Title\n\nBody");
    const auto is_bold = [this](int offset) {
        GtkTextIter place;
        gtk_text_buffer_get_iter_at_offset(gtk_text_view_get_buffer(text_view), &place, offset);
        auto* attributes = gtk_text_view_get_default_attributes(text_view);
        gtk_text_iter_get_attributes(&place, attributes);
        const auto weight = pango_font_description_get_weight(attributes->font);
        gtk_text_attributes_unref(attributes);
        return weight == PANGO_WEIGHT_BOLD;
    };
    EXPECT_TRUE(is_bold(0));
    EXPECT_TRUE(is_bold(4));
    EXPECT_FALSE(is_bold(7));
}

struct StepRow {
    const char* name;
    std::string number; // with its mark and blanks
    bool is_step;
};

void PrintTo(const StepRow& row, std::ostream* out) {
    *out << row.name;
}

const StepRow STEPS[] = {
    {"a step", "1. ", true},
    {"a step of two digits", "12. ", true},
    {"a parenthesis", "3) ", true},
    {"Arabic digits", "\u0661. ", true},
    {"a Chinese mark without a blank", "1\u3001", true},
    {"a no-break space", "4.\u00A0", true},
    {"no number", "To do: ", false},
    {"a measure", "3.5 ", false},
    {"a number without a mark", "30 ", false},
    {"a number with a word", "2nd. ", false},
};

class StepTest : public BoxTextTest, public testing::WithParamInterface<StepRow> {};

INSTANTIATE_TEST_SUITE_P(Table, StepTest, testing::ValuesIn(STEPS));

TEST_P(StepTest, GoesOnUnderItsTextAndOtherParagraphsAtTheMargin) {
    const std::string head = "Title\n\n";
    show(head + GetParam().number + "mmm mmm mmm mmm mmm mmm mmm mmm mmm mmm");
    const int start = static_cast<int>(head.size());
    const int text = start + static_cast<int>(g_utf8_strlen(GetParam().number.c_str(), -1));
    const int second_line = second_line_of(text);
    ASSERT_NE(second_line, 0) << "the text goes on";
    const auto& expected = place_of(GetParam().is_step ? text : start);
    EXPECT_NEAR(place_of(second_line).x, expected.x, 1);
    EXPECT_GT(place_of(second_line).y, place_of(start).y);
}

TEST_F(BoxTextTest, AStepFromRightToLeftGoesOnUnderItsText) {
    // The word is all of strong letters from right to left.
    const std::string head = "\u05D0\n\n";
    std::string step = "1. ";
    for (int word = 0; word < 12; ++word) {
        step += "\u05DE\u05DE\u05DE\u05DE ";
    }
    show(head + step);
    const int text = 3 + 3;
    const int second_line = second_line_of(text);
    ASSERT_NE(second_line, 0);
    const auto right_end = [this](int offset) {
        const auto place = place_of(offset); // its width is negative from right to left
        return std::max(place.x, place.x + place.width);
    };
    EXPECT_NEAR(right_end(second_line), right_end(text), 1);
    EXPECT_LT(right_end(second_line), right_end(3) - 5) << "left of its number";
}

TEST_F(BoxTextTest, TheMarkOfTheDirectionBelongsToTheNumber) {
    show("Title\n\u200F1. mmm mmm mmm mmm mmm mmm mmm mmm mmm mmm mmm");
    GtkTextIter step;
    gtk_text_buffer_get_iter_at_line(gtk_text_view_get_buffer(text_view), &step, 1);
    GSList* tags = gtk_text_iter_get_tags(&step);
    EXPECT_NE(tags, nullptr);
    g_slist_free(tags);
}

TEST_F(BoxTextTest, TheTextStaysExactlyAsItIs) {
    for (const std::string text : {"", "\n\n", "Title\n\n", "Title", "T\n\n1. a\n2. b\n", "1. ",
                                   "1.", "1", "T\n1.\n2. \n\n3. c"}) {
        show(text);
        auto* buffer = gtk_text_view_get_buffer(text_view);
        GtkTextIter start;
        GtkTextIter end;
        gtk_text_buffer_get_bounds(buffer, &start, &end);
        const TextOwner shown(gtk_text_buffer_get_text(buffer, &start, &end, TRUE));
        EXPECT_EQ(shown.get(), text);
    }
}

TEST_F(BoxTextTest, AParagraphHasSpaceBelowThatIsLessThanALine) {
    show("Title\n1. one\n2. two");
    const auto first = place_of(6);
    const auto second = place_of(13);
    const int space = second.y - first.y - first.height;
    EXPECT_GE(space, 3);
    EXPECT_LE(space, first.height / 2);
}

TEST_F(BoxTextTest, AnEmptyLineIsSpaceEnough) {
    show("Title\n\n1. one\n\n\n2. two");
    const int height = place_of(7).height;
    EXPECT_EQ(place_of(6).y, place_of(0).y + place_of(0).height);
    EXPECT_EQ(place_of(7).y, place_of(6).y + height);
    EXPECT_EQ(place_of(16).y, place_of(7).y + 3 * height);
}

TEST_F(BoxTextTest, LinesOfOneParagraphHaveNoneBetweenThem) {
    show("Title\nmmm mmm mmm mmm mmm mmm mmm mmm mmm mmm");
    const int second_line = second_line_of(6);
    ASSERT_NE(second_line, 0);
    EXPECT_EQ(place_of(second_line).y, place_of(6).y + place_of(6).height);
}

TEST_F(BoxTextTest, TheCaretIsBeforeTheTitle) {
    show("Title\n\n1. one");
    auto* buffer = gtk_text_view_get_buffer(text_view);
    GtkTextIter caret;
    gtk_text_buffer_get_iter_at_mark(buffer, &caret, gtk_text_buffer_get_insert(buffer));
    EXPECT_EQ(gtk_text_iter_get_offset(&caret), 0);
}

} // namespace
