// The tool's command line: the options of all commands, and the messages when it is wrong.
#pragma once

#include <optional>

#include "host/commands/command.h"

struct ParsedCommandLine {
    Command command;
    CommonOptions common;
};

// Returns nothing after it has printed a help text or the version. Throws UsageError.
std::optional<ParsedCommandLine> parseCommandLine(int argc, char** argv);
