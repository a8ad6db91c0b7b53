// Replaces base/clock.cpp. Time is real, but the worker's pause takes none: it moves the clock on
// by a millisecond and calls onPause, where the benchmark acts.
#pragma once

#include <functional>

inline std::function<void()> onPause = [] {};
