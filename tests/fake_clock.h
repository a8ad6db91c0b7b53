// Replaces base/clock.cpp: time stands still but for the worker's pauses, in which tests act.
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
