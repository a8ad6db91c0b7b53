// The tool's command line.
#pragma once

#include <stdexcept>

#include "host/commands/commands.h"

using Command = int (*)(const Options& options, Console& console);

struct CommandLine {
    Command command = nullptr;  // null: a help text or the version was asked for, and printed
    Options options;
    ConsoleOptions console;
};

// One line for the user, who has misused the tool.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Throws UsageError.
CommandLine parseCommandLine(int argc, char** argv);
