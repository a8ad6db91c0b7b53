// record --out -
#pragma once

#include "host/commands/commands.h"

// Writes the sound of one input to stdout as a WAV stream, until the reader leaves or the session
// ends. Sound that is missing is not filled in. Fails when nothing was captured, or when stdout did
// not take all; a reader who leaves had enough.
int streamInput(const Options& options, Console& console);
