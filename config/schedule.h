// Recording schedules: XML that the module keeps for the host and never evaluates.
#pragma once

#include <tinyxml.h>

#include <cstddef>
#include <memory>

// In bytes of the settings file. A week by the minute, 10,080 entries, takes 0.8 million. A file
// that a load takes holds sixteen schedules of this size.
constexpr size_t LargestSchedule = 4 << 20;

// Returns a deep copy of `schedule` for a channel to keep, or null when it would take more than
// LargestSchedule bytes in the settings file. Declarations (<?xml ...?>) within it become empty
// comments: XML forbids them there, and TinyXML prints their values unescaped and could not read
// the file again.
std::unique_ptr<TiXmlElement> storableCopy(const TiXmlElement& schedule);
