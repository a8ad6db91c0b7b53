// Apart from clock.cpp, which benchmarks replace without this.
#include <ctime>

#include "base/clock.h"

timeval wallClockNow() noexcept {
    timeval now{};
    gettimeofday(&now, nullptr);
    return now;
}

int64_t unixSeconds() noexcept { return time(nullptr); }
