// The module's records for scripts: one JSON object a line.
#pragma once

#include <cstdint>
#include <cstdio>

#include "plugin/tamborin.h"

// Writes the record and the host's answer to it. Samples are not written, only how many there are
// and their peak. False when that fails, and errno tells why. Any thread.
bool writeJsonLine(FILE* file, const HostMessage& message, int32_t answer);
