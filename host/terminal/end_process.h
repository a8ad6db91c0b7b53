// The end of a process that has no other: a thread of it waits for others without a limit, and to
// unwind would be to wait for that thread.
#pragma once

#include <string>

#include "host/terminal/console.h"

// Tells an error and ends the process at once, as failed. No destructor runs.
[[noreturn]] void endProcess(Console& console, const std::string& line);
