#include "config/settings_document.h"

#include "plugin/document.h"
#include "plugin/tamborin.h"

namespace {

// All channels belong to the module's one Device element.
void describeChannels(TiXmlElement& devices, const ChannelMap& channels) {
    TiXmlElement& device = addElement(devices, "Device");
    device.SetAttribute("Number", 1);
    device.SetAttribute("Name", "System Audio");
    device.SetAttribute("Enabled", 1);
    TiXmlElement& audio = addElement(device, "Audio");
    TiXmlElement& encoder = addElement(addElement(device, "Codec"), "Encoder");
    encoder.SetAttribute("Number", 0);
    int inputs = 0;
    int outputs = 0;
    for (const auto& [id, channel] : channels) {
        channel->describeChannel(audio, encoder);
        ++(channel->isInput ? inputs : outputs);
    }
    audio.SetAttribute("Inputs", inputs);
    audio.SetAttribute("Outputs", outputs);
}

}  // namespace

void describeSettings(TiXmlDocument& document, const Settings& settings,
                      const ChannelMap& channels) {
    TiXmlElement& devices = addElement(beginDocument(document, true), "Devices");
    devices.SetAttribute("ID", ModuleId);
    devices.SetAttribute("BufferLength", settings.bufferLength);
    devices.SetAttribute("ForceOsServices", settings.forceOsServices ? 1 : 0);
    if (!channels.empty())
        describeChannels(devices, channels);
}
