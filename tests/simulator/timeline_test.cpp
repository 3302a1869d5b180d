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
            m_done += name;
        };
        m_last = m_timeline.at(m_start + after, action, purpose);
    }

    const GMainContextPtr m_context{g_main_context_new()};
    int m_drained = 0;
    Timeline m_timeline{m_context.get(), counter()};
    const Timeline::Clock::time_point m_start = Timeline::Clock::now();
    Timeline::Ticket m_last;
    std::string m_done;

private:
    std::function<void()> counter() {
        return [this] {
            ++m_drained;
        };
    }
};

TEST_F(TimelineTest, RunsActionsAtTheirTimeAndInTheirOrder) {
    add(milliseconds(30), "d");
    add(milliseconds(0), "a");
    add(milliseconds(10), "b");
    add(milliseconds(10), "c");
    EXPECT_FALSE(m_timeline.empty());
    EXPECT_TRUE(turn_until(m_context.get(), [this] { return m_drained == 1; }));
    EXPECT_GE(Timeline::Clock::now() - m_start, milliseconds(30));
    EXPECT_EQ(m_done, "abcd");
    EXPECT_TRUE(m_timeline.empty());
}

TEST_F(TimelineTest, ForgetsWhatIsCancelled) {
    add(milliseconds(0), "a");
    m_timeline.cancel(m_last);
    EXPECT_TRUE(m_timeline.empty());
    add(milliseconds(0), "b");
    const Timeline::Ticket second = m_last;
    add(milliseconds(5), "c");
    m_timeline.cancel(second);
    m_timeline.cancel(second);
    EXPECT_TRUE(turn_until(m_context.get(), [this] { return m_drained == 1; }));
    EXPECT_EQ(m_done, "c");
    m_timeline.cancel(m_last);
    EXPECT_TRUE(m_timeline.empty());
}

TEST_F(TimelineTest, LetsOthersRunBesideWhatIsAlwaysDue) {
    int turns = 0;
    std::function<void()> again = [&] {
        if (++turns < 1000000) {
            m_timeline.at(Timeline::Clock::now(), again);
        }
    };
    again();
    bool other = false;
    const MainSource timer = MainSource::timer(m_context.get(), milliseconds(1), [&other] {
        other = true;
        return false;
    });
    EXPECT_TRUE(turn_until(m_context.get(), [&other] { return other; }));
    EXPECT_LT(turns, 1000000);
}

TEST_F(TimelineTest, DoesNotWaitForCompanions) {
    add(std::chrono::minutes(20), "never", Timeline::Purpose::companion);
    EXPECT_TRUE(m_timeline.empty());
    add(milliseconds(5), "a");
    EXPECT_FALSE(m_timeline.empty());
    EXPECT_TRUE(turn_until(m_context.get(), [this] { return m_drained == 1; }));
    EXPECT_EQ(m_done, "a");
}

} // namespace
} // namespace printer_simulator::test
