// The module's records for scripts: one JSON object a line.
#pragma once

#include <cstdint>
#include <string>

#include "plugin/tamborin.h"

// The record and the host's answer to it. Samples are not told, only how many there are and their
// peak. Of ASCII, if so, else of UTF-8. Any thread.
std::string jsonLine(const HostMessage& message, int32_t answer, bool isAscii);
