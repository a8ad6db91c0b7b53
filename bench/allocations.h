// How often memory was allocated in this process with operator new, and when it runs out.
#pragma once

#include <cstdint>

uint64_t allocationCount();

// How many allocations this thread still gets before one fails; negative: all.
inline thread_local long allocationsLeft = -1;
