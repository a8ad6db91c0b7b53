// The tool's command line: the options of all commands, and what is told when it is wrong.
#pragma once

#include <optional>

#include "host/commands/command.h"

struct ParsedCommandLine {
    Command command;
    CommonOptions common;
};

// Returns nothing when a help text or the version was asked for, which is printed then. Throws
// UsageError.
std::optional<ParsedCommandLine> parseCommandLine(int argc, char** argv);
