#include "fake_clock.h"

#include "base/clock.h"

SteadyTime steadyNow() noexcept { return SteadyTime(fakeClock.steady); }
SteadyTime steadyTick() noexcept { return steadyNow(); }
timeval wallClockNow() noexcept { return {fakeClock.wallSeconds, fakeClock.wallMicroseconds}; }
int64_t unixSeconds() noexcept { return fakeClock.wallSeconds; }
void pauseOneMillisecond() noexcept {
    fakeClock.steady += std::chrono::milliseconds(1);
    fakeClock.onPause();
}
