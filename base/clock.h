// The module's clocks and its pause: the one place that reads time, so that a test can own it.
#pragma once

#include <sys/time.h>

#include <chrono>
#include <cstdint>

using SteadyTime = std::chrono::steady_clock::time_point;

// Monotonic time; any thread.
SteadyTime steadyNow() noexcept;
// The same as of the system's last tick, at most 1 to 10 ms ago; costs next to nothing to read.
SteadyTime steadyTick() noexcept;
// Wall-clock time, seconds and microseconds since 1970; any thread.
timeval wallClockNow() noexcept;
// Wall-clock time in whole seconds since 1970; any thread.
int64_t unixSeconds() noexcept;
// Sleeps 1 ms, or less when a signal ends the sleep; the worker's thread.
void pauseOneMillisecond() noexcept;
