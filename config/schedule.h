// Recording schedules: XML that the module keeps for the host and never evaluates.
#pragma once

#include <tinyxml.h>

#include <memory>

// The schedule of a new channel: one entry over every hour of the week, nothing recorded.
std::unique_ptr<TiXmlElement> defaultSchedule();
