// What assistive tools find in a box built from the program's own layout, and the bell.

#include "box_announcement.h"

#include <memory>
#include <string>

#include "gtk_support.h"
#include "translation_support.h"

// Behind GoogleTest, which uses the names of its macros.
#include <X11/XKBlib.h>
#undef Bool
#undef None
#undef Status
#undef Success

namespace {

const std::string TEXT = "The title.\n\n1. Do this.";

class AnnouncementTest : public LayoutTest {
protected:
    void SetUp() override { gtk_window_set_title(GTK_WINDOW(box), "Front desk"); }

    AtkObject* get_notification() const {
        return gtk_widget_get_accessible(gtk_widget_get_parent(sign));
    }

    GtkWidget* const sign = get("image1");
};

TEST_F(AnnouncementTest, TheNotificationSaysSignPrinterAndTitle) {
    describe_box(box, sign, BoxSign::Error, TEXT);
    EXPECT_EQ(atk_object_get_role(get_notification()), ATK_ROLE_NOTIFICATION);
    EXPECT_STREQ(atk_object_get_name(get_notification()), "Error, Front desk");
    EXPECT_STREQ(atk_object_get_description(get_notification()), "The title.");
}

TEST_F(AnnouncementTest, WithoutAPrintersNameItSaysTheSignAlone) {
    gtk_window_set_title(GTK_WINDOW(box), "");
    describe_box(box, sign, BoxSign::Warning, TEXT);
    EXPECT_STREQ(atk_object_get_name(get_notification()), "Warning");
}

TEST_F(AnnouncementTest, TheSignHasAName) {
    describe_box(box, sign, BoxSign::Error, TEXT);
    EXPECT_STREQ(atk_object_get_name(gtk_widget_get_accessible(sign)), "Error");
    describe_box(box, sign, BoxSign::Warning, TEXT);
    EXPECT_STREQ(atk_object_get_name(gtk_widget_get_accessible(sign)), "Warning");
    EXPECT_STREQ(atk_object_get_description(gtk_widget_get_accessible(sign)), "The title.");
}

TEST_F(AnnouncementTest, TheSignsNameIsInThePersonsLanguage) {
    const Translation translation({{"Error", "Fehler"}, {"Warning", "Warnung"}}, "gtk30");
    describe_box(box, sign, BoxSign::Error, TEXT);
    EXPECT_STREQ(atk_object_get_name(gtk_widget_get_accessible(sign)), "Fehler");
    EXPECT_STREQ(atk_object_get_name(get_notification()), "Fehler, Front desk");
    describe_box(box, sign, BoxSign::Warning, TEXT);
    EXPECT_STREQ(atk_object_get_name(gtk_widget_get_accessible(sign)), "Warnung");
}

TEST_F(AnnouncementTest, TheWindowIsDescribedWithTheWholeText) {
    describe_box(box, sign, BoxSign::Error, TEXT);
    EXPECT_STREQ(atk_object_get_description(gtk_widget_get_accessible(box)), TEXT.c_str());
    EXPECT_EQ(atk_object_get_role(gtk_widget_get_accessible(box)), ATK_ROLE_ALERT);
}

TEST_F(AnnouncementTest, TheNotificationHoldsNoneOfTheText) {
    EXPECT_FALSE(gtk_widget_is_ancestor(get("textview1"), gtk_widget_get_parent(sign)));
    EXPECT_FALSE(gtk_widget_is_ancestor(get("button2"), gtk_widget_get_parent(sign)));
}

TEST_F(AnnouncementTest, ALayoutWithoutItIsLeftAsItIs) {
    auto* plain_box = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    auto* plain_sign = gtk_image_new();
    gtk_container_add(GTK_CONTAINER(plain_box), plain_sign);
    gtk_window_set_title(GTK_WINDOW(plain_box), "Front desk");
    describe_box(plain_box, plain_sign, BoxSign::Error, TEXT);
    EXPECT_NE(std::string(atk_object_get_name(gtk_widget_get_accessible(plain_box))),
              "Error, Front desk");
    EXPECT_STREQ(atk_object_get_name(gtk_widget_get_accessible(plain_sign)), "Error");
    describe_box(plain_box, nullptr, BoxSign::Error, TEXT);
    describe_box(nullptr, nullptr, BoxSign::Error, TEXT);
    gtk_widget_destroy(plain_box);
}

// ---- The bell -----------------------------------------------------------------------------------

// Hears the bell of the X server over a connection of its own.
class BellListener {
public:
    BellListener() : m_display(XOpenDisplay(nullptr)) {
        XkbQueryExtension(m_display.get(), nullptr, &m_event_base, nullptr, nullptr, nullptr);
        XkbSelectEvents(m_display.get(), XkbUseCoreKbd, XkbBellNotifyMask, XkbBellNotifyMask);
        XSync(m_display.get(), 0);
    }

    // How often it has rung since the last call. What GTK sent before has been heard then.
    int count() {
        gdk_display_sync(gdk_display_get_default());
        XSync(m_display.get(), 0);
        int rung = 0;
        while (XPending(m_display.get()) > 0) {
            XEvent event;
            XNextEvent(m_display.get(), &event);
            rung += event.type == m_event_base ? 1 : 0;
        }
        return rung;
    }

private:
    std::unique_ptr<Display, Releaser<XCloseDisplay>> m_display;
    int m_event_base = 0;
};

class BellTest : public AnnouncementTest {
protected:
    void SetUp() override {
        AnnouncementTest::SetUp();
        gtk_widget_show_all(box);
    }

    void TearDown() override {
        allow_bell(true);
        AnnouncementTest::TearDown();
    }

    static void allow_bell(bool is_allowed) {
        g_object_set(gtk_settings_get_default(), "gtk-error-bell", is_allowed ? TRUE : FALSE,
                     nullptr);
    }

    BellListener listener;
};

TEST_F(BellTest, RingsOnce) {
    EXPECT_EQ(listener.count(), 0);
    ring_for_box(box);
    EXPECT_EQ(listener.count(), 1);
}

TEST_F(BellTest, IsSilentWhereTheDesktopSaysSo) {
    allow_bell(false);
    ring_for_box(box);
    EXPECT_EQ(listener.count(), 0);
}

} // namespace
