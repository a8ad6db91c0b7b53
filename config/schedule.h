// Recording schedules: XML that the module keeps for the host and never evaluates.
#pragma once

#include <tinyxml.h>

#include <memory>

// A schedule to keep: as it is, but with empty comments for declarations (which XML does not have
// within an element). TinyXML prints their values as they are, quotes and all, and could not read
// that again.
std::unique_ptr<TiXmlElement> keptSchedule(const TiXmlElement& schedule);
