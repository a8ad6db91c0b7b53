// How a channel reads and writes its elements of the configuration document.
#include "audio/channel.h"
#include "config/schedule.h"
#include "plugin/document.h"

namespace {

void copyAttribute(const TiXmlElement& element, const char* name, std::string& target) {
    if (const std::string* value = element.Attribute(std::string(name)))
        target = *value;
}

}  // namespace

void Channel::applyInputElement(const TiXmlElement& input) {
    copyAttribute(input, "Name", Name);
    copyAttribute(input, "OsName", OsName);
    const TiXmlElement* schedule = input.FirstChildElement("Schedule");
    if (schedule == nullptr)
        return;
    if (std::unique_ptr<TiXmlElement> copy = storableCopy(*schedule))
        Schedule = std::move(copy);
}

void Channel::applyEnabled(const TiXmlElement* audioChannel) {
    int value = 0;
    if (audioChannel == nullptr ||
        audioChannel->QueryIntAttribute("Enabled", &value) != TIXML_SUCCESS)
        return;
    Enabled = value > 0;
    if (Enabled)
        retry.reset();
    else
        purgeBlocks(false);
}

void Channel::describeChannel(TiXmlElement& audio, TiXmlElement& encoder) const {
    TiXmlElement& input = addElement(audio, "Input");
    input.SetAttribute("Number", static_cast<int>(Number));
    input.SetAttribute("Name", Name);
    input.SetAttribute("OsName", OsName);
    input.SetAttribute("PortAudioName", PortAudioName);
    if (!isInput)
        input.SetAttribute("Output", 1);
    if (paIndex == NoDevice)
        input.SetAttribute("Missing", 1);
    if (Schedule)
        input.InsertEndChild(*Schedule);

    TiXmlElement& audioChannel = addElement(encoder, "AudioChannel");
    audioChannel.SetAttribute("Number", static_cast<int>(Number));
    audioChannel.SetAttribute("Enabled", Enabled ? 1 : 0);
    audioChannel.SetAttribute("Standard", static_cast<int>(Standard));
    audioChannel.SetAttribute("SampleRate", SampleRate);
    audioChannel.SetAttribute("BufSizeSamples", BufSizeSamples);
    audioChannel.SetAttribute("ID", ID);
}
