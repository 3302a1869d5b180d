// The program's main source, and what its tests share: the fixture, a printer service that records,
// and the calls of the program that the tests watch.
//
// For the one source file of a test program: it defines functions, and the link wraps the functions
// that are defined here as __wrap_NAME.
#pragma once

#include <dlfcn.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "fake_peer.h"
#include "syslog_capture.h"
#include "x11_support.h"

// The program's entry becomes a function that a test calls.
#define main zor_main
#include "zor-card-printer-error-ui.cpp"
#undef main

// ---- The log ------------------------------------------------------------------------------------

// The texts of the lines that this function of the program logged: all behind its name.
inline std::vector<std::string> logged_by(const std::string& function_name) {
    std::vector<std::string> texts;
    for (const auto& line : SyslogCapture::lines()) {
        const auto name_start = line.text.find(' ') + 1;
        const auto name_end = line.text.find(' ', name_start);
        if (line.text.substr(name_start, name_end - name_start) == function_name) {
            texts.push_back(line.text.substr(name_end + 1));
        }
    }
    return texts;
}

// ---- Threads ------------------------------------------------------------------------------------

// The threads that std::thread started in this process; those of GLib do not count.
struct StandardThreads {
    static inline std::atomic<int> started{0};
    static inline std::atomic<int> ended{0};
    static inline std::atomic<int> to_refuse{0}; // so many of the next ones fail with EAGAIN

    static int alive() { return started - ended; }
};

struct CountedRoutine {
    void* (*routine)(void*);
    void* argument;
};

inline void* run_counted_routine(void* raw) {
    const std::unique_ptr<CountedRoutine> counted(static_cast<CountedRoutine*>(raw));
    void* result = counted->routine(counted->argument);
    ++StandardThreads::ended;
    return result;
}

// Stands in front of the C library's function, for the shared libraries too.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*routine)(void*), void* argument) noexcept {
    using CreateFunction = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto real_create =
        reinterpret_cast<CreateFunction>(dlsym(RTLD_NEXT, "pthread_create"));
    Dl_info library{};
    const bool is_standard = dladdr(reinterpret_cast<void*>(routine), &library) != 0 &&
                             std::string(library.dli_fname).find("libstdc++") != std::string::npos;
    if (!is_standard) {
        return real_create(thread, attributes, routine, argument);
    }
    if (StandardThreads::to_refuse > 0) {
        --StandardThreads::to_refuse;
        return EAGAIN;
    }
    auto counted = std::make_unique<CountedRoutine>(CountedRoutine{routine, argument});
    const int result = real_create(thread, attributes, run_counted_routine, counted.get());
    if (result == 0) {
        counted.release();
        ++StandardThreads::started;
    }
    return result;
}

// Where the program's endless threads come between two rounds; each passes as often as the test
// lets it.
class Turnstile {
public:
    // Never freed: a thread may wait here until the process ends.
    static Turnstile& make() {
        static auto* all = new std::vector<std::unique_ptr<Turnstile>>;
        return *all->emplace_back(new Turnstile);
    }

    void pass() {
        std::unique_lock<std::mutex> locker(m_mux);
        ++m_arrivals;
        m_changed.notify_all();
        m_changed.wait(locker, [this] { return m_tickets > 0; });
        --m_tickets;
    }

    void let_one_pass() {
        const std::lock_guard<std::mutex> locker(m_mux);
        ++m_tickets;
        m_changed.notify_all();
    }

    // Counted from the beginning.
    int count_arrivals() {
        const std::lock_guard<std::mutex> locker(m_mux);
        return m_arrivals;
    }

    // False when fewer threads than that arrived in time, counted from the beginning.
    bool wait_for_arrivals(int count) {
        std::unique_lock<std::mutex> locker(m_mux);
        return m_changed.wait_for(locker, scaled(std::chrono::seconds(10)),
                                  [this, count] { return m_arrivals >= count; });
    }

private:
    Turnstile() = default;

    std::mutex m_mux;
    std::condition_variable m_changed;
    int m_arrivals = 0;
    int m_tickets = 0;
};

// What the program's g_usleep does: set it before the threads start.
inline std::function<void(gulong)> rest = [](gulong /*microseconds*/) {
    throw std::logic_error("a thread rests where none was expected");
};

// What the program's connect throws then has no class that it knows.
inline std::atomic<bool> connecting_throws_no_exception_class = false;

extern "C" {
int __real_connect(int handle, const sockaddr* address, socklen_t length);
int __wrap_connect(int handle, const sockaddr* address, socklen_t length);
int __wrap_connect(int handle, const sockaddr* address, socklen_t length) {
    if (connecting_throws_no_exception_class) {
        throw 1;
    }
    return __real_connect(handle, address, length);
}

void __wrap_g_usleep(gulong microseconds);
void __wrap_g_usleep(gulong microseconds) {
    rest(microseconds);
}
}

// ---- GTK ----------------------------------------------------------------------------------------

extern "C" {
void __real_gtk_window_close(GtkWindow* window);
void __wrap_gtk_window_close(GtkWindow* window);
}

constexpr const char* CLOSE_REQUESTS_KEY = "test-close-requests";
inline int most_close_requests_of_one_window = 0;

// How often GTK was asked to close this window.
inline int count_close_requests(GtkWidget* window) {
    return GPOINTER_TO_INT(g_object_get_data(G_OBJECT(window), CLOSE_REQUESTS_KEY));
}

extern "C" void __wrap_gtk_window_close(GtkWindow* window) {
    const int count = count_close_requests(GTK_WIDGET(window)) + 1;
    g_object_set_data(G_OBJECT(window), CLOSE_REQUESTS_KEY, GINT_TO_POINTER(count));
    most_close_requests_of_one_window = std::max(most_close_requests_of_one_window, count);
    __real_gtk_window_close(window);
}

// The warnings and worse of GTK and GLib.
class GlibMessages {
public:
    static GLogWriterOutput record(GLogLevelFlags level, const GLogField* fields, gsize count,
                                   gpointer /*unused*/) {
        if ((level & (G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING)) == 0) {
            return G_LOG_WRITER_HANDLED;
        }
        char* text = g_log_writer_format_fields(level, fields, count, FALSE);
        {
            const std::lock_guard<std::mutex> locker(s_mux);
            s_messages.emplace_back(text);
        }
        g_free(text);
        return G_LOG_WRITER_HANDLED;
    }

    // All since the last call.
    static std::vector<std::string> take() {
        const std::lock_guard<std::mutex> locker(s_mux);
        return std::exchange(s_messages, {});
    }

private:
    static inline std::mutex s_mux;
    static inline std::vector<std::string> s_messages;
};

// Behind that of gtk_support.h, so that GTK is ready.
class MessagesEnvironment : public testing::Environment {
public:
    void SetUp() override { g_log_set_writer_func(GlibMessages::record, nullptr, nullptr); }
};

inline auto* const messages_environment =
    testing::AddGlobalTestEnvironment(new MessagesEnvironment);

inline bool has_builder_name(GtkWidget* widget, const char* name) {
    return GTK_IS_BUILDABLE(widget) &&
           g_strcmp0(gtk_buildable_get_name(GTK_BUILDABLE(widget)), name) == 0;
}

// The widget of this name in the Builder file, from the box down; null when it is not there.
inline GtkWidget* find_in_box(GtkWidget* widget, const char* name) {
    if (has_builder_name(widget, name)) {
        return widget;
    }
    if (!GTK_IS_CONTAINER(widget)) {
        return nullptr;
    }
    GtkWidget* found = nullptr;
    auto* children = gtk_container_get_children(GTK_CONTAINER(widget));
    for (auto* child = children; child != nullptr && found == nullptr; child = child->next) {
        found = find_in_box(GTK_WIDGET(child->data), name);
    }
    g_list_free(children);
    return found;
}

// The message boxes that exist, in no order. Those whose closing is under way are among them.
inline std::vector<GtkWidget*> list_boxes() {
    std::vector<GtkWidget*> boxes;
    auto* windows = gtk_window_list_toplevels();
    for (auto* window = windows; window != nullptr; window = window->next) {
        if (has_builder_name(GTK_WIDGET(window->data), "error-message-box")) {
            boxes.push_back(GTK_WIDGET(window->data));
        }
    }
    g_list_free(windows);
    return boxes;
}

inline std::vector<GtkButton*> list_buttons(GtkWidget* box) {
    std::vector<GtkButton*> buttons;
    auto* children = gtk_container_get_children(GTK_CONTAINER(find_in_box(box, "buttonbox1")));
    for (auto* child = children; child != nullptr; child = child->next) {
        buttons.push_back(GTK_BUTTON(child->data));
    }
    g_list_free(children);
    return buttons;
}

inline button_click_info* find_click_info(GtkButton* button) {
    return static_cast<button_click_info*>(
        g_object_get_data(G_OBJECT(button), MY_BUTTON_CLICK_INFO_KEY.c_str()));
}

inline GtkButton* find_button(GtkWidget* box, const std::string& label) {
    for (auto* button : list_buttons(box)) {
        if (gtk_button_get_label(button) == label) {
            return button;
        }
    }
    throw std::runtime_error("the box has no button " + label);
}

inline void click(GtkWidget* box, const std::string& label) {
    gtk_button_clicked(find_button(box, label));
}

inline std::string shown_text(GtkWidget* box) {
    auto* buffer = gtk_text_view_get_buffer(GTK_TEXT_VIEW(find_in_box(box, "textview1")));
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    char* text = gtk_text_buffer_get_text(buffer, &start, &end, TRUE);
    std::string result = text;
    g_free(text);
    return result;
}

// Asks the box to go, the way a window manager does. The main loop has the request when it runs.
inline void send_delete_request(GtkWidget* box) {
    send_message(box, SentTo::WINDOW, "WM_PROTOCOLS",
                 {gdk_x11_get_xatom_by_name("WM_DELETE_WINDOW"),
                  gdk_x11_get_server_time(gtk_widget_get_window(box))});
}

// ---- The printer service ------------------------------------------------------------------------

// Is there where the program looks for the service, on a thread of its own, and records each
// request. Replies in the order of a script; after that each reply is empty.
class RecordingService {
public:
    RecordingService() = default;
    ~RecordingService() {
        m_stop = true;
        wake();
        m_peer.finish();
        close(m_wake);
    }
    RecordingService(const RecordingService&) = delete;
    RecordingService& operator=(const RecordingService&) = delete;

    // From now on each request waits for a reply of its own, or for the end of its connection.
    void let_requests_wait() { m_requests_wait = true; }

    // The number of a request is its place among all, from 0.
    void reply_to_request(std::size_t number, const std::string& reply) {
        decide(number, Decision{true, reply});
    }

    void hang_up_on_request(std::size_t number) { decide(number, Decision{false, ""}); }

    // From now on replies wait, until release.
    void hold() { m_held = true; }

    void release() {
        m_held = false;
        wake();
    }

    void add_reply(const std::string& reply) {
        const std::lock_guard<std::mutex> locker(m_mux);
        m_replies.push_back(reply);
    }

    std::vector<std::string> requests() {
        const std::lock_guard<std::mutex> locker(m_mux);
        return m_requests;
    }

    std::size_t count_requests() {
        const std::lock_guard<std::mutex> locker(m_mux);
        return m_requests.size();
    }

    // The requests when there are so many; fails the test when they do not come.
    std::vector<std::string> wait_for_requests(std::size_t count) {
        EXPECT_TRUE(wait_until([this, count] { return count_requests() >= count; }));
        return requests();
    }

private:
    struct Connection {
        PeerConnection peer;
        std::optional<std::size_t> request; // the number of the one that waits for its reply
    };

    struct Decision {
        bool is_reply = false;
        std::string reply;
    };

    void decide(std::size_t number, const Decision& decision) {
        {
            const std::lock_guard<std::mutex> locker(m_mux);
            m_decisions[number] = decision;
        }
        wake();
    }

    void wake() const { eventfd_write(m_wake, 1); }

    void serve(FakePeer& peer) {
        std::list<Connection> connections;
        while (!m_stop) {
            std::vector<pollfd> polled{{peer.handle(), POLLIN, 0}, {m_wake, POLLIN, 0}};
            for (const auto& connection : connections) {
                polled.push_back({connection.peer.handle(), POLLIN, 0});
            }
            poll(polled.data(), polled.size(), -1);
            auto next = polled.begin() + 2;
            for (auto& connection : connections) {
                if ((next++)->revents != 0) {
                    receive(connection);
                }
            }
            if (polled[1].revents != 0) {
                eventfd_t wakes = 0;
                eventfd_read(m_wake, &wakes);
            }
            if (polled[0].revents != 0) {
                connections.push_back({peer.accept(), {}});
            }
            reply_to(connections);
            std::erase_if(connections, [](const auto& each) { return each.peer.handle() == -1; });
        }
    }

    void receive(Connection& connection) {
        if (connection.peer.is_at_its_end()) {
            connection.peer.close();
            return;
        }
        const auto request = connection.peer.receive_frame().substr(8);
        const std::lock_guard<std::mutex> locker(m_mux);
        connection.request = m_requests.size();
        m_requests.push_back(request);
    }

    void reply_to(std::list<Connection>& connections) {
        for (auto& connection : connections) {
            if (!connection.request || m_held) {
                continue;
            }
            const auto decision = take_decision(*connection.request);
            if (!decision) {
                continue;
            }
            connection.request.reset();
            if (decision->is_reply) {
                connection.peer.send(frame(decision->reply));
            } else {
                connection.peer.close();
            }
        }
    }

    std::optional<Decision> take_decision(std::size_t request) {
        const std::lock_guard<std::mutex> locker(m_mux);
        if (const auto decision = m_decisions.find(request); decision != m_decisions.end()) {
            return std::move(m_decisions.extract(decision).mapped());
        }
        if (m_requests_wait) {
            return std::nullopt;
        }
        if (m_replies.empty()) {
            return Decision{true, ""};
        }
        Decision scripted{true, m_replies.front()};
        m_replies.erase(m_replies.begin());
        return scripted;
    }

    int m_wake = eventfd(0, EFD_CLOEXEC);
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_held{false};
    std::atomic<bool> m_requests_wait{false};
    std::mutex m_mux; // guards the three below
    std::map<std::size_t, Decision> m_decisions;
    std::vector<std::string> m_requests;
    std::vector<std::string> m_replies;
    FakePeer m_peer{[this](FakePeer& peer) {
        serve(peer);
    }}; // last: it uses all the others
};

// The document that a button with this action code sends, for texts without special characters.
inline std::string make_command_text(const ZORPrinterError& error, int action_code) {
    return job_command(error.printer_name, error.printer_job_id, error.error_code, action_code);
}

// ---- The fixture --------------------------------------------------------------------------------

// A data directory of the test's own, beside the path of a program that is not there.
class DataDirectory {
public:
    DataDirectory() {
        std::filesystem::copy(ZOR_DATA_DIRECTORY, m_root.path() / "Data",
                              std::filesystem::copy_options::recursive);
    }

    std::string program_path() const { return m_root.path() / "program"; }
    std::filesystem::path assets() const { return m_root.path() / "Data/Assets"; }
    std::filesystem::path builder_file() const {
        return m_root.path() / "Data/error-ui-message-box.glade";
    }

    void hide_builder_file() const { std::filesystem::rename(builder_file(), hidden_file()); }
    void bring_builder_file_back() const { std::filesystem::rename(hidden_file(), builder_file()); }

    // For tests of many boxes that are not about their icons: small ones are quicker to read.
    void make_icons_small() const {
        for (const std::string name : {"caution.png", "stop.png"}) {
            GtkReleaser icon_releaser;
            auto* icon = icon_releaser.set(gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, 16, 16));
            gdk_pixbuf_fill(icon, 0);
            gdk_pixbuf_save(icon, (assets() / name).c_str(), "png", nullptr, nullptr);
        }
    }

private:
    std::filesystem::path hidden_file() const { return m_root.path() / "hidden"; }

    TemporaryDirectory m_root;
};

inline ZORPrinterError make_error(const std::string& printer, const std::string& job,
                                  const std::string& severity = "3",
                                  GUIActionCode action = SHOW_ERROR) {
    return {action, printer, job, "114", "", severity, ""};
}

inline ZORPrinterError make_removal(const std::string& printer, const std::string& job) {
    return make_error(printer, job, "3", REMOVE_ERROR);
}

inline void report(const std::vector<ZORPrinterError>& errors) {
    ZORPrinterStatus status;
    status.errors = errors;
    set_new_printer_status(status);
}

// Hands the errors over as a status and lets the tick see them.
inline void report_and_tick(const std::vector<ZORPrinterError>& errors) {
    report(errors);
    EXPECT_EQ(timer_tick(nullptr), FALSE);
}

// As before the first request. The caller holds the lock.
inline void forget_deliveries() {
    global_gui_state.status_delivery.asked();
    global_gui_state.status_delivery.exchange_failed();
}

inline std::vector<std::string> presented_keys() {
    std::vector<std::string> keys;
    for (const auto& [key, info] : global_gui_state.error_presentation_map) {
        keys.push_back(key);
    }
    return keys;
}

// The box of a presented error; throws when there is none.
inline GtkWidget* presented_box(const std::string& key) {
    return global_gui_state.error_presentation_map.at(key).presentation_message_box;
}

// Each test begins with a fresh shared state, logging switched on, and no box; it fails when GTK or
// GLib warned.
class ShellTest : public testing::Test {
protected:
    void SetUp() override {
        reset_shared_state();
        global_gui_state.program_path = data.program_path();
        SyslogCapture::clear();
        most_close_requests_of_one_window = 0;
    }

    void TearDown() override {
        StandardThreads::to_refuse = 0;
        connecting_throws_no_exception_class = false;
        service.reset();
        EXPECT_TRUE(wait_until([this] { return StandardThreads::alive() == m_threads_to_stay; }));
        for (auto* box : list_boxes()) {
            gtk_widget_destroy(box);
        }
        run_main_loop_until_idle();
        reset_shared_state();
        EXPECT_THAT(GlibMessages::take(), testing::IsEmpty());
    }

    void start_service() {
        service = std::make_unique<RecordingService>();
        m_started_before = StandardThreads::started;
    }

    int count_started_workers() const { return StandardThreads::started - m_started_before; }

    // For a test that starts threads of the program that never end.
    void expect_threads_to_stay(int count) { m_threads_to_stay += count; }

    DataDirectory data;
    std::unique_ptr<RecordingService> service;

private:
    static void reset_shared_state() {
        GUIStateLocker locker;
        global_gui_state.app = nullptr;
        global_gui_state.program_path.clear();
        global_gui_state.show_main_window = false;
        global_gui_state.valgrind_mode = false;
        global_gui_state.valgrind_num_boxes = 0;
        global_gui_state.valgrind_error_box_count = 0;
        global_gui_state.simulate_error.clear();
        global_gui_state.timer_tick_call_counter = 0;
        global_gui_state.new_printer_status.reset();
        forget_deliveries();
        global_gui_state.error_presentation_map.clear();
    }

    ConfigFile m_config{"diagnostics.level = 1\n"};
    int m_started_before = StandardThreads::started;
    int m_threads_to_stay = StandardThreads::alive();
};
