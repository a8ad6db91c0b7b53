// The module's records for scripts: one JSON object a line.
#pragma once

#include <cstdint>
#include <string>

#include "plugin/tamborin.h"

// Returns the record as one line, and with it the host's answer when the record asks which log
// lines are wanted. For sound the line has the number of samples and their peak. With `isAscii`
// the line is ASCII with escapes, else UTF-8. Any thread.
std::string jsonLine(const HostMessage& message, int32_t answer, bool isAscii);
