// The document that holds all settings and channels: it is saved as the settings file and sent to
// the host as the description.
#pragma once

#include <tinyxml.h>

#include <cstdint>

#include "audio/channel_map.h"

struct Settings {
    int32_t bufferLength;  // ms
    bool forceOsServices;
};

// Fills the empty `document`. Worker thread; throws std::bad_alloc.
void describeSettings(TiXmlDocument& document, const Settings& settings,
                      const ChannelMap& channels);
