// The time of recordings and events.
#pragma once

#include <cstdint>

// Unix time in ms, as the clock tells it now. For what a person compares with a clock.
int64_t clockMilliseconds();

// Unix time in ms, counted on from what the clock told when this was first asked: whoever sets the
// clock does not move it, and it goes on while the machine sleeps. For what lies between two times.
// Any thread.
int64_t steadyMilliseconds();
