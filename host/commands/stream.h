// record --out -
#pragma once

#include <string>
#include <vector>

#include "host/commands/command.h"

// In place of a folder: the recording goes to stdout.
constexpr const char* StandardOutput = "-";

// Writes the sound of one input to stdout as a WAV stream, until the reader leaves or the session
// ends. Sound that is missing is not filled in. Fails when nothing was captured, or when stdout did
// not take all; a reader who leaves had enough.
int streamInput(const std::vector<std::string>& inputs, double seconds, const CommonOptions& common,
                Console& console);
