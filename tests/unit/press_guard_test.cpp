// Which presses count.

#include "press_guard.h"

#include <gtest/gtest.h>

namespace {

constexpr PressLimits LIMITS{400, 5, 8};
constexpr PointerMoment SHOWN{10000, 500, 300};

// The moment so much later, so far from there.
PointerMoment later(const PointerMoment& moment, std::int64_t milliseconds, double right = 0,
                    double down = 0) {
    return {moment.milliseconds + milliseconds, moment.x + right, moment.y + down};
}

bool counts(const PressGuard& guard, const PointerMoment& press,
            const std::optional<PointerMoment>& shown = std::nullopt) {
    return guard.find_objection(shown, press, LIMITS).empty();
}

TEST(PressGuard, APointerThatRestedSinceTheBoxCameDoesNotCount) {
    for (const int milliseconds : {0, 20, 80, 250, 399, 400}) {
        EXPECT_FALSE(counts({}, later(SHOWN, milliseconds), SHOWN)) << milliseconds;
    }
    EXPECT_EQ(PressGuard().find_objection(SHOWN, later(SHOWN, 20), LIMITS),
              "the box came up under the pointer");
}

TEST(PressGuard, CountsWhenTheDoubleClickTimeIsOver) {
    EXPECT_TRUE(counts({}, later(SHOWN, 401), SHOWN));
}

TEST(PressGuard, APressFromBeforeTheBoxCameDoesNotCount) {
    EXPECT_FALSE(counts({}, later(SHOWN, -30), SHOWN)) << "it waited in the queue";
}

TEST(PressGuard, ATremblingHandHasNotMoved) {
    EXPECT_FALSE(counts({}, later(SHOWN, 50, 8, -8), SHOWN));
    EXPECT_FALSE(counts({}, later(SHOWN, 50, -8, 8), SHOWN));
}

TEST(PressGuard, APointerThatMovedOntoTheButtonCountsAtOnce) {
    for (const auto& press : {later(SHOWN, 1, 8.5, 0), later(SHOWN, 1, 0, 8.5),
                              later(SHOWN, 1, -8.5, 0), later(SHOWN, 1, 0, -8.5)}) {
        EXPECT_TRUE(counts({}, press, SHOWN)) << press.x << " " << press.y;
    }
}

TEST(PressGuard, WhereThePointerWasMayBeUnknown) {
    EXPECT_TRUE(counts({}, later(SHOWN, 1)));
}

TEST(PressGuard, ASecondPressAtTheSamePlaceIsTheSecondHalfOfADoubleClick) {
    PressGuard guard;
    guard.answered(SHOWN);
    for (const int milliseconds : {0, 80, 320, 400}) {
        EXPECT_FALSE(counts(guard, later(SHOWN, milliseconds, 5, -5))) << milliseconds;
    }
    EXPECT_EQ(guard.find_objection(std::nullopt, later(SHOWN, 80), LIMITS),
              "second half of a double click");
    EXPECT_TRUE(counts(guard, later(SHOWN, 401)));
    EXPECT_TRUE(counts(guard, later(SHOWN, 80, 5.5, 0)));
    EXPECT_TRUE(counts(guard, later(SHOWN, 80, 0, -5.5)));
}

TEST(PressGuard, ABoxThatWasLongOnTheScreenIsProtectedFromTheSecondHalfToo) {
    PressGuard guard;
    guard.answered(later(SHOWN, 60000));
    EXPECT_FALSE(counts(guard, later(SHOWN, 60100), SHOWN));
}

TEST(PressGuard, ThirdClickIsJudgedByTheLastAnswer) {
    PressGuard guard;
    guard.answered(SHOWN);
    guard.answered(later(SHOWN, 1000, 100, 0));
    EXPECT_TRUE(counts(guard, later(SHOWN, 1100)));
    EXPECT_FALSE(counts(guard, later(SHOWN, 1100, 100, 0)));
}

TEST(PressGuard, ObeysTheDesktopsSettings) {
    const PressLimits slow_hand{900, 20, 30};
    PressGuard guard;
    guard.answered(SHOWN);
    EXPECT_NE(guard.find_objection(std::nullopt, later(SHOWN, 800, 20, 0), slow_hand), "");
    EXPECT_NE(PressGuard().find_objection(SHOWN, later(SHOWN, 800, 30, 0), slow_hand), "");
    EXPECT_EQ(PressGuard().find_objection(SHOWN, later(SHOWN, 901), slow_hand), "");
}

} // namespace
