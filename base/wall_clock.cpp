// A file of its own, because benchmarks replace only clock.cpp.
#include <ctime>

#include "base/clock.h"

timeval wallClockNow() noexcept {
    timeval now{};
    gettimeofday(&now, nullptr);
    return now;
}

int64_t unixSeconds() noexcept { return time(nullptr); }
