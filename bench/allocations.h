// Counts the allocations with operator new, and makes memory run out. Replaces operator new for the
// whole program.
#pragma once

#include <cstdint>

// Returns how many allocations this process has made.
uint64_t allocationCount();

// This thread's next allocations that succeed; the one after them fails. Negative: none fails.
inline thread_local long allocationsLeft = -1;
