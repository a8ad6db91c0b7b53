#include "config/settings_file.h"

#include "config/xml_store.h"
#include "base/contain.h"
#include "core/plugin.h"
#include "plugin/document.h"

// The module has one device, with all its channels.
void CPlugin::describeChannels(TiXmlElement& own) const {
    TiXmlElement& device = addElement(own, "Device");
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

// One document serves as the settings file and as the description that the host is sent.
void CPlugin::writeSettings() {
    TiXmlDocument document;
    TiXmlElement& own = addElement(beginDocument(document, true), "Devices");
    own.SetAttribute("ID", ModuleId);
    own.SetAttribute("BufferLength", bufferLength);
    own.SetAttribute("ForceOsServices", forceOsServices ? 1 : 0);
    if (!channels.empty())
        describeChannels(own);
    // A save that fails leaves the old file; the host is told in any case.
    if (settingsRead && settingsApplied)
        contain([&] { SaveXmlFile(document, SettingsPath); });
    sendDocument(document, KindModuleDocument);
}
