// The command "record --out -": one input's sound to stdout.
#pragma once

#include <string>
#include <vector>

#include "host/commands/command.h"

// The value of --out that stands for stdout instead of a folder.
constexpr const char* StandardOutput = "-";

// Writes the sound of one input to stdout as a WAV stream, until the reader leaves or the session
// ends. Missing sound is not replaced by silence. Throws std::runtime_error when nothing was
// captured, or when stdout did not take all, unless the reader has left.
int streamInput(const std::vector<std::string>& inputs, double seconds, const CommonOptions& common,
                Console& console);
