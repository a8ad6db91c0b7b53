// Replaces base/clock.cpp. Time only moves in the worker's pauses, where tests act (onPause).
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

struct FakeClock {
    std::chrono::milliseconds steady{1'000'000};
    int64_t wallSeconds = 1'763'300'000;
    int64_t wallMicroseconds = 0;
    std::function<void()> onPause = [] {};
};
inline FakeClock fakeClock;
