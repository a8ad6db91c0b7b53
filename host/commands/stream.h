// The command "record --out -": one input's sound to stdout.
#pragma once

#include <string>
#include <vector>

#include "host/commands/command.h"

// The value of --out that stands for stdout instead of a folder.
constexpr const char* StandardOutput = "-";

// Writes the sound of one input to stdout as a WAV stream, until the reader leaves or the session
// ends. Missing sound is not replaced by silence. Unless the reader has left, throws
// std::runtime_error when nothing was captured or stdout did not take all.
int streamInput(const std::vector<std::string>& inputs, double seconds, const CommonOptions& common,
                Console& console);
