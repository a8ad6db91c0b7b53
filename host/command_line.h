// The tool's command line: the options of all commands, and what is told when it is wrong.
#pragma once

#include <optional>
#include <stdexcept>

#include "host/commands/command.h"

struct ParsedCommandLine {
    Command command;
    CommonOptions common;
};

// One line for the user, who has misused the tool.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Returns nothing when a help text or the version was asked for, which is printed then. Throws
// UsageError.
std::optional<ParsedCommandLine> parseCommandLine(int argc, char** argv);
