// The real clocks, which unit_tests replaces.
#include "base/clock.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono;

TEST(Clock, TellsTheSystemsTime) {
    const SteadyTime begin = steadyNow();
    SteadyTime last = steadyTick();
    EXPECT_LE(last, steadyNow());
    while (steadyNow() < begin + 1100ms) {  // in which the tick's second changes
        const SteadyTime tick = steadyTick();
        ASSERT_LE(last, tick);
        ASSERT_LE(tick, steadyNow());
        last = tick;
        pauseOneMillisecond();
    }
    EXPECT_GT(steadyTick(), begin);

    const auto before = system_clock::now();
    const timeval wall = wallClockNow();
    const auto whole = system_clock::time_point(seconds(unixSeconds()));
    const auto after = system_clock::now();
    const auto told = system_clock::time_point(seconds(wall.tv_sec) + microseconds(wall.tv_usec));
    EXPECT_LE(floor<microseconds>(before), told);
    EXPECT_LE(told, after);
    EXPECT_LE(before - 2s, whole);
    EXPECT_LE(whole, after);
}

}  // namespace
