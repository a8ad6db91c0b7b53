// Recording schedules: XML that the module keeps for the host and never evaluates.
#pragma once

#include <tinyxml.h>

#include <cstddef>
#include <memory>

// The largest schedule that is kept, in bytes of the settings file. A week by the minute (10,080
// entries) takes 0.8 million. The largest settings file that is loaded has room for fifteen.
constexpr size_t LargestSchedule = 4 << 20;

// Returns a deep copy of `schedule` for a channel to keep, or null when it would take more than
// LargestSchedule bytes in the settings file. Declarations (<?xml ...?>) within it become empty
// comments: XML forbids them there, and TinyXML could not read back what it prints of them. Any
// thread; throws std::bad_alloc.
std::unique_ptr<TiXmlElement> storableCopy(const TiXmlElement& schedule);
