// Replaces base/clock.cpp: real time, but the worker's pause takes none. Time is set forward by the
// pause's millisecond instead, and the benchmark acts in it.
#pragma once

#include <functional>

inline std::function<void()> onPause = [] {};
