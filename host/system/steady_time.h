// The time of recordings and events.
#pragma once

#include <cstdint>

// Returns the Unix time in ms by the system's clock, for times that a person compares with a clock.
int64_t clockMilliseconds();

// Returns a Unix time in ms for measuring intervals. The system's clock sets it at the first call.
// From then on it runs steadily: setting the clock does not change it, and it counts the time that
// the machine sleeps. Any thread.
int64_t steadyMilliseconds();
