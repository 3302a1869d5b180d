// Random histories of the shell against a plain model of it.
//
// A history is a list of steps: statuses, ticks, clicks, requests of the window manager, windows
// destroyed from outside, and so on. Each step is done with the real shell, GTK and a service, and
// told to the model; then the presented errors, the boxes on the screen and the commands sent must
// be the same. A history that fails is shrunk and printed.
//
// ZOR_MODEL_HISTORIES sets how many histories run (60), ZOR_MODEL_SEED the seed of the first one
// (1); each later one has the next seed. ZOR_MODEL_STEPS is the length of each (200).

#include <iostream>
#include <optional>
#include <random>
#include <sstream>

#include "shell_support.h"

namespace {

// ---- Steps --------------------------------------------------------------------------------------

enum class Action {
    ASK,                  // the I/O thread asks for a status
    REPORT,               // it hands one over, asked for or not
    TICK,                 //
    CLICK,                // on a button of a box
    CLICK_WITHOUT_THREAD, // the same, but the system has no thread to give
    DELETE_REQUEST,       // the window manager wants a box gone
    DESTROY,              // a box is destroyed from outside
    DESTROY_UNDER_LOCK,   // and while the shell's lock is held
    LOSE_BUILDER_FILE,    //
    FIND_BUILDER_FILE,    //
    SERVICE_ANSWERS,      // all commands that run come to their end
    ACTIVATE,             // the program was started once more
};

struct Step {
    Action action = Action::TICK;
    std::vector<ZORPrinterError> errors; // REPORT
    std::string key;                     // for the steps that meet a box: that of its error
    bool oldest = false;                 // of several boxes of the error, the one met
    std::size_t button = 0;              // from the left, counted around
    bool comes_to_rest = true;           // the main loop runs until nothing is left to do
};

std::string describe(const Step& step) {
    static const char* const names[] = {"ask",
                                        "report",
                                        "tick",
                                        "click",
                                        "click without thread",
                                        "delete request",
                                        "destroy",
                                        "destroy under lock",
                                        "lose the Builder file",
                                        "find the Builder file",
                                        "service answers",
                                        "activate"};
    std::string text = names[static_cast<int>(step.action)];
    for (const auto& error : step.errors) {
        text += (error.gui_action_code == SHOW_ERROR ? " show " : " remove ") +
                create_error_key(error) + " severity " + error.error_severity;
    }
    return text + "; " + (step.oldest ? "oldest" : "newest") + " box of " + step.key + " button " +
           std::to_string(step.button) + (step.comes_to_rest ? "" : ", and in the same instant");
}

// ---- The generator ------------------------------------------------------------------------------

class Generator {
public:
    explicit Generator(std::uint64_t seed) : m_random(seed) {}

    std::vector<Step> make_history(std::size_t length) {
        std::vector<Step> history(length);
        for (auto& step : history) {
            step = make_step();
        }
        make_double_clicks(history);
        return history;
    }

private:
    // Of 0 to count - 1.
    std::size_t choose(std::size_t count) { return static_cast<std::size_t>(m_random() % count); }

    bool happens(unsigned percent) { return choose(100) < percent; }

    Action choose_action() {
        static const std::pair<Action, std::size_t> weights[] = {
            {Action::ASK, 8},
            {Action::REPORT, 26},
            {Action::TICK, 26},
            {Action::CLICK, 18},
            {Action::CLICK_WITHOUT_THREAD, 2},
            {Action::DELETE_REQUEST, 5},
            {Action::DESTROY, 3},
            {Action::DESTROY_UNDER_LOCK, 2},
            {Action::LOSE_BUILDER_FILE, 2},
            {Action::FIND_BUILDER_FILE, 4},
            {Action::SERVICE_ANSWERS, 3},
            {Action::ACTIVATE, 1},
        };
        auto rest_of_weight = choose(100);
        for (const auto& [action, weight] : weights) {
            if (rest_of_weight < weight) {
                return action;
            }
            rest_of_weight -= weight;
        }
        throw std::logic_error("the weights are no hundred");
    }

    ZORPrinterError choose_error() {
        static const std::string printers[] = {"A", "B", "C"};
        static const std::string jobs[] = {"1", "2"};
        static const std::string severities[] = {"0", "1", "3", "4", "6"};
        return make_error(printers[choose(3)], jobs[choose(2)], severities[choose(5)],
                          happens(60) ? SHOW_ERROR : REMOVE_ERROR);
    }

    Step make_step() {
        Step step;
        step.action = choose_action();
        if (step.action == Action::REPORT) {
            step.errors.resize(choose(5));
            for (auto& error : step.errors) {
                error = choose_error();
            }
        }
        // Often the same box again.
        if (!happens(40)) {
            m_key = create_error_key(choose_error());
            m_button = choose(2);
        }
        step.key = m_key;
        step.button = m_button;
        step.oldest = happens(50);
        step.comes_to_rest = happens(70);
        return step;
    }

    // Sometimes a click comes twice before the main loop runs, and sometimes its command ends in
    // between.
    void make_double_clicks(std::vector<Step>& history) {
        for (std::size_t i = 0; i + 2 < history.size(); ++i) {
            const auto action = history[i].action;
            if ((action != Action::CLICK && action != Action::CLICK_WITHOUT_THREAD) ||
                !happens(20)) {
                continue;
            }
            auto again = history[i];
            again.action = Action::CLICK;
            history[i].comes_to_rest = false;
            if (happens(50)) {
                ++i;
                history[i].action = Action::SERVICE_ANSWERS;
                history[i].comes_to_rest = false;
            }
            history[++i] = again;
        }
    }

    std::mt19937_64 m_random;
    std::string m_key = "A:::1";
    std::size_t m_button = 0;
};

// ---- The model ----------------------------------------------------------------------------------

struct ModelBox {
    ZORPrinterError error;
    bool presented = true;
    bool closing = false;
    bool running[2] = {false, false}; // the commands of its buttons

    std::string key() const { return error.printer_name + ":::" + error.printer_job_id; }

    std::string describe() const {
        return key() + " severity " + error.error_severity + (closing ? " closing" : "");
    }

    std::vector<int> action_codes() const {
        const int severity = std::stoi(error.error_severity);
        switch (severity) {
        case 3:
            return {102, 100};
        case 4:
        case 5:
            return {101, 100};
        default:
            return {100};
        }
    }
};

// What must be seen of the shell after a step; all sorted.
struct View {
    std::vector<std::string> presented;
    std::vector<std::string> boxes;
    std::vector<std::string> commands;
    int workers = 0;

    void sort() {
        for (auto* list : {&presented, &boxes, &commands}) {
            std::sort(list->begin(), list->end());
        }
    }
};

// What the shell must do, without threads, locks and windows.
class Model {
public:
    void apply(const Step& step) {
        switch (step.action) {
        case Action::ASK:
            if (!m_waiting || m_waiting->empty()) {
                m_answered_since_asked.emplace();
            }
            break;
        case Action::REPORT:
            if (!is_put_aside(step.errors)) {
                m_waiting = step.errors;
            }
            m_answered_since_asked.reset();
            break;
        case Action::TICK:
            tick();
            break;
        case Action::CLICK:
        case Action::CLICK_WITHOUT_THREAD:
            if (auto* box = find_box(step)) {
                click(*box, step.button, step.action == Action::CLICK);
            }
            break;
        case Action::DESTROY:
        case Action::DESTROY_UNDER_LOCK:
            if (const auto* box = find_box(step)) {
                m_boxes.erase(m_boxes.begin() + (box - m_boxes.data()));
            }
            break;
        case Action::LOSE_BUILDER_FILE:
        case Action::FIND_BUILDER_FILE:
            m_can_open = step.action == Action::FIND_BUILDER_FILE;
            break;
        case Action::SERVICE_ANSWERS:
            for (auto& box : m_boxes) {
                box.running[0] = box.running[1] = false;
            }
            break;
        case Action::DELETE_REQUEST:
        case Action::ACTIVATE:
            break;
        }
        if (step.comes_to_rest) {
            std::erase_if(m_boxes, [](const ModelBox& box) { return box.closing; });
        }
    }

    View view() const {
        View view;
        for (const auto& box : m_boxes) {
            view.boxes.push_back(box.describe());
            if (box.presented) {
                view.presented.push_back(box.key());
            }
        }
        view.commands = m_commands;
        view.workers = static_cast<int>(m_commands.size());
        view.sort();
        return view;
    }

private:
    ModelBox* find_presented(const std::string& key) {
        for (auto& box : m_boxes) {
            if (box.presented && box.key() == key) {
                return &box;
            }
        }
        return nullptr;
    }

    ModelBox* find_box(const Step& step) {
        ModelBox* found = nullptr;
        for (auto& box : m_boxes) {
            if (box.key() == step.key && (found == nullptr || !step.oldest)) {
                found = &box;
            }
        }
        return found;
    }

    void tick() {
        if (!m_waiting) {
            return;
        }
        const auto errors = *std::exchange(m_waiting, std::nullopt);
        std::vector<std::string> withdrawn;
        for (const auto& error : errors) {
            ModelBox box;
            box.error = error;
            const bool is_presented = find_presented(box.key()) != nullptr;
            if (error.gui_action_code == REMOVE_ERROR && is_presented) {
                withdrawn.push_back(box.key());
            } else if (error.gui_action_code == SHOW_ERROR && !is_presented && m_can_open) {
                m_boxes.push_back(box);
            }
        }
        for (const auto& key : withdrawn) {
            if (auto* box = find_presented(key)) {
                close(*box);
            }
        }
    }

    void click(ModelBox& box, std::size_t button, bool is_thread_to_be_had) {
        const auto codes = box.action_codes();
        button %= codes.size();
        if (!box.running[button] && is_thread_to_be_had) {
            box.running[button] = true;
            m_commands.push_back(make_command_text(box.error, codes[button]));
        }
        // What was waiting or under way is no later news of an error that is answered now.
        if (m_waiting) {
            std::erase_if(*m_waiting, [&box](const ZORPrinterError& error) {
                return is_same_error(error, box.error);
            });
        }
        if (m_answered_since_asked) {
            m_answered_since_asked->push_back(box.error);
        }
        close(box);
    }

    bool is_put_aside(const std::vector<ZORPrinterError>& errors) const {
        return m_answered_since_asked &&
               std::any_of(errors.begin(), errors.end(), [this](const ZORPrinterError& error) {
                   return std::any_of(m_answered_since_asked->begin(),
                                      m_answered_since_asked->end(),
                                      [&error](const ZORPrinterError& answered) {
                                          return is_same_error(error, answered);
                                      });
               });
    }

    static void close(ModelBox& box) {
        box.presented = false;
        box.closing = true;
    }

    std::vector<ModelBox> m_boxes; // oldest first
    std::optional<std::vector<ZORPrinterError>> m_waiting;
    std::optional<std::vector<ZORPrinterError>> m_answered_since_asked;
    bool m_can_open = true;
    std::vector<std::string> m_commands;
};

// ---- The real shell -----------------------------------------------------------------------------

constexpr const char* SERIAL_KEY = "test-serial";

// The shell from a fresh state on. The service holds back its replies, so that a command runs until
// a step lets it end.
class RealShell {
public:
    RealShell(const DataDirectory& data, GtkApplication* app) : m_data(data), m_app(app) {
        most_close_requests_of_one_window = 0;
        m_service.hold();
        m_workers_before = StandardThreads::started;
        m_alive_before = StandardThreads::alive();
    }

    ~RealShell() {
        answer();
        find_builder_file();
        for (auto* box : list_boxes()) {
            gtk_widget_destroy(box);
        }
        run_main_loop_until_idle();
        global_gui_state.error_presentation_map.clear();
        global_gui_state.new_printer_status.reset();
        forget_deliveries();
    }

    RealShell(const RealShell&) = delete;
    RealShell& operator=(const RealShell&) = delete;

    void apply(const Step& step) {
        do_action(step);
        if (step.comes_to_rest) {
            run_main_loop_until_idle();
            answer();
        }
        for (auto* box : list_boxes()) {
            if (serial_of(box) == 0) {
                g_object_set_data(G_OBJECT(box), SERIAL_KEY, GINT_TO_POINTER(++m_last_serial));
            }
        }
    }

    View view(std::size_t expected_commands) {
        View view;
        view.presented = presented_keys();
        for (auto* box : list_boxes()) {
            view.boxes.push_back(describe_box(box));
        }
        view.workers = StandardThreads::started - m_workers_before;
        // More workers than expected need no waiting: they tell enough.
        if (static_cast<std::size_t>(view.workers) == expected_commands) {
            wait_until([this, expected_commands] {
                return m_service.count_requests() >= expected_commands;
            });
        }
        view.commands = m_service.requests();
        view.sort();
        return view;
    }

    // What no step may ever bring about, or the empty text.
    std::string find_breach() {
        if (most_close_requests_of_one_window > 1) {
            return "GTK was asked more than once to close a window";
        }
        if (g_list_length(gtk_application_get_windows(m_app)) != m_app_windows_before) {
            return "the application has another number of windows";
        }
        const auto boxes = list_boxes();
        for (const auto& [key, info] : global_gui_state.error_presentation_map) {
            if (std::count(boxes.begin(), boxes.end(), info.presentation_message_box) == 0) {
                return "the box of " + key + " is gone, the pointer to it is not";
            }
        }
        const auto messages = GlibMessages::take();
        return messages.empty() ? "" : messages.front();
    }

private:
    static int serial_of(GtkWidget* box) {
        return GPOINTER_TO_INT(g_object_get_data(G_OBJECT(box), SERIAL_KEY));
    }

    static const ZORPrinterError& error_of(GtkWidget* box) {
        return find_click_info(list_buttons(box).front())->error;
    }

    static std::string describe_box(GtkWidget* box) {
        const auto& error = error_of(box);
        const std::string title = gtk_window_get_title(GTK_WINDOW(box));
        return title + ":::" + error.printer_job_id + " severity " + error.error_severity +
               (count_close_requests(box) > 0 ? " closing" : "");
    }

    static GtkWidget* find_box(const Step& step) {
        GtkWidget* found = nullptr;
        for (auto* box : list_boxes()) {
            if (create_error_key(error_of(box)) == step.key &&
                (found == nullptr || (serial_of(box) < serial_of(found)) == step.oldest)) {
                found = box;
            }
        }
        return found;
    }

    void do_action(const Step& step) {
        switch (step.action) {
        case Action::ASK:
            begin_status_exchange();
            break;
        case Action::REPORT:
            report(step.errors);
            break;
        case Action::TICK:
            timer_tick(nullptr);
            break;
        case Action::LOSE_BUILDER_FILE:
            if (std::filesystem::exists(m_data.builder_file())) {
                m_data.hide_builder_file();
            }
            break;
        case Action::FIND_BUILDER_FILE:
            find_builder_file();
            break;
        case Action::SERVICE_ANSWERS:
            answer();
            break;
        case Action::ACTIVATE:
            g_application_activate(G_APPLICATION(m_app));
            break;
        default:
            if (auto* box = find_box(step)) {
                do_action_on_box(step, box);
            }
            break;
        }
    }

    static void do_action_on_box(const Step& step, GtkWidget* box) {
        if (step.action == Action::DELETE_REQUEST) {
            send_delete_request(box);
        } else if (step.action == Action::DESTROY) {
            gtk_widget_destroy(box);
        } else if (step.action == Action::DESTROY_UNDER_LOCK) {
            GUIStateLocker locker;
            gtk_widget_destroy(box);
        } else {
            const auto buttons = list_buttons(box);
            StandardThreads::to_refuse = step.action == Action::CLICK_WITHOUT_THREAD ? 1 : 0;
            gtk_button_clicked(buttons[step.button % buttons.size()]);
            StandardThreads::to_refuse = 0;
        }
    }

    void find_builder_file() const {
        if (!std::filesystem::exists(m_data.builder_file())) {
            m_data.bring_builder_file_back();
        }
    }

    // Lets all commands end, flags included.
    void answer() {
        m_service.release();
        wait_until([this] { return StandardThreads::alive() <= m_alive_before; });
        m_service.hold();
    }

    const DataDirectory& m_data;
    GtkApplication* m_app;
    RecordingService m_service;
    int m_workers_before = 0;
    int m_alive_before = 0;
    unsigned m_app_windows_before = g_list_length(gtk_application_get_windows(m_app));
    int m_last_serial = 0;
};

// ---- Comparing ----------------------------------------------------------------------------------

struct Failure {
    std::size_t step = 0; // from 0
    std::string reason;
};

std::string join(const std::vector<std::string>& texts) {
    std::string joined;
    for (const auto& text : texts) {
        joined += (joined.empty() ? "[" : ", [") + text + "]";
    }
    return joined.empty() ? "nothing" : joined;
}

std::string compare(const char* what, const std::vector<std::string>& expected,
                    const std::vector<std::string>& real) {
    return expected == real
               ? ""
               : std::string(what) + " must be " + join(expected) + ", but are " + join(real);
}

// The first difference, or the empty text.
std::string find_difference(const View& expected, const View& real) {
    for (const auto& text : {compare("presented errors", expected.presented, real.presented),
                             compare("boxes", expected.boxes, real.boxes)}) {
        if (!text.empty()) {
            return text;
        }
    }
    if (expected.workers != real.workers) {
        return "threads started must be " + std::to_string(expected.workers) + ", but are " +
               std::to_string(real.workers);
    }
    return compare("commands", expected.commands, real.commands);
}

class ModelTest : public ShellTest {
protected:
    void SetUp() override {
        ShellTest::SetUp();
        // The log is not what this is about, and each line costs a look at the configuration.
        ConfigFile::write("");
        data.make_icons_small();
        rest = [turnstile = &m_turnstile](gulong) {
            turnstile->pass();
        };
        app = gtk_application_new(nullptr, G_APPLICATION_NON_UNIQUE);
        g_signal_connect(app, "activate", G_CALLBACK(initialize), nullptr);
        ASSERT_TRUE(g_application_register(G_APPLICATION(app), nullptr, nullptr));
        expect_threads_to_stay(2);
        g_application_activate(G_APPLICATION(app));
        ASSERT_TRUE(m_turnstile.wait_for_arrivals(2));
        run_main_loop_until_idle();
    }

    void TearDown() override {
        while (auto* windows = gtk_application_get_windows(app)) {
            gtk_widget_destroy(GTK_WIDGET(windows->data));
        }
        g_object_unref(app);
        ShellTest::TearDown();
    }

    std::optional<Failure> run(const std::vector<Step>& history) {
        RealShell shell(data, app);
        Model model;
        for (std::size_t i = 0; i < history.size(); ++i) {
            model.apply(history[i]);
            const auto expected = model.view();
            std::string reason;
            try {
                shell.apply(history[i]);
                reason = find_difference(expected, shell.view(expected.commands.size()));
            } catch (const std::exception& ex) {
                reason = std::string("thrown: ") + ex.what();
            }
            if (reason.empty()) {
                reason = shell.find_breach();
            }
            if (!reason.empty()) {
                return Failure{i, reason};
            }
        }
        return {};
    }

    // Leaves out each step without which the history fails too.
    std::vector<Step> shrink(std::vector<Step> history) {
        for (auto step = history.size(); step-- > 0;) {
            auto shorter = history;
            shorter.erase(shorter.begin() + static_cast<std::ptrdiff_t>(step));
            if (const auto failure = run(shorter)) {
                shorter.resize(failure->step + 1);
                history = shorter;
                step = std::min(step, history.size());
            }
        }
        return history;
    }

    std::string explain(std::vector<Step> history, const Failure& failure) {
        std::ostringstream text;
        text << "fails at step " << failure.step + 1 << ": " << failure.reason << "\n";
        history.resize(failure.step + 1);
        for (const auto& step : history = shrink(history)) {
            text << "  " << describe(step) << "\n";
        }
        const auto last_failure = run(history);
        text << (last_failure ? last_failure->reason : "which does not fail each time") << "\n";
        return text.str();
    }

    GtkApplication* app = nullptr;

private:
    Turnstile& m_turnstile = Turnstile::make();
};

TEST_F(ModelTest, RandomHistoriesGoAsTheModelSays) {
    const auto first_seed = read_environment("ZOR_MODEL_SEED", 1);
    const auto count = read_environment("ZOR_MODEL_HISTORIES", 60);
    const auto steps = read_environment("ZOR_MODEL_STEPS", 200);
    for (auto seed = first_seed; seed < first_seed + count; ++seed) {
        std::cout << "ZOR_MODEL_SEED=" << seed << std::endl; // also seen of one that dies or hangs
        const auto history = Generator(seed).make_history(static_cast<std::size_t>(steps));
        if (const auto failure = run(history)) {
            FAIL() << explain(history, *failure);
        }
    }
}

} // namespace
