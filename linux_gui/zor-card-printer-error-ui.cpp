// The program: command line, shared state, threads, and the message box of each printer error, in
// the order in which things happen.

#include <sys/types.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <gtk/gtk.h>

#include "attention_demand.h"
#include "box_announcement.h"
#include "box_keyboard.h"
#include "box_look.h"
#include "box_text.h"
#include "button_fit.h"
#include "display_link.h"
#include "gui_logger.h"
#include "press_watch.h"
#include "printer_name.h"
#include "status_delivery.h"
#include "text_fit.h"
#include "zor_messages.h"
#include "zor_printer_io.h"

namespace {

// ---- What the threads share ---------------------------------------------------------------------

// One presented error. The box belongs to GTK; null when there is none.
struct PrinterErrorInfo {
    ZORPrinterError error;
    GtkWidget* presentation_message_box = nullptr;
};

// The state of the process, reached through a GUIStateLocker. Only the GTK main thread touches the
// map of presented errors, so that a box that is destroyed needs no lock to leave it.
struct GUIState {
    // The detached threads outlive main. Whoever holds the lock when the record goes never gives it
    // back, so that they wait at it until the process has ended and never see what is gone.
    ~GUIState() { mux.lock(); }

    std::mutex mux; // guards all that follows
    GtkApplication* app = nullptr;
    std::string program_path;
    bool show_main_window = false;
    bool valgrind_mode = false;
    int valgrind_num_boxes = 0;
    int valgrind_error_box_count = 0;
    std::string simulate_error;
    std::uint8_t timer_tick_call_counter = 0; // wraps; only equality is asked for
    std::shared_ptr<ZORPrinterStatus> new_printer_status;
    std::map<std::string, PrinterErrorInfo> error_presentation_map;
    StatusDelivery status_delivery{new_printer_status};
};

GUIState global_gui_state;

// Holds the lock of the shared state for its own life. Never two at a time in one thread.
class GUIStateLocker {
public:
    GUIStateLocker() : m_lock(global_gui_state.mux) {}
    GUIStateLocker(const GUIStateLocker&) = delete;
    GUIStateLocker& operator=(const GUIStateLocker&) = delete;

private:
    std::unique_lock<std::mutex> m_lock;
};

// A flag that a button and its worker thread share.
struct bool_holder {
    std::mutex mux;
    bool value = false;
};

// Calls a function when it goes out of scope. A function that throws ends the process.
class CleanupHelper {
public:
    explicit CleanupHelper(std::function<void()> cleanup_function)
        : m_cleanup_function(std::move(cleanup_function)) {}
    ~CleanupHelper() { m_cleanup_function(); }
    CleanupHelper(const CleanupHelper&) = delete;
    CleanupHelper& operator=(const CleanupHelper&) = delete;

private:
    std::function<void()> m_cleanup_function;
};

// Owns one reference to a GObject, or nothing.
class GtkReleaser {
public:
    GtkReleaser() = default;
    ~GtkReleaser() { release(); }
    GtkReleaser(const GtkReleaser&) = delete;
    GtkReleaser& operator=(const GtkReleaser&) = delete;

    // Lets go of what it holds, takes over the caller's reference to instance, and gives instance
    // back. Throws std::runtime_error for what is no GObject.
    template <typename T>
    T* set(T* instance) {
        release();
        m_obj = G_IS_OBJECT(instance) ? G_OBJECT(instance) : nullptr;
        if (m_obj == nullptr && instance != nullptr) {
            throw std::runtime_error("Got a non-GObject in the releaser class.");
        }
        return instance;
    }

    // The reference now belongs to somebody else.
    void forget() { m_obj = nullptr; }

    void release() {
        if (m_obj != nullptr) {
            g_object_unref(m_obj);
        }
        m_obj = nullptr;
    }

private:
    GObject* m_obj = nullptr;
};

// What a button of a box must do; owned by the button.
struct button_click_info {
    ZORPrinterError error;
    int action_code = ZOR_PRINTER_ACTION_CODE_CANCEL_JOB;
    std::shared_ptr<bool_holder> action_in_progress = std::make_shared<bool_holder>();
};

// Under this key a button holds its button_click_info.
const std::string MY_BUTTON_CLICK_INFO_KEY = "my_button_click_info";

// Under this key a box notes that the program has asked GTK to close it.
constexpr const char* CLOSING_KEY = "my_box_is_closing";

// ---- In the order in which they are called ------------------------------------------------------

void log_terminating_exception();
bool starts_with(const std::string& text, const std::string& possible_prefix);
template <typename T>
T parse_text_easy(const std::string& s);
int run_as_gui(const char* program_path, bool show_main_window, bool valgrind_mode,
               int valgrind_num_boxes, const std::string& simulate_error, bool no_fork);

void initialize(GtkApplication* app, gpointer user_data);
void printer_io_thread_proc(std::shared_ptr<std::mutex> clearing_error_queue_mutex,
                            std::shared_ptr<std::vector<ZORPrinterError>> error_clearing_queue);
std::optional<std::shared_ptr<const ZORPrinterStatus>> begin_status_exchange();
void set_new_printer_status(const ZORPrinterStatus& status);
void start_timer_tick();
template <typename K, typename V>
bool map_contains_key(std::map<K, V> map, K key);
gboolean timer_tick(gpointer unused);
void present_next_valgrind_box();
std::shared_ptr<ZORPrinterStatus> take_status();
void present_new_error(const ZORPrinterError& error);
std::string create_error_key(const ZORPrinterError& error);

std::string make_valid_utf8(const std::string& text);
std::string get_utf8_message_text(int message_id);
GtkWidget* get_widget(GtkBuilder* builder, const char* name);
GtkWidget* present_error_box(const PrinterErrorInfo& error);
std::string locate_gui_data_dir(const std::string& program_path);
void setup_buttons_for_severity(GtkBuilder* builder, const ZORPrinterError& error, int severity);
std::string find_display_text(int error_code);
GdkPixbuf* get_icon(const std::string& file_name);
gboolean handle_error_box_delete_event(GtkWidget* box, GdkEvent* event, gpointer unused);
void handle_error_box_destroy(GtkWidget* box, gpointer unused);
void guard_error_box(GtkWidget* box);
void size_and_show_error_box(GtkWidget* window);

void setup_error_dialog_buttons(GtkBuilder* builder, GtkWidget* button_box,
                                const ZORPrinterError& error, int button1LabelKey,
                                int button1Action, int button2LabelKey, int button2Action);
void setup_error_dialog_button(GtkBuilder* builder, GtkWidget* button_box,
                               const std::string& button_name, int labelKey,
                               const ZORPrinterError& error, int command_code);
void delete_button_click_info(void* raw);
void handle_error_dialog_button_click(GtkApplication* app, gpointer raw_info);
void start_action(const button_click_info& click_info);
void handle_failed_command();
gboolean destroy_error_box(gpointer box);
void close_error_box(GtkWidget* box);
void erase_presented_errors(GtkWidget* box);

} // namespace

// ---- Start --------------------------------------------------------------------------------------

int main(int argc, char** argv) {
    std::set_terminate(log_terminating_exception);
    const std::vector<std::string> args(argv, argv + argc);
    const char* const program_path = argc > 0 ? argv[0] : "";
    GUI_LOG(NORMAL, "begin");
    GUI_LOG(NORMAL, "argc=" << argc << " argv[0]=" << program_path);

    bool show_main_window = false;
    bool in_makefile = false;
    std::string lookup_string_id;
    const std::string get_string_long_arg = "--getstring";
    const std::string set_num_valgrind_boxes_arg = "--valgrind-num-boxes=";
    bool valgrind_mode = false;
    int valgrind_num_boxes = 5;
    const std::string simulate_error_arg_prefix = "--simulate-error=";
    std::string simulate_error;
    bool no_fork = false;

    for (std::size_t i = 1; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--show-main-window") {
            show_main_window = true;
        } else if (arg == "--in-makefile") {
            in_makefile = true;
        } else if (arg == "-g" && i + 1 < args.size()) {
            lookup_string_id = args[++i];
        } else if (arg == get_string_long_arg) {
            ++i;
            lookup_string_id = i < args.size() ? args[i] : "";
        } else if (starts_with(arg, get_string_long_arg + "=")) {
            lookup_string_id = arg.substr(get_string_long_arg.size() + 1);
        } else if (arg == "--valgrind") {
            valgrind_mode = true;
        } else if (starts_with(arg, set_num_valgrind_boxes_arg)) {
            valgrind_num_boxes =
                parse_text_easy<int>(arg.substr(set_num_valgrind_boxes_arg.size()));
        } else if (starts_with(arg, simulate_error_arg_prefix)) {
            simulate_error = arg.substr(simulate_error_arg_prefix.size());
        } else if (arg == "--no-fork") {
            no_fork = true;
        }
    }
    if (in_makefile) {
        return 0;
    }
    if (!lookup_string_id.empty()) {
        const int id = parse_text_easy<int>(lookup_string_id);
        const auto text = get_message_text(id);
        GUI_LOG(NORMAL, "looked up string: " << id << "=" << text);
        std::cout << (text.empty() ? "null" : text) << "\n";
        return 0;
    }
    return run_as_gui(program_path, show_main_window, valgrind_mode, valgrind_num_boxes,
                      simulate_error, no_fork);
}

namespace {

// An exception that nobody catches ends the process; the log tells why before the runtime tells it
// on standard error.
void log_terminating_exception() {
    if (const auto exception = std::current_exception()) {
        try {
            std::rethrow_exception(exception);
        } catch (const std::exception& ex) {
            GUI_LOG(NORMAL, "terminating: " << ex.what());
        } catch (...) {
            GUI_LOG(NORMAL, "terminating: unexpected exception");
        }
    }
    __gnu_cxx::__verbose_terminate_handler();
}

bool starts_with(const std::string& text, const std::string& possible_prefix) {
    return text.size() >= possible_prefix.size() &&
           text.compare(0, possible_prefix.size(), possible_prefix) == 0;
}

// The leading number of s; throws std::runtime_error when there is none. What follows is ignored.
template <typename T>
T parse_text_easy(const std::string& s) {
    std::istringstream source(s);
    T value = 0;
    source >> value;
    if (source.fail()) {
        throw std::runtime_error("Failed to parse " + s + ".");
    }
    return value;
}

int run_as_gui(const char* program_path, bool show_main_window, bool valgrind_mode,
               int valgrind_num_boxes, const std::string& simulate_error, bool no_fork) {
    if (!valgrind_mode && !no_fork) {
        const pid_t fork_result = fork();
        if (fork_result == -1) {
            return 55;
        }
        if (fork_result != 0) {
            return 0;
        }
        setsid();
    }
    prefer_x11();
    end_clearly_without_display();
    GtkReleaser app_releaser;
    auto* app = app_releaser.set(gtk_application_new("tamarix.error.ui", G_APPLICATION_FLAGS_NONE));
    {
        GUIStateLocker locker;
        global_gui_state.app = app;
        global_gui_state.program_path = program_path;
        global_gui_state.show_main_window = show_main_window;
        global_gui_state.valgrind_mode = valgrind_mode;
        global_gui_state.valgrind_num_boxes = valgrind_num_boxes;
        global_gui_state.simulate_error = simulate_error;
    }
    g_signal_connect_data(app, "activate", G_CALLBACK(initialize), nullptr, nullptr,
                          static_cast<GConnectFlags>(0));
    // GTK sees none of the program's own options, so it cannot reject them.
    std::string only_argument = program_path;
    char* fake_argv[] = {only_argument.data(), nullptr};
    const int status = g_application_run(G_APPLICATION(app), 1, fake_argv);
    GUI_LOG(NORMAL, "end; exit_code=" << status);
    return status;
}

// The handler of "activate".
void initialize(GtkApplication* app, gpointer /*user_data*/) {
    GUI_LOG(NORMAL, "begin");
    // A second start in this session arrives here too; it must not add threads that poll.
    if (gtk_application_get_windows(app) != nullptr) {
        GUI_LOG(NORMAL, "end; already active");
        return;
    }
    end_clearly_without_x_server();
    GtkReleaser main_window_releaser;
    auto* main_window = main_window_releaser.set(gtk_application_window_new(app));
    gtk_window_set_title(GTK_WINDOW(main_window),
                         "Error UI Window: Temp Main Window for Early Testing");
    gtk_window_set_default_size(GTK_WINDOW(main_window), 200, 200);
    bool show_main_win = false;
    bool valgrind_mode = false;
    {
        GUIStateLocker locker;
        show_main_win = global_gui_state.show_main_window;
        valgrind_mode = global_gui_state.valgrind_mode;
    }
    // A hidden window keeps the application running all the same.
    if (show_main_win || valgrind_mode) {
        gtk_widget_show_all(main_window);
    }
    const auto error_clearing_queue_mutex = std::make_shared<std::mutex>();
    const auto error_clearing_queue = std::make_shared<std::vector<ZORPrinterError>>();
    GUI_LOG(NORMAL, "starting printer io");
    std::thread printer_io_thread([error_clearing_queue_mutex, error_clearing_queue] {
        printer_io_thread_proc(error_clearing_queue_mutex, error_clearing_queue);
    });
    GUI_LOG(NORMAL, "started printer io");
    printer_io_thread.detach();
    start_timer_tick();
    main_window_releaser.forget(); // the application keeps it
    GUI_LOG(NORMAL, "end");
}

// ---- The printer I/O thread ---------------------------------------------------------------------

// Polls the service for ever. The queue is a hand-over point for errors to be cleared; nothing
// fills it yet.
void printer_io_thread_proc(
    std::shared_ptr<std::mutex> /*clearing_error_queue_mutex*/,
    std::shared_ptr<std::vector<ZORPrinterError>> /*error_clearing_queue*/) {
    GUI_LOG(NORMAL, "begin");
    for (;;) {
        bool caught_exception = true;
        try {
            if (const auto prior_status = begin_status_exchange()) {
                set_new_printer_status(get_updated_printer_status(prior_status->get()));
            }
            caught_exception = false;
        } catch (const std::exception& ex) {
            GUI_LOG(NORMAL, "caught c++ exception: " << ex.what());
        } catch (...) {
            GUI_LOG(NORMAL, "caught unexpected exception");
        }
        if (caught_exception) {
            GUIStateLocker locker;
            global_gui_state.status_delivery.exchange_failed();
        }
        const gulong rest_millis = caught_exception ? 10000 : 100;
        g_usleep(rest_millis * 1000);
    }
}

// The status that the request quotes, null for none; no value while the service must not be asked,
// because its last news is not taken in.
std::optional<std::shared_ptr<const ZORPrinterStatus>> begin_status_exchange() {
    GUIStateLocker locker;
    if (!global_gui_state.status_delivery.may_ask()) {
        return std::nullopt;
    }
    return global_gui_state.status_delivery.asked();
}

// Leaves a copy of the status for the tick, in place of one that waits there.
void set_new_printer_status(const ZORPrinterStatus& status) {
    GUIStateLocker locker;
    if (global_gui_state.status_delivery.received(status)) {
        global_gui_state.new_printer_status = std::make_shared<ZORPrinterStatus>(status);
    }
}

// ---- The tick -----------------------------------------------------------------------------------

// Starts the thread that asks the GTK main loop for a tick every 100 ms, if the last one has run:
// at most one is ever pending.
void start_timer_tick() {
    const auto timer_tick_initiator = [] {
        std::uint8_t issue_counter = 0;
        {
            GUIStateLocker locker;
            issue_counter = global_gui_state.timer_tick_call_counter;
        }
        for (;;) {
            {
                GUIStateLocker locker;
                if (global_gui_state.timer_tick_call_counter == issue_counter) {
                    ++issue_counter;
                    g_idle_add(timer_tick, nullptr);
                }
            }
            g_usleep(100000);
        }
    };
    std::thread(timer_tick_initiator).detach();
}

// By value on purpose: the map holds only what is on the screen.
template <typename K, typename V>
bool map_contains_key(std::map<K, V> map, K key) {
    return map.find(key) != map.end();
}

// Brings the boxes in line with the newest status. On the GTK main thread.
gboolean timer_tick(gpointer /*unused*/) {
    GUIStateLocker locker;
    ++global_gui_state.timer_tick_call_counter;
    const bool close_all_valgrind_boxes =
        global_gui_state.valgrind_mode &&
        global_gui_state.valgrind_error_box_count >= global_gui_state.valgrind_num_boxes;
    present_next_valgrind_box();
    const auto status_ptr = take_status();

    std::set<std::string> dead_keys;
    if (status_ptr) {
        GUI_LOG(VERBOSE, "handling updated status");
        for (const auto& error : status_ptr->errors) {
            const auto error_key = create_error_key(error);
            switch (error.gui_action_code) {
            case SHOW_ERROR:
                present_new_error(error);
                break;
            case REMOVE_ERROR:
                if (map_contains_key(global_gui_state.error_presentation_map, error_key)) {
                    dead_keys.insert(error_key);
                }
                break;
            default:
                throw std::runtime_error("Unexpected GUI action code.");
            }
        }
    }
    if (close_all_valgrind_boxes) {
        for (const auto& [key, info] : global_gui_state.error_presentation_map) {
            dead_keys.insert(key);
        }
    }
    for (const auto& dead_key : dead_keys) {
        const auto info = global_gui_state.error_presentation_map[dead_key];
        global_gui_state.error_presentation_map.erase(dead_key);
        if (info.presentation_message_box != nullptr) {
            close_error_box(info.presentation_message_box);
        }
    }
    return FALSE;
}

// In the mode for memory checks: one made-up error a tick, until there were enough.
void present_next_valgrind_box() {
    if (!global_gui_state.valgrind_mode ||
        global_gui_state.valgrind_error_box_count >= global_gui_state.valgrind_num_boxes) {
        return;
    }
    const int n = ++global_gui_state.valgrind_error_box_count;
    ZORPrinterError error;
    error.printer_job_id = "0";
    error.error_code = "114";
    error.error_severity = std::to_string(n % 4 + 1);
    error.printer_name = "fake" + std::to_string(n) + " severity=" + error.error_severity;
    PrinterErrorInfo info;
    info.error = error;
    info.presentation_message_box = present_error_box(info);
    // Stored also when no box could be made.
    global_gui_state.error_presentation_map[create_error_key(error)] = info;
}

// The newest status, taken away from the shared state; the simulated one, once, in its place.
std::shared_ptr<ZORPrinterStatus> take_status() {
    auto status_ptr = global_gui_state.status_delivery.taken();
    if (!global_gui_state.simulate_error.empty()) {
        const auto error_spec = std::exchange(global_gui_state.simulate_error, "");
        ZORPrinterStatus fake;
        ZORPrinterError err;
        err.gui_action_code = SHOW_ERROR;
        err.printer_name = "Simulated Error Printer";
        err.printer_job_id = "123";
        err.error_code = "114";
        err.error_severity = error_spec;
        fake.errors.push_back(err);
        status_ptr = std::make_shared<ZORPrinterStatus>(fake);
    }
    return status_ptr;
}

// An error that has its box keeps it as it is; one whose box cannot be made is tried again when it
// is reported again.
void present_new_error(const ZORPrinterError& error) {
    const auto error_key = create_error_key(error);
    if (map_contains_key(global_gui_state.error_presentation_map, error_key)) {
        return;
    }
    PrinterErrorInfo info;
    info.error = error;
    info.presentation_message_box = present_error_box(info);
    if (info.presentation_message_box != nullptr) {
        global_gui_state.error_presentation_map[error_key] = info;
    }
}

// Printer and job alone tell errors apart.
std::string create_error_key(const ZORPrinterError& error) {
    return error.printer_name + ":::" + error.printer_job_id;
}

// ---- The box ------------------------------------------------------------------------------------

// Text from outside may hold any bytes; GTK and its accessibility bridge want UTF-8.
std::string make_valid_utf8(const std::string& text) {
    char* valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
    CleanupHelper valid_cleanup([valid] { g_free(valid); });
    return valid;
}

// A catalogue text as GTK wants it: gettext gives it in the character set of the locale.
std::string get_utf8_message_text(int message_id) {
    const auto text = get_message_text(message_id);
    char* converted =
        g_locale_to_utf8(text.data(), static_cast<gssize>(text.size()), nullptr, nullptr, nullptr);
    CleanupHelper converted_cleanup([converted] { g_free(converted); });
    return converted != nullptr ? std::string(converted) : make_valid_utf8(text);
}

GtkWidget* get_widget(GtkBuilder* builder, const char* name) {
    return GTK_WIDGET(gtk_builder_get_object(builder, name));
}

// Builds, fills and shows the box for error.error; null when its description cannot be loaded.
// Throws std::runtime_error for a severity or code that is no number. The box belongs to GTK. Reads
// the program path without a lock: the caller holds it, and the path never changes.
GtkWidget* present_error_box(const PrinterErrorInfo& error) {
    const ZORPrinterError& e = error.error;
    GUI_LOG(NORMAL, "begin; printer=" << e.printer_name << " job=" << e.printer_job_id
                                      << " severity=" << e.error_severity
                                      << " code=" << e.error_code << " str=" << e.error_string);
    const auto gui_data_dir = locate_gui_data_dir(global_gui_state.program_path);
    GUI_LOG(NORMAL, "data_dir=" << gui_data_dir);
    GtkReleaser builder_releaser;
    auto* builder = builder_releaser.set(gtk_builder_new());
    GError* builder_error = nullptr;
    const auto builder_result = gtk_builder_add_from_file(
        builder, (gui_data_dir + "/error-ui-message-box.glade").c_str(), &builder_error);
    if (builder_result == 0) {
        GUI_LOG(NORMAL, "Failed to load error ui xml: " << builder_error->message);
        g_clear_error(&builder_error);
        return nullptr;
    }
    auto* win = get_widget(builder, "error-message-box");
    const int severity = parse_text_easy<int>(e.error_severity);
    setup_buttons_for_severity(builder, e, severity);

    const auto display_text = find_display_text(parse_text_easy<int>(e.error_code));
    GUI_LOG(NORMAL, "setting display_text=" << display_text);
    show_box_text(GTK_TEXT_VIEW(gtk_builder_get_object(builder, "textview1")), display_text);
    const auto printer_name = make_valid_utf8(e.printer_name);
    gtk_window_set_title(GTK_WINDOW(win), printer_name.c_str());
    show_printer_name_without_title_bar(win, printer_name);

    const auto data_dir = locate_gui_data_dir(global_gui_state.program_path);
    const std::string plain_icon_name = severity > 3 ? "caution.png" : "stop.png";
    const auto icon_file_name = data_dir + "/Assets/" + plain_icon_name;
    auto* icon_image = GTK_IMAGE(gtk_builder_get_object(builder, "image1"));
    GUI_LOG(NORMAL, "setting icon: " << icon_file_name);
    GtkReleaser icon_releaser;
    auto* icon = icon_releaser.set(get_icon(icon_file_name));
    if (icon != nullptr) {
        gtk_image_set_from_pixbuf(icon_image, icon);
    } else {
        gtk_image_set_from_file(icon_image, icon_file_name.c_str());
    }
    describe_box(win, GTK_WIDGET(icon_image), severity > 3 ? BoxSign::Warning : BoxSign::Error,
                 display_text);
    keep_buttons_readable(get_widget(builder, "buttonbox1"));
    gtk_window_set_deletable(GTK_WINDOW(win), FALSE);
    gtk_window_set_keep_above(GTK_WINDOW(win), TRUE);
    gtk_window_set_type_hint(GTK_WINDOW(win), GDK_WINDOW_TYPE_HINT_DIALOG); // floats among tiles
    gtk_window_stick(GTK_WINDOW(win)); // whichever workspace the person is at
    take_back_demand_for_attention(win);
    guard_error_box(win);
    watch_presses(win, get_widget(builder, "buttonbox1"));
    guard_box_from_typing(win);
    fit_buttons(win, get_widget(builder, "buttonbox1"));
    fit_text_area(win, get_widget(builder, "textview1"));
    size_and_show_error_box(win);
    keep_active_box_above(win);
    ring_for_box(win);
    GUI_LOG(NORMAL, "end");
    return win;
}

// The directory Data beside the program file, for the path by which the program was started.
std::string locate_gui_data_dir(const std::string& program_path) {
    const auto last_slash = program_path.rfind('/');
    const auto program_dir = program_path.substr(0, last_slash);
    return program_dir + "/Data";
}

// Severities 1 and 2 want to be read: their OK cancels the job all the same.
void setup_buttons_for_severity(GtkBuilder* builder, const ZORPrinterError& error, int severity) {
    const int CCL = ZOR_PRINTER_ACTION_CODE_CANCEL_JOB;
    const int RES = ZOR_PRINTER_ACTION_CODE_RESUME_JOB;
    const int RET = ZOR_PRINTER_ACTION_CODE_RETRY_JOB;
    const int no_action = ZOR_PRINTER_ACTION_CODE_CANCEL_JOB;
    const int ok_label = 36; // an id without a name of its own
    auto* button_box = get_widget(builder, "buttonbox1");
    switch (severity) {
    case 1:
    case 2:
        setup_error_dialog_buttons(builder, button_box, error, HIDE_BUTTON_FLAG, no_action,
                                   ok_label, no_action);
        break;
    case 3:
        setup_error_dialog_buttons(builder, button_box, error, IDS_RETRY, RET, IDS_CANCEL, CCL);
        break;
    case 4:
    case 5:
        setup_error_dialog_buttons(builder, button_box, error, ok_label, RES, IDS_CANCEL, CCL);
        break;
    default:
        setup_error_dialog_buttons(builder, button_box, error, HIDE_BUTTON_FLAG, no_action,
                                   IDS_CANCEL, CCL);
        break;
    }
}

std::string find_display_text(int error_code) {
    std::string title_text;
    std::string body_text;
    const auto error_strings = looked_up_printer_error_strings(error_code);
    if (error_strings.printer_error_code != 0 || error_strings.title_text_message_id != 0 ||
        error_strings.body_text_message_id != 0) {
        title_text = get_utf8_message_text(error_strings.title_text_message_id);
        body_text = get_utf8_message_text(error_strings.body_text_message_id);
    } else {
        // A code without texts of its own may still be the id of a title.
        title_text = get_utf8_message_text(error_code);
    }
    return title_text + "\n\n" + body_text;
}

// The image, scaled so that its dominant side takes 5 % of the same side of the screen; a new
// reference for the caller, or null when the file cannot be read.
GdkPixbuf* get_icon(const std::string& file_name) {
    GError* load_error = nullptr;
    GtkReleaser fresh_icon_releaser;
    auto* fresh_icon =
        fresh_icon_releaser.set(gdk_pixbuf_new_from_file(file_name.c_str(), &load_error));
    if (fresh_icon == nullptr) {
        const std::string message = load_error->message;
        g_clear_error(&load_error);
        GUI_LOG(NORMAL, "failed to load file " << file_name << ": " << message);
        return nullptr;
    }
    const int screen_width = gdk_screen_width();
    const int screen_height = gdk_screen_height();
    const int base_icon_width = gdk_pixbuf_get_width(fresh_icon);
    const int base_icon_height = gdk_pixbuf_get_height(fresh_icon);
    const double base_icon_fraction_of_screen_width =
        static_cast<double>(base_icon_width) / screen_width;
    const double base_icon_fraction_of_screen_height =
        static_cast<double>(base_icon_height) / screen_height;
    const double target_icon_fraction_of_screen = 0.05;
    const double icon_scale_factor =
        base_icon_fraction_of_screen_width > base_icon_fraction_of_screen_height
            ? target_icon_fraction_of_screen / base_icon_fraction_of_screen_width
            : target_icon_fraction_of_screen / base_icon_fraction_of_screen_height;
    const double scaled_width = base_icon_width * icon_scale_factor;
    const double scaled_height = base_icon_height * icon_scale_factor;
    auto* result = gdk_pixbuf_scale_simple(fresh_icon, static_cast<int>(scaled_width),
                                           static_cast<int>(scaled_height), GDK_INTERP_HYPER);
    GUI_LOG(NORMAL, "scaling input=" << static_cast<const void*>(fresh_icon)
                                     << " result=" << static_cast<const void*>(result)
                                     << " scale_factor=" << icon_scale_factor);
    return result;
}

// The handler of "delete-event". Window managers and task bars ask even a window without a close
// control to go; only its buttons and the service may end a box.
gboolean handle_error_box_delete_event(GtkWidget* box, GdkEvent* /*event*/, gpointer /*unused*/) {
    return g_object_get_data(G_OBJECT(box), CLOSING_KEY) == nullptr;
}

// The handler of "destroy": whatever ends a box, no pointer to it stays behind. Takes no lock: GTK
// may destroy a box with or without it.
void handle_error_box_destroy(GtkWidget* box, gpointer /*unused*/) {
    erase_presented_errors(box);
}

void guard_error_box(GtkWidget* box) {
    g_signal_connect(box, "delete-event", G_CALLBACK(handle_error_box_delete_event), nullptr);
    g_signal_connect(box, "destroy", G_CALLBACK(handle_error_box_destroy), nullptr);
}

void size_and_show_error_box(GtkWidget* window) {
    gtk_window_set_position(GTK_WINDOW(window), GTK_WIN_POS_CENTER);
    const int screen_width = gdk_screen_width();
    const int screen_height = gdk_screen_height();
    const int target_window_width = screen_width / 3;
    const int target_window_height = screen_height / 6;
    gtk_window_resize(GTK_WINDOW(window), target_window_width, target_window_height);
    gtk_widget_show_all(window);
}

// ---- The buttons --------------------------------------------------------------------------------

void setup_error_dialog_buttons(GtkBuilder* builder, GtkWidget* button_box,
                                const ZORPrinterError& error, int button1LabelKey,
                                int button1Action, int button2LabelKey, int button2Action) {
    setup_error_dialog_button(builder, button_box, "button1", button1LabelKey, error,
                              button1Action);
    setup_error_dialog_button(builder, button_box, "button2", button2LabelKey, error,
                              button2Action);
}

// Labels a button and gives it what it must do, or removes it.
void setup_error_dialog_button(GtkBuilder* builder, GtkWidget* button_box,
                               const std::string& button_name, int labelKey,
                               const ZORPrinterError& error, int command_code) {
    GUI_LOG(NORMAL, "begin; button_name=" << button_name << " labelKey=" << labelKey
                                          << " command_code=" << command_code);
    auto* button = GTK_BUTTON(gtk_builder_get_object(builder, button_name.c_str()));
    GUI_LOG(NORMAL, "button=" << static_cast<const void*>(button));
    if (labelKey == HIDE_BUTTON_FLAG) {
        gtk_container_remove(GTK_CONTAINER(button_box), GTK_WIDGET(button));
        GUI_LOG(NORMAL, "completed gtk_container_remove; button_box="
                            << static_cast<const void*>(button_box) << " button="
                            << static_cast<const void*>(button) << " name=" << button_name);
        return;
    }
    gtk_button_set_label(button, get_utf8_message_text(labelKey).c_str());
    button_click_info* spec = nullptr;
    CleanupHelper spec_cleanup([&spec] { delete spec; });
    spec = new button_click_info;
    const auto action_in_progress = spec->action_in_progress;
    std::unique_lock<std::mutex> locker(action_in_progress->mux);
    spec->error = error;
    spec->action_code = command_code;
    g_object_set_data_full(G_OBJECT(button), MY_BUTTON_CLICK_INFO_KEY.c_str(), spec,
                           delete_button_click_info);
    if (button == nullptr) {
        delete spec; // the Builder file lacks the button, so nobody else would ever free it
    }
    spec = nullptr; // the button owns it now
    GUI_LOG(NORMAL, "attached " << MY_BUTTON_CLICK_INFO_KEY << "=" << spec);
    g_signal_connect_data(button, "clicked", G_CALLBACK(handle_error_dialog_button_click), button,
                          nullptr, static_cast<GConnectFlags>(0));
}

void delete_button_click_info(void* raw) {
    auto* info = static_cast<button_click_info*>(raw);
    // The text of the address, taken while there is something at it.
    std::ostringstream address;
    address << static_cast<const void*>(info);
    GUI_LOG(NORMAL, "deleting button click info: " << address.str());
    if (info != nullptr) {
        delete info;
        GUI_LOG(NORMAL, "deleted button click info: " << address.str());
    }
}

// The handler of "clicked": sends the job command from a thread of its own, so that the main loop
// never waits for the service, and closes the box at once.
void handle_error_dialog_button_click(GtkApplication* /*app*/, gpointer raw_info) {
    GUI_LOG(NORMAL, "begin");
    auto* button = GTK_BUTTON(raw_info);
    const auto* click_info = static_cast<const button_click_info*>(
        g_object_get_data(G_OBJECT(button), MY_BUTTON_CLICK_INFO_KEY.c_str()));
    if (click_info == nullptr) {
        GUI_LOG(NORMAL, "no click_info");
        return;
    }
    start_action(*click_info);
    note_answer();
    {
        std::unique_lock<std::mutex> locker(global_gui_state.mux);
        auto* top = gtk_widget_get_toplevel(GTK_WIDGET(button));
        if (GTK_IS_WINDOW(top)) {
            global_gui_state.status_delivery.answered(click_info->error);
            close_error_box(top);
            erase_presented_errors(top);
        }
    }
    GUI_LOG(NORMAL, "end");
}

// Starts the job command of a button, unless its last one is still running.
void start_action(const button_click_info& click_info) {
    const auto action_in_progress_flag = click_info.action_in_progress;
    std::unique_lock<std::mutex> locker(action_in_progress_flag->mux);
    if (action_in_progress_flag->value) {
        return;
    }
    const auto error = click_info.error;
    const int action_code = click_info.action_code;
    action_in_progress_flag->value = true;
    auto worker = [action_in_progress_flag, error, action_code] {
        GUI_LOG(NORMAL, "starting action " << action_code);
        try {
            execute_printer_job_command(error.printer_name, error.printer_job_id, error.error_code,
                                        action_code);
        } catch (const std::exception& ex) {
            GUI_LOG(NORMAL, "printer job exception: " << ex.what());
            handle_failed_command();
        } catch (...) {
            GUI_LOG(NORMAL, "unexpected printer job exception");
            handle_failed_command();
        }
        std::unique_lock<std::mutex> flag_locker(action_in_progress_flag->mux);
        action_in_progress_flag->value = false;
        GUI_LOG(NORMAL, "finished action");
    };
    try {
        std::thread(std::move(worker)).detach();
    } catch (const std::system_error& ex) {
        action_in_progress_flag->value = false;
        locker.unlock(); // never one of these locks inside the other
        GUI_LOG(NORMAL, "failed to start action " << action_code << ": " << ex.what());
        handle_failed_command();
    }
}

// The box is gone and the answer is lost: the service is asked what is open, so that the box comes
// back if its error is.
void handle_failed_command() {
    GUIStateLocker locker;
    global_gui_state.status_delivery.command_failed();
}

gboolean destroy_error_box(gpointer box) {
    if (gtk_widget_get_realized(GTK_WIDGET(box))) {
        gtk_widget_destroy(GTK_WIDGET(box));
    }
    return G_SOURCE_REMOVE;
}

// The one way in which the program closes a box. GTK is asked once: it queues a callback for each
// request, remembers only the last, and leaves the others to a window that is gone. While a menu is
// open anywhere it drops the request, so what is still there right behind it is destroyed.
void close_error_box(GtkWidget* box) {
    if (g_object_get_data(G_OBJECT(box), CLOSING_KEY) != nullptr) {
        return;
    }
    g_object_set_data(G_OBJECT(box), CLOSING_KEY, box);
    gtk_widget_set_sensitive(box, FALSE); // a click that is on its way is no second answer
    gtk_window_close(GTK_WINDOW(box));
    g_idle_add_full(G_PRIORITY_DEFAULT, destroy_error_box, g_object_ref(box), g_object_unref);
}

// Erases all entries that point to the box.
void erase_presented_errors(GtkWidget* box) {
    std::erase_if(global_gui_state.error_presentation_map, [box](const auto& entry) {
        return entry.second.presentation_message_box == box;
    });
}

} // namespace
