// The module's records for scripts: one JSON object a line.
#pragma once

#include <cstdint>
#include <string>

#include "plugin/tamborin.h"

// Returns the record as one line. A record that asks which log lines are wanted also gets the
// host's answer. For sound the line has the number of samples and their peak. With `isAscii`
// the line is ASCII with escapes, else UTF-8. Any thread.
std::string jsonLine(const HostMessage& message, int32_t answer, bool isAscii);
