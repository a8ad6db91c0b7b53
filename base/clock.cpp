#include "base/clock.h"

#include <ctime>

SteadyTime steadyNow() noexcept { return std::chrono::steady_clock::now(); }

SteadyTime steadyTick() noexcept {
    timespec tick{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &tick);
    return SteadyTime(std::chrono::seconds(tick.tv_sec) + std::chrono::nanoseconds(tick.tv_nsec));
}

void pauseOneMillisecond() noexcept {
    const timespec oneMillisecond{.tv_sec = 0, .tv_nsec = 1'000'000};
    nanosleep(&oneMillisecond, nullptr);
}
