// The message box of one error: its description, texts, icon, size and buttons, and what a click
// does.

#include <optional>

#include "shell_support.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

struct ScreenSize {
    int width = 0;
    int height = 0;
};

std::optional<ScreenSize> pretended_screen;
std::optional<ScreenSize> requested_box_size;
int rung_bells = 0;

} // namespace

extern "C" {
int __real_gdk_screen_width();
int __wrap_gdk_screen_width();
int __real_gdk_screen_height();
int __wrap_gdk_screen_height();
void __real_gtk_window_resize(GtkWindow* window, int width, int height);
void __wrap_gtk_window_resize(GtkWindow* window, int width, int height);
void __real_gtk_widget_error_bell(GtkWidget* widget);
void __wrap_gtk_widget_error_bell(GtkWidget* widget);

int __wrap_gdk_screen_width() {
    return pretended_screen ? pretended_screen->width : __real_gdk_screen_width();
}

int __wrap_gdk_screen_height() {
    return pretended_screen ? pretended_screen->height : __real_gdk_screen_height();
}

void __wrap_gtk_window_resize(GtkWindow* window, int width, int height) {
    requested_box_size = {width, height};
    __real_gtk_window_resize(window, width, height);
}

void __wrap_gtk_widget_error_bell(GtkWidget* widget) {
    ++rung_bells;
    __real_gtk_widget_error_bell(widget);
}
}

namespace {

class ErrorBoxTest : public ShellTest {
protected:
    void SetUp() override {
        ShellTest::SetUp();
        pretended_screen.reset();
        requested_box_size.reset();
        rung_bells = 0;
    }

    // Presents the error and gives its box.
    static GtkWidget* present(const ZORPrinterError& error) {
        report_and_tick({error});
        return presented_box(create_error_key(error));
    }

    static GtkWidget* present_severity(const std::string& severity) {
        return present(make_error("P", "1", severity));
    }
};

// ---- Data directory -----------------------------------------------------------------------------

TEST(DataDirectory, IsBesideTheProgramFile) {
    EXPECT_EQ(locate_gui_data_dir("/opt/x/bin/errorui"), "/opt/x/bin/Data");
    EXPECT_EQ(locate_gui_data_dir("errorui"), "errorui/Data");
    EXPECT_EQ(locate_gui_data_dir("/errorui"), "/Data");
    EXPECT_EQ(locate_gui_data_dir("./errorui"), "./Data");
    EXPECT_EQ(locate_gui_data_dir("bin/"), "bin/Data");
    EXPECT_EQ(locate_gui_data_dir(""), "/Data");
}

TEST_F(ErrorBoxTest, IsReadAgainForEachBox) {
    present(make_error("P", "1"));
    data.hide_builder_file();
    report_and_tick({make_error("P", "2")});
    EXPECT_THAT(presented_keys(), ElementsAre("P:::1"));
}

// ---- Severities ---------------------------------------------------------------------------------

struct SeverityRow {
    const char* severity;
    std::vector<std::string> labels;
    std::vector<int> action_codes;
    const char* icon;
};

void PrintTo(const SeverityRow& row, std::ostream* out) {
    *out << "severity " << row.severity;
}

const SeverityRow SEVERITIES[] = {
    {"1", {"OK"}, {100}, "stop.png"},
    {"2", {"OK"}, {100}, "stop.png"},
    {"3", {"Retry", "Cancel"}, {102, 100}, "stop.png"},
    {"4", {"OK", "Cancel"}, {101, 100}, "caution.png"},
    {"5", {"OK", "Cancel"}, {101, 100}, "caution.png"},
    {"0", {"Cancel"}, {100}, "stop.png"},
    {"-1", {"Cancel"}, {100}, "stop.png"},
    {"6", {"Cancel"}, {100}, "caution.png"},
    {"99", {"Cancel"}, {100}, "caution.png"},
    {" 3rd", {"Retry", "Cancel"}, {102, 100}, "stop.png"},
};

class SeverityTest : public ErrorBoxTest, public testing::WithParamInterface<SeverityRow> {};

INSTANTIATE_TEST_SUITE_P(Table, SeverityTest, testing::ValuesIn(SEVERITIES));

TEST_P(SeverityTest, DecidesLabelsAndActions) {
    std::vector<std::string> labels;
    std::vector<int> action_codes;
    for (auto* button : list_buttons(present_severity(GetParam().severity))) {
        labels.emplace_back(gtk_button_get_label(button));
        const auto* info = find_click_info(button);
        ASSERT_NE(info, nullptr);
        action_codes.push_back(info->action_code);
        EXPECT_EQ(info->error.printer_name, "P");
        EXPECT_EQ(info->error.error_severity, GetParam().severity);
    }
    EXPECT_EQ(labels, GetParam().labels);
    EXPECT_EQ(action_codes, GetParam().action_codes);
}

TEST_P(SeverityTest, DecidesTheIcon) {
    auto* box = present_severity(GetParam().severity);
    EXPECT_THAT(logged_by("present_error_box"),
                Contains("setting icon: " + (data.assets() / GetParam().icon).string()));
    const std::string word = GetParam().icon == std::string("stop.png") ? "Error" : "Warning";
    EXPECT_EQ(atk_object_get_name(gtk_widget_get_accessible(find_in_box(box, "image1"))), word);
}

TEST_P(SeverityTest, EachButtonSendsItsActionOnce) {
    for (std::size_t i = 0; i < GetParam().labels.size(); ++i) {
        start_service();
        auto* box = present_severity(GetParam().severity);
        click(box, GetParam().labels[i]);
        run_main_loop_until_idle();
        EXPECT_EQ(count_started_workers(), 1);
        EXPECT_THAT(
            service->wait_for_requests(1),
            ElementsAre(make_command_text(make_error("P", "1"), GetParam().action_codes[i])));
        EXPECT_THAT(list_boxes(), IsEmpty());
        service.reset();
    }
}

// ---- Texts --------------------------------------------------------------------------------------

TEST_F(ErrorBoxTest, ScrollBarStandsBesideTheText) {
    auto* text = find_in_box(present(make_error("P", "1")), "textview1");
    auto* scrolled = gtk_widget_get_ancestor(text, GTK_TYPE_SCROLLED_WINDOW);
    EXPECT_FALSE(gtk_scrolled_window_get_overlay_scrolling(GTK_SCROLLED_WINDOW(scrolled)));
}

TEST_F(ErrorBoxTest, ShowsTitleAndBodyOfTheCode) {
    const auto entry = looked_up_printer_error_strings(114);
    const auto text = get_message_text(entry.title_text_message_id) + "\n\n" +
                      get_message_text(entry.body_text_message_id);
    auto* box = present(make_error("P", "1"));
    EXPECT_EQ(shown_text(box), text);
    EXPECT_THAT(text, AllOf(HasSubstr("114"), HasSubstr("cover")));
}

TEST_F(ErrorBoxTest, LeadingZerosOfACodeDoNotMatter) {
    auto error = make_error("P", "1");
    error.error_code = "0114";
    const auto text = shown_text(present(error));
    EXPECT_EQ(text, shown_text(present(make_error("P", "2"))));
}

TEST_F(ErrorBoxTest, ACodeWithoutTextsIsItselfATitleId) {
    auto error = make_error("P", "1");
    error.error_code = "36";
    EXPECT_EQ(shown_text(present(error)), "OK\n\n");
    error.printer_job_id = "2";
    error.error_code = "4711";
    EXPECT_EQ(shown_text(present(error)), "UNEXPECTED_TEXT_KEY:4711\n\n");
}

TEST_F(ErrorBoxTest, TheServicesOwnDescriptionIsNotShown) {
    auto error = make_error("P", "1");
    error.error_string = "description of the service";
    EXPECT_THAT(shown_text(present(error)), testing::Not(HasSubstr("description of the service")));
}

TEST_F(ErrorBoxTest, TitleIsThePrinterName) {
    for (const std::string name : {"Front desk", "", "<b>%s</b> & \"two\"\nlines"}) {
        auto* box = present(make_error(name, "1"));
        EXPECT_EQ(std::string(gtk_window_get_title(GTK_WINDOW(box))), name);
    }
    run_main_loop_until_idle();
}

TEST_F(ErrorBoxTest, ANameThatIsNotUtf8IsMadeValidInTheTitleOnly) {
    start_service();
    const std::string name = "P\xFFQ";
    auto* box = present(make_error(name, "1"));
    EXPECT_STREQ(gtk_window_get_title(GTK_WINDOW(box)), "P\xEF\xBF\xBDQ");
    EXPECT_THAT(presented_keys(), ElementsAre(name + ":::1"));
    click(box, "Retry");
    EXPECT_THAT(service->wait_for_requests(1),
                ElementsAre(make_command_text(make_error(name, "1"), 102)));
}

TEST_F(ErrorBoxTest, ANameOfAMillionCharactersIsUsable) {
    start_service();
    const std::string name(1000000, 'x');
    auto* box = present(make_error(name, "1"));
    run_main_loop_until_idle();
    click(box, "Retry");
    EXPECT_THAT(service->wait_for_requests(1),
                ElementsAre(make_command_text(make_error(name, "1"), 102)));
    run_main_loop_until_idle();
    EXPECT_THAT(list_boxes(), IsEmpty());
}

// ---- The window ---------------------------------------------------------------------------------

constexpr unsigned long ALL_WORKSPACES = 0xFFFFFFFF;

// Where the window manager has the box; 0, the first workspace, as long as it has not told.
unsigned long read_workspace(GtkWidget* box) {
    guchar* value = nullptr;
    gdk_property_get(gtk_widget_get_window(box), gdk_atom_intern("_NET_WM_DESKTOP", FALSE),
                     gdk_atom_intern("CARDINAL", FALSE), 0, sizeof(guint32), FALSE, nullptr,
                     nullptr, nullptr, &value);
    const std::unique_ptr<guchar, Releaser<g_free>> owner(value);
    return value != nullptr ? *reinterpret_cast<unsigned long*>(value) & ALL_WORKSPACES : 0;
}

TEST_F(ErrorBoxTest, IsAFreeStandingWindowThatStaysOpenAboveAndOnEachWorkspace) {
    auto* box = present(make_error("P", "1"));
    auto* window = GTK_WINDOW(box);
    EXPECT_TRUE(gtk_widget_get_visible(box));
    EXPECT_FALSE(gtk_window_get_deletable(window));
    EXPECT_FALSE(gtk_window_get_modal(window));
    EXPECT_EQ(gtk_window_get_type_hint(window), GDK_WINDOW_TYPE_HINT_DIALOG);
    EXPECT_FALSE(gtk_window_get_focus_on_map(window));
    EXPECT_EQ(gtk_window_get_transient_for(window), nullptr);
    EXPECT_EQ(gtk_window_get_application(window), nullptr);
    EXPECT_TRUE(run_main_loop_until([box] {
        const auto state = gdk_window_get_state(gtk_widget_get_window(box));
        return (state & GDK_WINDOW_STATE_ABOVE) != 0;
    }));
    EXPECT_TRUE(run_main_loop_until([box] { return read_workspace(box) == ALL_WORKSPACES; }));
}

TEST_F(ErrorBoxTest, RequestsAThirdAndASixthOfTheScreen) {
    const struct {
        ScreenSize screen;
        ScreenSize box;
    } rows[] = {
        {{1920, 1080}, {640, 180}},
        {{1024, 768}, {341, 128}},
        {{800, 600}, {266, 100}},
        {{3840, 2160}, {1280, 360}},
    };
    for (const auto& row : rows) {
        pretended_screen = row.screen;
        present(make_error("P", std::to_string(row.screen.width)));
        ASSERT_TRUE(requested_box_size);
        EXPECT_EQ(requested_box_size->width, row.box.width);
        EXPECT_EQ(requested_box_size->height, row.box.height);
    }
}

TEST_F(ErrorBoxTest, LogsItsBeginAndItsEnd) {
    auto error = make_error("P", "1");
    error.error_string = "text";
    present(error);
    const auto lines = logged_by("present_error_box");
    ASSERT_THAT(lines, SizeIs(5));
    EXPECT_EQ(lines[0], "begin; printer=P job=1 severity=3 code=114 str=text");
    EXPECT_THAT(lines[1], StartsWith("data_dir="));
    EXPECT_THAT(lines[2], StartsWith("setting display_text=Message 114"));
    EXPECT_THAT(lines[3], StartsWith("setting icon: "));
    EXPECT_EQ(lines[4], "end");
}

TEST_F(ErrorBoxTest, RingsOnceWhenItAppears) {
    auto* box = present(make_error("P", "1"));
    EXPECT_EQ(rung_bells, 1);
    report_and_tick({make_error("P", "1")}); // it is there already
    EXPECT_EQ(rung_bells, 1);
    present(make_error("P", "2"));
    EXPECT_EQ(rung_bells, 2);
    click(box, "Retry");
    EXPECT_EQ(rung_bells, 2);
}

// ---- The icon -----------------------------------------------------------------------------------

struct IconRow {
    ScreenSize screen;
    ScreenSize image;
    ScreenSize scaled;
};

void PrintTo(const IconRow& row, std::ostream* out) {
    *out << row.image.width << "x" << row.image.height << " on " << row.screen.width << "x"
         << row.screen.height;
}

const IconRow ICONS[] = {
    {{1920, 1080}, {256, 256}, {54, 54}},   // the height rules on a wide screen
    {{1080, 1920}, {256, 256}, {54, 54}},   // the width on a tall one
    {{1920, 1080}, {400, 100}, {96, 24}},   // the width of a wide image
    {{1000, 1000}, {100, 33}, {50, 16}},    // 16.5 is cut off
    {{1000, 1000}, {33, 100}, {16, 50}},    // the other way round too
    {{1000, 500}, {100, 50}, {50, 25}},     // both sides alike
    {{1000, 1000}, {10, 10}, {50, 50}},     // scaled up
    {{1024, 768}, {512, 512}, {38, 38}},    // 38.4 is cut off
    {{800, 600}, {107, 107}, {29, 29}},     // a hair below 30 in doubles, on every processor
    {{3840, 2160}, {512, 512}, {108, 108}}, // an icon of the program on a large screen
};

class IconTest : public ErrorBoxTest, public testing::WithParamInterface<IconRow> {
protected:
    std::string write_image(const ScreenSize& size) const {
        const auto path = data.assets() / "image.png";
        GtkReleaser releaser;
        auto* image =
            releaser.set(gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, size.width, size.height));
        gdk_pixbuf_fill(image, 0x336699FF);
        gdk_pixbuf_save(image, path.c_str(), "png", nullptr, nullptr);
        return path;
    }
};

INSTANTIATE_TEST_SUITE_P(Table, IconTest, testing::ValuesIn(ICONS));

TEST_P(IconTest, DominantSideTakesFivePercentOfTheScreen) {
    pretended_screen = GetParam().screen;
    GtkReleaser releaser;
    auto* icon = releaser.set(get_icon(write_image(GetParam().image)));
    ASSERT_NE(icon, nullptr);
    EXPECT_EQ(gdk_pixbuf_get_width(icon), GetParam().scaled.width);
    EXPECT_EQ(gdk_pixbuf_get_height(icon), GetParam().scaled.height);
    EXPECT_EQ(G_OBJECT(icon)->ref_count, 1U);
    ASSERT_THAT(logged_by("get_icon"), SizeIs(1));
    EXPECT_THAT(logged_by("get_icon").front(),
                AllOf(StartsWith("scaling input=0x"), HasSubstr(" result=0x"),
                      HasSubstr(" scale_factor=")));
}

TEST_F(ErrorBoxTest, AnIconThatCannotBeReadIsNone) {
    const std::string path = data.assets() / "missing.png";
    EXPECT_EQ(get_icon(path), nullptr);
    EXPECT_THAT(logged_by("get_icon"),
                ElementsAre(StartsWith("failed to load file " + path + ": ")));
}

TEST_F(ErrorBoxTest, IsShownWithoutItsIcon) {
    std::filesystem::remove(data.assets() / "stop.png");
    std::ofstream(data.assets() / "caution.png") << "no image";
    for (const std::string severity : {"3", "4"}) {
        auto* box = present(make_error("P", severity, severity));
        EXPECT_TRUE(gtk_widget_get_visible(box));
        EXPECT_EQ(gtk_image_get_storage_type(GTK_IMAGE(find_in_box(box, "image1"))),
                  GTK_IMAGE_ICON_NAME)
            << "the picture of a missing image";
    }
}

TEST_F(ErrorBoxTest, ShowsTheScaledIcon) {
    pretended_screen = {1920, 1080};
    auto* image = GTK_IMAGE(find_in_box(present(make_error("P", "1")), "image1"));
    ASSERT_EQ(gtk_image_get_storage_type(image), GTK_IMAGE_PIXBUF);
    EXPECT_EQ(gdk_pixbuf_get_height(gtk_image_get_pixbuf(image)), 54);
}

// ---- Buttons ------------------------------------------------------------------------------------

class ButtonTest : public ErrorBoxTest {
protected:
    void SetUp() override {
        ErrorBoxTest::SetUp();
        builder = m_builder_releaser.set(gtk_builder_new());
        ASSERT_NE(gtk_builder_add_from_file(builder, data.builder_file().c_str(), nullptr), 0U);
        button_box = get_widget(builder, "buttonbox1");
        button1 = GTK_BUTTON(gtk_builder_get_object(builder, "button1"));
        button2 = GTK_BUTTON(gtk_builder_get_object(builder, "button2"));
    }

    static bool has_click_handler(GtkButton* button) {
        return g_signal_handler_find(button, G_SIGNAL_MATCH_FUNC, 0, 0, nullptr,
                                     reinterpret_cast<gpointer>(handle_error_dialog_button_click),
                                     nullptr) != 0;
    }

    GtkBuilder* builder = nullptr;
    GtkWidget* button_box = nullptr;
    GtkButton* button1 = nullptr;
    GtkButton* button2 = nullptr;

private:
    GtkReleaser m_builder_releaser;
};

TEST_F(ButtonTest, TheFlagForHidingRemovesTheButton) {
    setup_error_dialog_buttons(builder, button_box, make_error("P", "1"), HIDE_BUTTON_FLAG, 101, 36,
                               102);
    EXPECT_THAT(list_buttons(gtk_widget_get_toplevel(button_box)), ElementsAre(button2));
    EXPECT_EQ(find_click_info(button1), nullptr);
    EXPECT_FALSE(has_click_handler(button1));
    EXPECT_EQ(gtk_widget_get_parent(GTK_WIDGET(button1)), nullptr);
    ASSERT_NE(find_click_info(button2), nullptr);
    EXPECT_EQ(find_click_info(button2)->action_code, 102);
    EXPECT_TRUE(has_click_handler(button2));
    EXPECT_THAT(logged_by("setup_error_dialog_button"),
                Contains("begin; button_name=button1 labelKey=-2147483648 command_code=101"));
}

TEST_F(ButtonTest, ARecordIsFreedWithItsButtonAndWithItsReplacement) {
    setup_error_dialog_button(builder, button_box, "button1", 36, make_error("P", "1"), 101);
    const std::weak_ptr<bool_holder> first = find_click_info(button1)->action_in_progress;
    EXPECT_FALSE(first.lock()->value);
    setup_error_dialog_button(builder, button_box, "button1", 36, make_error("P", "1"), 101);
    EXPECT_TRUE(first.expired());
    const std::weak_ptr<bool_holder> second = find_click_info(button1)->action_in_progress;
    GtkReleaser keep;
    keep.set(G_OBJECT(g_object_ref(button1)));
    gtk_widget_destroy(gtk_widget_get_toplevel(button_box));
    EXPECT_FALSE(second.expired());
    g_object_set_data(G_OBJECT(button1), MY_BUTTON_CLICK_INFO_KEY.c_str(), nullptr);
    EXPECT_TRUE(second.expired());
    EXPECT_THAT(logged_by("delete_button_click_info"), SizeIs(4));
}

TEST_F(ButtonTest, TheFlagIsFreeAfterSettingUp) {
    setup_error_dialog_button(builder, button_box, "button1", 36, make_error("P", "1"), 101);
    auto& mux = find_click_info(button1)->action_in_progress->mux;
    ASSERT_TRUE(mux.try_lock());
    mux.unlock();
    EXPECT_THAT(logged_by("setup_error_dialog_button"),
                Contains("attached my_button_click_info=0"));
}

TEST_F(ButtonTest, DeletingNoRecordGivesOneLine) {
    delete_button_click_info(nullptr);
    EXPECT_THAT(logged_by("delete_button_click_info"),
                ElementsAre(StartsWith("deleting button click info: ")));
    delete_button_click_info(new button_click_info);
    EXPECT_THAT(logged_by("delete_button_click_info"), SizeIs(3));
}

TEST_F(ButtonTest, ATranslationMayGiveMnemonics) {
    gtk_button_set_label(button1, "_Wiederholen");
    EXPECT_EQ(gtk_label_get_mnemonic_keyval(GTK_LABEL(gtk_bin_get_child(GTK_BIN(button1)))),
              static_cast<guint>('w'));
    EXPECT_TRUE(gtk_button_get_use_underline(button2));
}

// ---- Clicks -------------------------------------------------------------------------------------

class ClickTest : public ErrorBoxTest {
protected:
    void SetUp() override {
        ErrorBoxTest::SetUp();
        box = present(make_error("P", "1"));
        retry = find_button(box, "Retry");
        flag = find_click_info(retry)->action_in_progress;
        SyslogCapture::clear();
    }

    // Whether the command of the button is running.
    bool is_running() const {
        const std::lock_guard<std::mutex> locker(flag->mux);
        return flag->value;
    }

    bool wait_for_the_worker() const {
        return wait_until([] { return logged_by("operator()").back() == "finished action"; });
    }

    GtkWidget* box = nullptr;
    GtkButton* retry = nullptr;
    std::shared_ptr<bool_holder> flag;
};

TEST_F(ClickTest, WithoutARecordDoesNothing) {
    start_service();
    g_object_set_data(G_OBJECT(retry), MY_BUTTON_CLICK_INFO_KEY.c_str(), nullptr);
    gtk_button_clicked(retry);
    EXPECT_THAT(logged_by("handle_error_dialog_button_click"),
                ElementsAre("begin", "no click_info"));
    EXPECT_EQ(count_started_workers(), 0);
    EXPECT_EQ(count_close_requests(box), 0);
    EXPECT_THAT(presented_keys(), SizeIs(1));
}

TEST_F(ClickTest, StartsOneWorkerAndForgetsTheErrorAtOnce) {
    start_service();
    service->hold();
    gtk_button_clicked(retry);
    EXPECT_EQ(count_started_workers(), 1);
    EXPECT_EQ(count_close_requests(box), 1);
    EXPECT_THAT(presented_keys(), IsEmpty());
    EXPECT_THAT(logged_by("handle_error_dialog_button_click"), ElementsAre("begin", "end"));
    EXPECT_THAT(service->wait_for_requests(1),
                ElementsAre(make_command_text(make_error("P", "1"), 102)));
    EXPECT_TRUE(is_running());
    run_main_loop_until_idle();
    EXPECT_THAT(list_boxes(), IsEmpty()) << "nothing waits for the service";
    EXPECT_TRUE(is_running());
    service->release();
    EXPECT_TRUE(wait_until([this] { return !is_running(); }));
    ASSERT_TRUE(wait_for_the_worker());
    EXPECT_THAT(logged_by("operator()"), ElementsAre("starting action 102", "finished action"));
}

TEST_F(ClickTest, ASecondOneWhileTheCommandRunsSendsNothingButClosesAndForgets) {
    start_service();
    service->hold();
    gtk_button_clicked(retry);
    PrinterErrorInfo info;
    info.presentation_message_box = box;
    global_gui_state.error_presentation_map["again"] = info;
    gtk_button_clicked(retry);
    EXPECT_EQ(count_started_workers(), 1);
    EXPECT_THAT(presented_keys(), IsEmpty());
    run_main_loop_until_idle();
    EXPECT_THAT(list_boxes(), IsEmpty());
    service->release();
    EXPECT_TRUE(wait_until([this] { return !is_running(); }));
    EXPECT_EQ(service->count_requests(), 1U);
}

TEST_F(ClickTest, ASecondOneWhileTheCommandRunsClosesABoxThatIsStillThere) {
    start_service();
    {
        const std::lock_guard<std::mutex> locker(flag->mux);
        flag->value = true;
    }
    gtk_button_clicked(retry);
    EXPECT_EQ(count_started_workers(), 0);
    EXPECT_THAT(presented_keys(), IsEmpty());
    run_main_loop_until_idle();
    EXPECT_THAT(list_boxes(), IsEmpty());
}

TEST_F(ClickTest, ErasesAllEntriesOfTheBoxAndNoOther) {
    start_service();
    auto* other_box = present(make_error("Q", "1"));
    PrinterErrorInfo info;
    for (const auto& [key, widget] : {std::pair<std::string, GtkWidget*>{"A", box},
                                      {"B", box},
                                      {"M", other_box},
                                      {"N", nullptr},
                                      {"Z", box}}) {
        info.presentation_message_box = widget;
        global_gui_state.error_presentation_map[key] = info;
    }
    gtk_button_clicked(retry);
    EXPECT_THAT(presented_keys(), ElementsAre("M", "N", "Q:::1"));
    run_main_loop_until_idle();
    EXPECT_THAT(list_boxes(), ElementsAre(other_box));
}

TEST_F(ClickTest, AButtonOutsideAWindowSendsItsCommandAndClosesNothing) {
    start_service();
    GtkReleaser keep;
    keep.set(G_OBJECT(g_object_ref(retry)));
    gtk_container_remove(GTK_CONTAINER(find_in_box(box, "buttonbox1")), GTK_WIDGET(retry));
    gtk_button_clicked(retry);
    EXPECT_EQ(count_started_workers(), 1);
    EXPECT_EQ(count_close_requests(box), 0);
    EXPECT_THAT(presented_keys(), SizeIs(1));
    EXPECT_THAT(service->wait_for_requests(1), SizeIs(1));
}

TEST_F(ClickTest, ACommandThatFailsIsLoggedAndTheFlagReset) {
    gtk_button_clicked(retry);
    ASSERT_TRUE(wait_until([] { return logged_by("operator()").size() == 3; }));
    EXPECT_THAT(logged_by("operator()"),
                ElementsAre("starting action 102",
                            "printer job exception: Failed to connect socket.", "finished action"));
    EXPECT_FALSE(is_running());
}

TEST_F(ClickTest, AnythingThatACommandThrowsIsCaught) {
    connecting_throws_no_exception_class = true;
    gtk_button_clicked(retry);
    ASSERT_TRUE(wait_until([] { return logged_by("operator()").size() == 3; }));
    EXPECT_THAT(
        logged_by("operator()"),
        ElementsAre("starting action 102", "unexpected printer job exception", "finished action"));
    EXPECT_FALSE(is_running());
}

TEST_F(ClickTest, AFlagThatWasResetLetsTheButtonSendAgain) {
    start_service();
    gtk_button_clicked(retry);
    service->wait_for_requests(1);
    ASSERT_TRUE(wait_until([this] { return !is_running(); }));
    gtk_button_clicked(retry);
    EXPECT_EQ(count_started_workers(), 2);
    EXPECT_THAT(service->wait_for_requests(2), Each(make_command_text(make_error("P", "1"), 102)));
    EXPECT_EQ(count_close_requests(box), 1);
}

TEST_F(ClickTest, CommandsOfSeveralBoxesRunSideBySide) {
    start_service();
    service->hold();
    auto* other = present(make_error("Q", "2", "5"));
    gtk_button_clicked(retry);
    click(other, "OK");
    EXPECT_THAT(service->wait_for_requests(2),
                testing::UnorderedElementsAre(make_command_text(make_error("P", "1"), 102),
                                              make_command_text(make_error("Q", "2"), 101)));
    service->release();
}

} // namespace
