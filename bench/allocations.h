// Counts the allocations with operator new, and makes memory run out. Replaces operator new for the
// whole program.
#pragma once

#include <cstdint>

// Returns how many allocations this process has made.
uint64_t allocationCount();

// How many allocations of this thread succeed before one fails; negative when none is to fail.
inline thread_local long allocationsLeft = -1;
