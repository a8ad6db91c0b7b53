#include "bench/stepped_clock.h"

#include <ctime>

#include "base/clock.h"

namespace {

std::chrono::milliseconds skipped{0};  // only the worker's thread uses it

}  // namespace

SteadyTime steadyNow() noexcept { return std::chrono::steady_clock::now() + skipped; }

SteadyTime steadyTick() noexcept {
    timespec tick{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &tick);
    return SteadyTime(std::chrono::seconds(tick.tv_sec) + std::chrono::nanoseconds(tick.tv_nsec)) +
           skipped;
}

void pauseOneMillisecond() noexcept {
    ++skipped;
    onPause();
}
