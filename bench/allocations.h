// How often memory was allocated in this process with operator new.
#pragma once

#include <cstdint>

uint64_t allocationCount();
