#include "bench/stepped_clock.h"

#include <ctime>

#include "core/clock.h"

namespace {

std::chrono::milliseconds skipped{0};  // worker's thread

}  // namespace

SteadyTime steadyNow() noexcept { return std::chrono::steady_clock::now() + skipped; }

timeval wallClockNow() noexcept {
    timeval now{};
    gettimeofday(&now, nullptr);
    return now;
}

int64_t unixSeconds() noexcept { return time(nullptr); }

void pauseOneMillisecond() noexcept {
    ++skipped;
    onPause();
}
