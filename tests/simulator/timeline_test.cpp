#include "timeline.h"

#include <gtest/gtest.h>

#include "simulator_test_support.h"

namespace printer_simulator::test {
namespace {

using std::chrono::milliseconds;

class TimelineTest : public testing::Test {
protected:
    void add(milliseconds after, const std::string& name,
             Timeline::Purpose purpose = Timeline::Purpose::awaited) {
        const auto action = [this, name] {
            done_ += name;
        };
        last_ = timeline_.at(start_ + after, action, purpose);
    }
    bool turn_until(const std::function<bool()>& condition) {
        return wait_until([&] {
            g_main_context_iteration(context_.get(), FALSE);
            return condition();
        });
    }

    const GMainContextPtr context_{g_main_context_new()};
    int drained_ = 0;
    Timeline timeline_{context_.get(), counter()};
    const Timeline::Clock::time_point start_ = Timeline::Clock::now();
    Timeline::Ticket last_;
    std::string done_;

private:
    std::function<void()> counter() {
        return [this] {
            ++drained_;
        };
    }
};

TEST_F(TimelineTest, runs_actions_at_their_time_and_in_their_order) {
    add(milliseconds(30), "d");
    add(milliseconds(0), "a");
    add(milliseconds(10), "b");
    add(milliseconds(10), "c");
    EXPECT_FALSE(timeline_.empty());
    EXPECT_TRUE(turn_until([this] { return drained_ == 1; }));
    EXPECT_GE(Timeline::Clock::now() - start_, milliseconds(30));
    EXPECT_EQ(done_, "abcd");
    EXPECT_TRUE(timeline_.empty());
}

TEST_F(TimelineTest, forgets_what_is_cancelled) {
    add(milliseconds(0), "a");
    timeline_.cancel(last_);
    EXPECT_TRUE(timeline_.empty());
    add(milliseconds(0), "b");
    const Timeline::Ticket second = last_;
    add(milliseconds(5), "c");
    timeline_.cancel(second);
    timeline_.cancel(second);
    EXPECT_TRUE(turn_until([this] { return drained_ == 1; }));
    EXPECT_EQ(done_, "c");
    timeline_.cancel(last_);
    EXPECT_TRUE(timeline_.empty());
}

TEST_F(TimelineTest, lets_others_run_beside_what_is_always_due) {
    int turns = 0;
    std::function<void()> again = [&] {
        if (++turns < 1000000) {
            timeline_.at(Timeline::Clock::now(), again);
        }
    };
    again();
    bool other = false;
    const MainSource timer = MainSource::timer(context_.get(), milliseconds(1), [&other] {
        other = true;
        return false;
    });
    EXPECT_TRUE(turn_until([&other] { return other; }));
    EXPECT_LT(turns, 1000000);
}

TEST_F(TimelineTest, does_not_wait_for_companions) {
    add(std::chrono::minutes(20), "never", Timeline::Purpose::companion);
    EXPECT_TRUE(timeline_.empty());
    add(milliseconds(5), "a");
    EXPECT_FALSE(timeline_.empty());
    EXPECT_TRUE(turn_until([this] { return drained_ == 1; }));
    EXPECT_EQ(done_, "a");
}

} // namespace
} // namespace printer_simulator::test
