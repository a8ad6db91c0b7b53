// The module's clocks and its pause. Nothing else reads time, so that tests can replace them.
#pragma once

#include <sys/time.h>

#include <chrono>
#include <cstdint>

using SteadyTime = std::chrono::steady_clock::time_point;

// Monotonic time; any thread.
SteadyTime steadyNow() noexcept;
// The same clock at the kernel's last tick: up to 10 ms old. Much cheaper to read. Any thread.
SteadyTime steadyTick() noexcept;
// Wall-clock time, seconds and microseconds since 1970; any thread.
timeval wallClockNow() noexcept;
// Wall-clock time in whole seconds since 1970; any thread.
int64_t unixSeconds() noexcept;
// Sleeps 1 ms, or less when a signal ends the sleep. Worker thread.
void pauseOneMillisecond() noexcept;
