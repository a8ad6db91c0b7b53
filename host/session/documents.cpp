#include "host/session/documents.h"

#include <tinyxml.h>

#include <algorithm>

#include "config/our_devices.h"
#include "plugin/tamborin.h"

namespace {

int intOf(const TiXmlElement& element, const char* name) {
    int value = 0;
    element.QueryIntAttribute(name, &value);
    return value;
}

std::string textOf(const TiXmlElement& element, const char* name) {
    const char* value = element.Attribute(name);
    return value != nullptr ? value : "";
}

const TiXmlElement* child(const TiXmlElement* parent, const char* name) {
    return parent != nullptr ? parent->FirstChildElement(name) : nullptr;
}

TiXmlElement enablingElement(const std::vector<int>& numbers, bool enabled) {
    TiXmlElement encoder("Encoder");
    for (const int number : numbers) {
        TiXmlElement channel("AudioChannel");
        channel.SetAttribute("Number", number);
        channel.SetAttribute("Enabled", enabled ? 1 : 0);
        encoder.InsertEndChild(channel);
    }
    TiXmlElement codec("Codec");
    codec.InsertEndChild(encoder);
    return codec;
}

TiXmlElement namingElement(int number, const std::string& name) {
    TiXmlElement input("Input");
    input.SetAttribute("Number", number);
    input.SetAttribute("Name", name);
    TiXmlElement audio("Audio");
    audio.InsertEndChild(input);
    return audio;
}

std::string documentOf(const std::vector<TiXmlElement>& parts, int bufferLength) {
    TiXmlElement device("Device");
    for (const TiXmlElement& part : parts)
        device.InsertEndChild(part);
    TiXmlElement devices("Devices");
    devices.SetAttribute("ID", ModuleId);
    if (bufferLength > 0)
        devices.SetAttribute("BufferLength", bufferLength);
    devices.InsertEndChild(device);
    TiXmlElement root("Varo");
    root.InsertEndChild(devices);
    TiXmlPrinter printer;
    printer.SetStreamPrinting();
    root.Accept(&printer);
    return printer.Str();
}

}  // namespace

bool parseDescription(std::string_view xml, Description& description) {
    TiXmlDocument document;
    document.Parse(std::string(xml).c_str());
    const TiXmlElement* devices = findOurDevices(document.RootElement());
    if (devices == nullptr || devices->Attribute("BufferLength") == nullptr)
        return false;
    description = {intOf(*devices, "BufferLength"), {}};
    const TiXmlElement* device = child(devices, "Device");
    for (const TiXmlElement* input = child(child(device, "Audio"), "Input"); input != nullptr;
         input = input->NextSiblingElement("Input"))
        description.channels.push_back({.number = intOf(*input, "Number"),
                                        .id = 0,
                                        .name = textOf(*input, "Name"),
                                        .device = textOf(*input, "OsName"),
                                        .isOutput = intOf(*input, "Output") != 0,
                                        .hasDevice = intOf(*input, "Missing") == 0});
    const TiXmlElement* encoder = child(child(device, "Codec"), "Encoder");
    for (const TiXmlElement* element = child(encoder, "AudioChannel"); element != nullptr;
         element = element->NextSiblingElement("AudioChannel")) {
        const auto channel = std::ranges::find(description.channels, intOf(*element, "Number"),
                                               &ChannelDescription::number);
        if (channel == description.channels.end())
            continue;
        channel->id = intOf(*element, "ID");
        channel->enabled = intOf(*element, "Enabled") != 0;
    }
    return true;
}

std::string announcedVersion(std::string_view xml) {
    TiXmlDocument document;
    document.Parse(std::string(xml).c_str());
    const TiXmlElement* module = child(child(document.RootElement(), "Modules"), "Module");
    return module != nullptr ? textOf(*module, "Version") : "";
}

std::optional<bool> reportedAlarm(std::string_view xml) {
    TiXmlDocument document;
    document.Parse(std::string(xml).c_str());
    const TiXmlElement* device = child(findOurDevices(document.RootElement()), "Device");
    if (device == nullptr || device->Attribute("Fail") == nullptr)
        return std::nullopt;
    return intOf(*device, "Fail") != 0;
}

std::string enablingDocument(const std::vector<int>& numbers, bool enabled, int bufferLength) {
    return documentOf({enablingElement(numbers, enabled)}, bufferLength);
}

std::string changingDocument(int number, const std::optional<std::string>& name,
                             std::optional<bool> enabled) {
    std::vector<TiXmlElement> parts;
    if (name)
        parts.push_back(namingElement(number, *name));
    if (enabled)
        parts.push_back(enablingElement({number}, *enabled));
    return documentOf(parts, 0);
}
