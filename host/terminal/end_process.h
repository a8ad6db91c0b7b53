// Ends the process where it cannot return from main: one of its threads is blocked without a limit,
// and destructors would wait for that thread.
#pragma once

#include <string>

#include "host/terminal/console.h"

// Prints the line as an error and ends the process with EXIT_FAILURE. No destructor runs.
[[noreturn]] void endProcess(Console& console, const std::string& line);
