// Recording schedules: XML that the module keeps for the host and never evaluates.
#pragma once

#include <tinyxml.h>

#include <cstddef>
#include <memory>

// In bytes. A week by the minute, 10,080 entries, has 800,000; one schedule of this size is far
// from filling a file that a load takes.
constexpr size_t LargestSchedule = 4 << 20;

// Returns a deep copy of `schedule` for a channel to keep, or null when it would take more than
// LargestSchedule bytes in the settings file. Declarations (<?xml ...?>) within it become empty
// comments: XML forbids them there, and TinyXML prints their values unescaped and could not read
// the file again.
std::unique_ptr<TiXmlElement> storableCopy(const TiXmlElement& schedule);
