#include "config/settings_file.h"

#include "config/xml_store.h"
#include "core/contain.h"
#include "core/plugin.h"
#include "plugin/document.h"

// One document serves as the settings file and as the description that the host is sent.
void CPlugin::writeSettings() {
    TiXmlElement audio("Audio");
    TiXmlElement encoder("Encoder");
    encoder.SetAttribute("Number", 0);
    int inputs = 0;
    int outputs = 0;
    for (const auto& [id, channel] : channels) {
        channel->describeChannel(audio, encoder);
        ++(channel->isInput ? inputs : outputs);
    }

    TiXmlElement devicesElement("Devices");
    devicesElement.SetAttribute("ID", ModuleId);
    devicesElement.SetAttribute("BufferLength", bufferLength);
    devicesElement.SetAttribute("ForceOsServices", forceOsServices ? 1 : 0);
    if (!audio.NoChildren()) {
        audio.SetAttribute("Inputs", inputs);
        audio.SetAttribute("Outputs", outputs);
        TiXmlElement codec("Codec");
        codec.InsertEndChild(encoder);
        TiXmlElement device("Device");
        device.SetAttribute("Number", 1);
        device.SetAttribute("Name", "System Audio");
        device.SetAttribute("Enabled", 1);
        device.InsertEndChild(audio);
        device.InsertEndChild(codec);
        devicesElement.InsertEndChild(device);
    }
    const TiXmlDocument document = makeDocument(devicesElement, true);
    // A save that fails leaves the old file; the host is told in any case.
    if (settingsApplied)
        contain([&] { SaveXmlFile(document, SettingsPath); });
    sendDocument(document, KindModuleDocument);
}
