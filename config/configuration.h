// Applies configuration documents: the settings file at start-up, later those of the host.
//
// Nothing in a document is an error. A missing or unreadable element or number leaves the current
// state unchanged. Worker thread.
#pragma once

#include <tinyxml.h>

#include <cstdint>
#include <vector>

#include "audio/channel_map.h"
#include "devices/device_scan.h"

// What a document changes; owned by CPlugin.
struct Configured {
    int32_t& bufferLength;
    bool& forceOsServices;
    std::vector<AudioDevice>& devices;
    ChannelMap& channels;
};

// Applies one document. The settings file also binds channels to devices, and makes channels for
// devices that no channel claims.
class DocumentApplier {
  public:
    DocumentApplier(const Configured& state, bool fromSettings)
        : state_(state), fromSettings_(fromSettings) {}

    // `root` may be null. Returns false when the document holds nothing for this module; a document
    // of the host has then changed nothing. Throws std::bad_alloc; the document is then partly
    // applied.
    bool apply(const TiXmlElement* root);

  private:
    void applySettings(const TiXmlElement& ourDevices);
    void applyInputs(const TiXmlElement* audio);
    void bindToDevice(Channel& channel);
    void createChannelsForUnclaimedDevices();
    bool applyEnabling(const TiXmlElement* encoder);
    void applyStreams(bool mixersFailed);

    Configured state_;
    const bool fromSettings_;
    int32_t highestNumber_ = -1;  // of a channel so far
};
