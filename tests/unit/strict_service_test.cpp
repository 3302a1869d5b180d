// Random histories of the shell with the strictest service: it keeps its events in order, tells
// each one once, as the event after the one that a request quotes, and never repeats what is open.
//
// Once such a service is quiet and some polls have passed, the boxes on the screen must be exactly
// the errors that it has open, whatever happened before: replies that were under way for several
// steps, bursts of events between two ticks, commands that fail.
//
// ZOR_MODEL_HISTORIES sets how many histories of each kind run (25), ZOR_MODEL_SEED the seed of
// the first one (1); each later one has the next seed. ZOR_MODEL_STEPS is the length of each (60).

#include <optional>
#include <random>
#include <set>

#include "printer_model.h"
#include "shell_support.h"

namespace {

// ---- The service --------------------------------------------------------------------------------

// What the simulated service knows when it is at its strictest.
class StrictHistory {
public:
    StrictHistory() { m_model.set_retelling(false); }

    // Reports an error, also one of a job that has an error already.
    void show(const std::string& job, const std::string& code) {
        if (const auto open = find_code(job); !open) {
            m_changed_in_place.erase(job);
        } else if (*open != code) {
            m_changed_in_place.insert(job);
        }
        m_model.publish_error({"P", job, code, "3", "", "0"});
    }

    // What is no longer open is left alone.
    void show_again(const std::string& job, const std::string& code) {
        if (find_code(job)) {
            show(job, code);
        }
    }

    void withdraw(const std::string& job) { m_model.clear("P", job); }

    // The reply to the text of a status request, as long as nothing else happens.
    printer_simulator::StatusReply choose_reply(const std::string& request) {
        return m_model.choose_reply(
            std::string_view(request).substr(printer_simulator::STATUS_REQUEST.size()));
    }

    void reply_sent(const printer_simulator::StatusReply& reply) { m_model.reply_sent(reply); }

    printer_simulator::EventNumber count_events() const { return m_model.newest_event(); }

    // Job and code of what is open; the code is left out where a box was not to be refreshed.
    std::set<std::string> describe_open() const {
        std::set<std::string> open;
        for (const auto& [error, number] : m_model.open_errors()) {
            open.insert(error.job + " " + describe_code(error.job, error.code));
        }
        return open;
    }

    std::string describe_code(const std::string& job, const std::string& code) const {
        return m_changed_in_place.count(job) > 0 ? "any" : code;
    }

private:
    std::optional<std::string> find_code(const std::string& job) const {
        for (const auto& [error, number] : m_model.open_errors()) {
            if (error.job == job) {
                return error.code;
            }
        }
        return std::nullopt;
    }

    printer_simulator::PrinterModel m_model;
    std::set<std::string> m_changed_in_place;
};

// ---- Steps --------------------------------------------------------------------------------------

enum class Action {
    SHOW,           // the service reports an error
    WITHDRAW,       // and withdraws one
    POLL,           // the I/O thread ends its rest
    REPLY,          // the request under way is answered with the next event as it is now
    REPLY_LATE,     // or as it was when the request came
    BREAK_REPLY,    // or not at all: its connection ends
    TICK,           //
    ANSWER,         // the person presses a button
    CARRY_OUT,      // the oldest job command succeeds
    CARRY_OUT_MUTE, // the same, but its reply is lost
    LOSE_COMMAND,   // its connection ends before the service has read it
    FAIL_AGAIN,     // it arrives, but the job fails again, with the same error or another
    QUIET,          // nothing more happens, some polls pass: boxes and open errors must agree
};

const char* name_of(Action action) {
    static const char* const names[] = {
        "show", "withdraw", "poll",      "reply",           "reply late",   "break the reply",
        "tick", "answer",   "carry out", "carry out, mute", "lose command", "fail again",
        "quiet"};
    return names[static_cast<int>(action)];
}

struct Step {
    Action action = Action::TICK;
    std::string job;
    std::string code;
};

// Which steps a kind of history is made of, each as often as it stands here.
struct Kind {
    const char* name;
    std::vector<Action> actions;
    bool ticks_after_each_reply;
    bool answers_only_at_rest;
};

const std::vector<Action> NEWS = {Action::SHOW, Action::SHOW, Action::SHOW, Action::WITHDRAW};

std::vector<Action> operator+(std::vector<Action> left, const std::vector<Action>& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const std::vector<Action> POLLING = {Action::POLL,  Action::POLL,       Action::REPLY,
                                     Action::REPLY, Action::REPLY_LATE, Action::TICK};
const Kind LATE_NEWS{"late news",
                     {Action::SHOW, Action::POLL, Action::POLL, Action::POLL, Action::REPLY,
                      Action::REPLY_LATE, Action::ANSWER, Action::ANSWER, Action::FAIL_AGAIN,
                      Action::FAIL_AGAIN, Action::CARRY_OUT},
                     true,
                     false};
const Kind BURSTS{"bursts", NEWS + NEWS + POLLING + POLLING, false, false};
const Kind LOST_ANSWERS{
    "lost answers",
    NEWS + POLLING +
        std::vector{Action::ANSWER, Action::ANSWER, Action::CARRY_OUT_MUTE, Action::LOSE_COMMAND},
    true, true};
const Kind ALL{"all",
               NEWS + POLLING +
                   std::vector{Action::BREAK_REPLY, Action::ANSWER, Action::ANSWER,
                               Action::CARRY_OUT, Action::FAIL_AGAIN, Action::CARRY_OUT_MUTE,
                               Action::LOSE_COMMAND},
               false, false};

std::vector<Step> make_history(const Kind& kind, std::uint64_t seed, std::size_t length) {
    std::mt19937_64 random(seed);
    std::vector<Step> history;
    while (history.size() < length) {
        Step step;
        step.action = Action::QUIET;
        if (history.size() % 15 != 14) {
            step.action = kind.actions[static_cast<std::size_t>(random() % kind.actions.size())];
        }
        step.job = std::to_string(random() % 3);
        step.code = random() % 2 == 0 ? "110" : "111";
        history.push_back(step);
    }
    history.back().action = Action::QUIET;
    return history;
}

// ---- The shell with its I/O thread --------------------------------------------------------------

class StrictServiceTest : public ShellTest {
protected:
    void SetUp() override {
        ShellTest::SetUp();
        ConfigFile::write(""); // the log is not what this is about
        data.make_icons_small();
        start_service();
        service->let_requests_wait();
        if (s_turnstile == nullptr) {
            start_io_thread();
        }
    }

    void run_kind(const Kind& kind) {
        const auto first_seed = read_environment("ZOR_MODEL_SEED", 1);
        const auto count = read_environment("ZOR_MODEL_HISTORIES", 25);
        const auto steps = read_environment("ZOR_MODEL_STEPS", 60);
        for (auto seed = first_seed; seed < first_seed + count && !HasFailure(); ++seed) {
            run_history(kind, make_history(kind, seed, static_cast<std::size_t>(steps)), seed);
        }
    }

private:
    // One for the whole process: it never ends. Its first request comes at once.
    void start_io_thread() {
        s_turnstile = &Turnstile::make();
        rest = [](gulong) {
            s_turnstile->pass();
        };
        expect_threads_to_stay(1);
        std::thread([] {
            printer_io_thread_proc(std::make_shared<std::mutex>(),
                                   std::make_shared<std::vector<ZORPrinterError>>());
        }).detach();
        service->wait_for_requests(1);
        m_status_request = 0;
    }

    void run_history(const Kind& kind, const std::vector<Step>& history, std::uint64_t seed) {
        break_reply();
        poll();
        break_reply(); // so that the next request quotes nothing of the last history
        m_history = StrictHistory{};
        std::string told;
        for (std::size_t i = 0; i < history.size(); ++i) {
            const auto& step = history[i];
            told += std::string("\n  ") + std::to_string(i + 1) + ". " + name_of(step.action) +
                    " job " + step.job + " code " + step.code;
            apply(kind, step);
            if (step.action == Action::QUIET) {
                ASSERT_EQ(describe_boxes(), m_history.describe_open())
                    << kind.name << ": seed " << seed << " fails at step " << i + 1 << ":" << told;
            }
        }
        end_history();
    }

    void apply(const Kind& kind, const Step& step) {
        switch (step.action) {
        case Action::SHOW:
            m_history.show(step.job, step.code);
            break;
        case Action::WITHDRAW:
            m_history.withdraw(step.job);
            break;
        case Action::POLL:
            poll();
            break;
        case Action::REPLY:
        case Action::REPLY_LATE:
            if (m_status_request) {
                reply(step.action == Action::REPLY_LATE);
                if (kind.ticks_after_each_reply) {
                    tick();
                }
            }
            break;
        case Action::BREAK_REPLY:
            break_reply();
            break;
        case Action::TICK:
            tick();
            break;
        case Action::ANSWER:
            if (!kind.answers_only_at_rest || !m_status_request) {
                answer("P:::" + step.job);
            }
            break;
        case Action::QUIET:
            come_to_rest();
            break;
        default:
            end_oldest_command(step);
            break;
        }
    }

    // Lets the I/O thread go through its rest; afterwards its request is there, or it rests again.
    void poll() {
        if (m_status_request) {
            return;
        }
        const auto requests = service->count_requests();
        s_turnstile->let_one_pass();
        ASSERT_TRUE(wait_until([this, requests] {
            return service->count_requests() > requests || s_turnstile->count_arrivals() > s_rests;
        }));
        if (s_turnstile->count_arrivals() > s_rests) {
            ++s_rests; // it did not ask
            return;
        }
        m_status_request = requests;
        m_request_text = service->requests()[requests];
        m_late_reply = m_history.choose_reply(m_request_text);
    }

    void reply(bool late) {
        const auto reply = late ? m_late_reply : m_history.choose_reply(m_request_text);
        service->reply_to_request(*m_status_request, reply.text);
        m_history.reply_sent(reply);
        wait_for_rest();
    }

    void break_reply() {
        if (m_status_request) {
            service->hang_up_on_request(*m_status_request);
            wait_for_rest();
        }
    }

    void wait_for_rest() {
        m_status_request.reset();
        ASSERT_TRUE(s_turnstile->wait_for_arrivals(++s_rests));
    }

    static void tick() {
        timer_tick(nullptr);
        run_main_loop_until_idle();
    }

    void answer(const std::string& key) {
        const auto presented = global_gui_state.error_presentation_map.find(key);
        if (presented == global_gui_state.error_presentation_map.end()) {
            return;
        }
        const auto job = presented->second.error.printer_job_id;
        const auto requests = service->count_requests();
        click(presented->second.presentation_message_box, "Retry");
        run_main_loop_until_idle();
        service->wait_for_requests(requests + 1);
        m_commands.push_back({requests, job});
    }

    void end_oldest_command(const Step& step) {
        if (m_commands.empty()) {
            return;
        }
        const auto command = m_commands.front();
        m_commands.erase(m_commands.begin());
        const auto workers = StandardThreads::alive();
        if (step.action == Action::FAIL_AGAIN) {
            m_history.show_again(command.job, step.code);
        } else if (step.action != Action::LOSE_COMMAND) {
            m_history.withdraw(command.job);
        }
        if (step.action == Action::LOSE_COMMAND || step.action == Action::CARRY_OUT_MUTE) {
            service->hang_up_on_request(command.request);
        } else {
            service->reply_to_request(command.request, "");
        }
        ASSERT_TRUE(wait_until([workers] { return StandardThreads::alive() < workers; }));
    }

    // All that is under way ends well, and polls pass until all events are told.
    void come_to_rest() {
        while (!m_commands.empty()) {
            end_oldest_command({Action::CARRY_OUT, "", ""});
        }
        int idle_polls = 0;
        for (std::uint64_t round = 0; round < 3 * m_history.count_events() + 10; ++round) {
            poll();
            if (m_status_request) {
                idle_polls = m_history.choose_reply(m_request_text).event != 0 ? 0 : idle_polls + 1;
                reply(false);
            }
            tick();
            if (idle_polls == 3) {
                return;
            }
        }
    }

    std::set<std::string> describe_boxes() const {
        std::set<std::string> boxes;
        for (const auto& [key, info] : global_gui_state.error_presentation_map) {
            const auto& job = info.error.printer_job_id;
            boxes.insert(job + " " + m_history.describe_code(job, info.error.error_code));
        }
        EXPECT_EQ(list_boxes().size(), boxes.size());
        return boxes;
    }

    void end_history() {
        break_reply();
        for (auto* box : list_boxes()) {
            gtk_widget_destroy(box);
        }
        run_main_loop_until_idle();
    }

    struct Command {
        std::size_t request;
        std::string job;
    };

    static inline Turnstile* s_turnstile = nullptr; // where the I/O thread rests
    static inline int s_rests = 0;                  // how often it came there
    StrictHistory m_history;
    std::vector<Command> m_commands;             // those that run, oldest first
    std::optional<std::size_t> m_status_request; // the number of the one that is under way
    std::string m_request_text;
    printer_simulator::StatusReply m_late_reply;
};

TEST_F(StrictServiceTest, NewsThatIsUnderWayAtAnAnswerIsNotLost) {
    run_kind(LATE_NEWS);
}

TEST_F(StrictServiceTest, NewsInABurstIsNotLost) {
    run_kind(BURSTS);
}

TEST_F(StrictServiceTest, AnErrorWhoseAnswerWasLostComesBack) {
    run_kind(LOST_ANSWERS);
}

TEST_F(StrictServiceTest, TheBoxesAreTheOpenErrorsWhateverHappened) {
    run_kind(ALL);
}

} // namespace
