// What is taken in and what is quoted: every order of calls against a plain model, and what such
// an order cannot show.

#include "status_delivery.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::SizeIs;

ZORPrinterError make_error(const std::string& job = "17") {
    return {SHOW_ERROR, "Front Desk", job, "110", "Print ribbon out or missing.", "3", "0"};
}

ZORPrinterStatus make_status(const std::string& raw_text,
                             const std::vector<ZORPrinterError>& errors = {}) {
    return {raw_text, errors};
}

class StatusDeliveryTest : public testing::Test {
protected:
    // What the next request quotes; "nothing" for null.
    std::string ask() {
        const auto quoted = delivery.asked();
        return quoted == nullptr ? "nothing" : quoted->raw_status_text;
    }

    bool receive(const ZORPrinterStatus& status) {
        const bool is_taken_in = delivery.received(status);
        if (is_taken_in) {
            waiting = std::make_shared<ZORPrinterStatus>(status);
        }
        return is_taken_in;
    }

    std::shared_ptr<ZORPrinterStatus> waiting;
    StatusDelivery delivery{waiting};
};

TEST(IsSameError, LooksAtTheActionAndAllSixTexts) {
    const auto error = make_error();
    EXPECT_TRUE(is_same_error(error, make_error()));
    auto other_action = error;
    other_action.gui_action_code = REMOVE_ERROR;
    EXPECT_FALSE(is_same_error(error, other_action));
    for (const auto text : {&ZORPrinterError::printer_name, &ZORPrinterError::printer_job_id,
                            &ZORPrinterError::error_code, &ZORPrinterError::error_string,
                            &ZORPrinterError::error_severity, &ZORPrinterError::service_code}) {
        auto other = error;
        other.*text += "x";
        EXPECT_FALSE(is_same_error(error, other)) << other.*text;
    }
}

TEST_F(StatusDeliveryTest, QuotesWhatItTookIn) {
    EXPECT_EQ(ask(), "nothing");
    EXPECT_TRUE(receive(make_status("first")));
    EXPECT_EQ(ask(), "first");
    EXPECT_TRUE(receive(make_status("second")));
    EXPECT_EQ(ask(), "second");
}

TEST_F(StatusDeliveryTest, PutsAsideTheAnsweredErrorThatWasUnderWay) {
    ask();
    receive(make_status("first", {make_error()}));
    delivery.taken();
    EXPECT_EQ(ask(), "first");
    delivery.answered(make_error());
    EXPECT_FALSE(receive(make_status("again", {make_error()})));
    EXPECT_EQ(waiting, nullptr);
    EXPECT_EQ(ask(), "first") << "so that the service tells it again";
    EXPECT_TRUE(receive(make_status("again", {make_error()}))) << "told again, it is news";
    EXPECT_EQ(delivery.taken()->raw_status_text, "again");
    EXPECT_EQ(ask(), "again");
}

TEST_F(StatusDeliveryTest, TakesInOtherNewsThatWasUnderWay) {
    auto other_code = make_error();
    other_code.error_code = "111";
    auto removal = make_error();
    removal.gui_action_code = REMOVE_ERROR;
    for (const auto& error : {other_code, removal, make_error("18")}) {
        ask();
        delivery.answered(make_error());
        EXPECT_TRUE(receive(make_status("news", {error})));
        EXPECT_THAT(delivery.taken()->errors, SizeIs(1));
    }
}

TEST_F(StatusDeliveryTest, AStatusThatNobodyAskedForIsTakenInButNotQuoted) {
    delivery.answered(make_error());
    EXPECT_TRUE(receive(make_status("unasked", {make_error()})));
    EXPECT_EQ(ask(), "nothing");
}

TEST_F(StatusDeliveryTest, AnAnswerDropsExactlyTheSameErrorFromWhatWaits) {
    auto other_code = make_error();
    other_code.error_code = "111";
    waiting = std::make_shared<ZORPrinterStatus>(
        make_status("waiting", {make_error(), other_code, make_error("18")}));
    delivery.answered(make_error());
    ASSERT_THAT(waiting->errors, SizeIs(2));
    EXPECT_EQ(waiting->errors[0].error_code, "111");
    EXPECT_EQ(waiting->errors[1].printer_job_id, "18");
    delivery.answered(other_code);
    delivery.answered(make_error("18"));
    EXPECT_EQ(waiting, nullptr);
}

// ---- Every order of calls -----------------------------------------------------------------------

enum class Call {
    ASKED,
    RECEIVED_ERROR,   // the one that is answered
    RECEIVED_OTHER,   // another code of the same job
    RECEIVED_REMOVAL, // of the first one
    RECEIVED_IDLE,
    EXCHANGE_FAILED,
    TAKEN,
    ANSWERED,
    COMMAND_FAILED,
};

const std::vector<const char*> CALL_NAMES = {"asked",
                                             "received the error",
                                             "received another",
                                             "received its removal",
                                             "received no error",
                                             "exchange failed",
                                             "taken",
                                             "answered",
                                             "command failed"};

bool is_reply(Call call) {
    return call >= Call::RECEIVED_ERROR && call <= Call::RECEIVED_IDLE;
}

bool ends_exchange(Call call) {
    return is_reply(call) || call == Call::EXCHANGE_FAILED;
}

// Looks back over the calls so far, and keeps nothing in between.
class PlainModel {
public:
    explicit PlainModel(const std::vector<Call>& calls) : m_calls(calls) {}

    // Whether a request is under way behind the first `end` calls.
    bool is_under_way(std::size_t end) const {
        for (auto i = end; i-- > 0;) {
            if (m_calls[i] == Call::ASKED || ends_exchange(m_calls[i])) {
                return m_calls[i] == Call::ASKED;
            }
        }
        return false;
    }

    // Whether the reply at this place is put aside.
    bool is_put_aside(std::size_t reply) const {
        if (m_calls[reply] != Call::RECEIVED_ERROR) {
            return false;
        }
        for (auto i = reply; m_calls[--i] != Call::ASKED;) {
            if (m_calls[i] == Call::ANSWERED) {
                return true;
            }
        }
        return false;
    }

    // The place of the reply that waits for the tick behind the first `end` calls, or `end`.
    std::size_t find_waiting(std::size_t end) const {
        bool is_answered = false;
        for (auto i = end; i-- > 0;) {
            if (m_calls[i] == Call::TAKEN) {
                return end;
            }
            is_answered |= m_calls[i] == Call::ANSWERED;
            if (is_reply(m_calls[i]) && !is_put_aside(i)) {
                return is_answered && m_calls[i] == Call::RECEIVED_ERROR ? end : i;
            }
        }
        return end;
    }

    // The place of the reply that the request at this place quotes, or that of the request itself.
    std::size_t find_quoted(std::size_t request) const {
        for (auto i = request; i-- > 0;) {
            if (m_calls[i] == Call::COMMAND_FAILED || m_calls[i] == Call::EXCHANGE_FAILED) {
                return request;
            }
            if (is_reply(m_calls[i])) {
                const auto asked = find_request_before(i);
                for (auto k = asked; k < i; ++k) {
                    if (m_calls[k] == Call::COMMAND_FAILED) {
                        return request;
                    }
                }
                if (!is_put_aside(i)) {
                    return i;
                }
                const auto quoted = find_quoted(asked);
                return quoted == asked ? request : quoted;
            }
        }
        return request;
    }

private:
    std::size_t find_request_before(std::size_t place) const {
        while (m_calls[--place] != Call::ASKED) {
        }
        return place;
    }

    const std::vector<Call>& m_calls;
};

// The class under test, with each reply's place as its text.
class EveryOrderTest : public testing::Test {
protected:
    static ZORPrinterStatus make_reply(Call call, std::size_t place) {
        auto error = make_error();
        if (call == Call::RECEIVED_OTHER) {
            error.error_code = "111";
        } else if (call == Call::RECEIVED_REMOVAL) {
            error.gui_action_code = REMOVE_ERROR;
        }
        auto status = make_status(std::to_string(place));
        if (call != Call::RECEIVED_IDLE) {
            status.errors.push_back(error);
        }
        return status;
    }

    static std::string text_of(const std::shared_ptr<const ZORPrinterStatus>& status) {
        return status == nullptr ? "none" : status->raw_status_text;
    }

    // Runs the calls on a fresh object; the first difference from the model, or the empty text.
    std::string find_difference() const {
        std::shared_ptr<ZORPrinterStatus> waiting;
        StatusDelivery delivery(waiting);
        const PlainModel model(m_calls);
        const auto compare = [](const std::string& what, const std::string& real,
                                std::size_t expected, std::size_t none) {
            const auto wanted = expected == none ? "none" : std::to_string(expected);
            return real == wanted ? "" : what + " must be " + wanted + ", but is " + real;
        };
        for (std::size_t i = 0; i < m_calls.size(); ++i) {
            std::string difference;
            if (m_calls[i] == Call::ASKED) {
                difference =
                    compare("what is quoted", text_of(delivery.asked()), model.find_quoted(i), i);
            } else if (is_reply(m_calls[i])) {
                const auto status = make_reply(m_calls[i], i);
                const bool is_taken_in = delivery.received(status);
                if (is_taken_in == model.is_put_aside(i)) {
                    difference = is_taken_in ? "is not put aside" : "is put aside";
                }
                if (is_taken_in) {
                    waiting = std::make_shared<ZORPrinterStatus>(status);
                }
            } else if (m_calls[i] == Call::EXCHANGE_FAILED) {
                delivery.exchange_failed();
            } else if (m_calls[i] == Call::TAKEN) {
                difference =
                    compare("what is taken", text_of(delivery.taken()), model.find_waiting(i), i);
            } else if (m_calls[i] == Call::ANSWERED) {
                delivery.answered(make_error());
            } else {
                delivery.command_failed();
            }
            const auto waiting_place = model.find_waiting(i + 1);
            if (difference.empty()) {
                difference = compare("what waits", text_of(waiting), waiting_place, i + 1);
            }
            const bool may_ask =
                waiting_place == i + 1 || m_calls[waiting_place] == Call::RECEIVED_IDLE;
            if (difference.empty() && delivery.may_ask() != may_ask) {
                difference = may_ask ? "may not ask" : "may ask";
            }
            if (!difference.empty()) {
                return difference + describe(i + 1);
            }
        }
        return "";
    }

    std::string describe(std::size_t end) const {
        std::string text = ", after";
        for (std::size_t i = 0; i < end; ++i) {
            text +=
                std::string(i == 0 ? " " : ", ") + CALL_NAMES[static_cast<std::size_t>(m_calls[i])];
        }
        return text;
    }

    // Every order of so many calls more in which the I/O thread ends what it begins, and asks only
    // when it may.
    void run_all(std::size_t more) {
        if (HasFatalFailure()) {
            return;
        }
        if (more == 0) {
            ++m_orders;
            ASSERT_EQ(find_difference(), "");
            return;
        }
        const PlainModel model(m_calls);
        const auto end = m_calls.size();
        const bool is_under_way = model.is_under_way(end);
        const auto waiting = model.find_waiting(end);
        const bool may_ask = waiting == end || m_calls[waiting] == Call::RECEIVED_IDLE;
        for (const auto call : {Call::ASKED, Call::RECEIVED_ERROR, Call::RECEIVED_OTHER,
                                Call::RECEIVED_REMOVAL, Call::RECEIVED_IDLE, Call::EXCHANGE_FAILED,
                                Call::TAKEN, Call::ANSWERED, Call::COMMAND_FAILED}) {
            if ((call == Call::ASKED && (is_under_way || !may_ask)) ||
                (ends_exchange(call) && !is_under_way)) {
                continue;
            }
            m_calls.push_back(call);
            run_all(more - 1);
            m_calls.pop_back();
        }
    }

    std::vector<Call> m_calls;
    std::size_t m_orders = 0;
};

TEST_F(EveryOrderTest, GoesAsThePlainModelSays) {
    run_all(8);
    EXPECT_GT(m_orders, 100000U);
}

} // namespace
