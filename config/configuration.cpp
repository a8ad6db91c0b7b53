// Applies configuration documents: the host's, and at start-up the settings file. Worker thread.
//
// Nothing in a document is an error: an element or number that is missing or unreadable leaves
// things as they are.
#include <tinyxml.h>

#include <algorithm>
#include <limits>
#include <optional>

#include "core/plugin.h"
#include "devices/capture_mixers.h"

namespace {

constexpr int32_t LongestBufferLength = 2000;  // ms

std::optional<int32_t> intAttribute(const TiXmlElement& element, const char* name) {
    int value = 0;
    if (element.QueryIntAttribute(name, &value) != TIXML_SUCCESS)
        return std::nullopt;
    return value;
}

const TiXmlElement* child(const TiXmlElement* parent, const char* name) {
    return parent != nullptr ? parent->FirstChildElement(name) : nullptr;
}

std::optional<uint32_t> channelNumber(const TiXmlElement& element) {
    const std::optional<int32_t> number = intAttribute(element, "Number");
    if (!number || *number < 0)
        return std::nullopt;
    return static_cast<uint32_t>(*number);
}

const TiXmlElement* ownDevices(const TiXmlElement* root) {
    const TiXmlElement* devices = child(root, "Devices");
    while (devices != nullptr && intAttribute(*devices, "ID") != ModuleId)
        devices = devices->NextSiblingElement("Devices");
    return devices;
}

// Numbers end where the document's integers do and begin again at 0: the next one up would have
// the same channel ID as 0, but could not be read back from the settings file.
uint32_t numberAfter(int32_t number) {
    return number == std::numeric_limits<int32_t>::max() ? 0 : static_cast<uint32_t>(number + 1);
}

void takeDevice(Channel& channel, AudioDevice& device) {
    channel.paIndex = static_cast<uint32_t>(device.paIndex);
    channel.OsName = device.osName;
    channel.PortAudioName = device.portAudioName;
    device.claimed = true;
}

}  // namespace

void CPlugin::applyConfiguration(const TiXmlElement* root, bool fromSettings) {
    int32_t highestNumber = -1;
    const TiXmlElement* own = ownDevices(root);
    const TiXmlElement* device = child(own, "Device");
    if (own != nullptr) {
        bufferLength = std::min(intAttribute(*own, "BufferLength").value_or(bufferLength),
                                LongestBufferLength);
        forceOsServices = intAttribute(*own, "ForceOsServices").value_or(forceOsServices) != 0;
        if (const TiXmlElement* audio = child(device, "Audio"))
            applyInputs(*audio, fromSettings, highestNumber);
    }
    if (fromSettings)
        createChannelsForUnclaimedDevices(highestNumber);
    if (own != nullptr) {
        const bool inputNewlyEnabled = applyEnabling(child(child(device, "Codec"), "Encoder"));
        applyStreams(inputNewlyEnabled && !configureCaptureMixers());
    }
    settingsApplied = settingsApplied || fromSettings;
    if (own != nullptr || fromSettings)
        writeSettings();
}

// Creates and names the channels of the document and raises `highestNumber` to theirs.
void CPlugin::applyInputs(const TiXmlElement& audio, bool fromSettings, int32_t& highestNumber) {
    for (const TiXmlElement* input = audio.FirstChildElement("Input"); input != nullptr;
         input = input->NextSiblingElement("Input")) {
        const std::optional<uint32_t> number = channelNumber(*input);
        if (!number)
            continue;
        highestNumber = std::max(highestNumber, static_cast<int32_t>(*number));
        const bool isOutput = intAttribute(*input, "Output").value_or(0) != 0;
        Channel& channel = channels.findOrCreate(*number, !isOutput);
        channel.applyInputElement(*input);
        if (fromSettings)
            bindToDevices(channel);
    }
}

// A device with the channel's saved name is the channel's again; a channel that never had one goes
// by its number. Of several that match, the last one stays.
void CPlugin::bindToDevices(Channel& channel) {
    for (AudioDevice& device : devices) {
        const bool matches = channel.OsName.empty()
                                 ? static_cast<uint32_t>(device.number) == channel.Number
                                 : device.osName == channel.OsName;
        if (device.isInput == channel.isInput && matches)
            takeDevice(channel, device);
    }
}

void CPlugin::createChannelsForUnclaimedDevices(int32_t highestNumber) {
    for (AudioDevice& device : devices) {
        if (device.claimed)
            continue;
        const uint32_t number = numberAfter(highestNumber);
        highestNumber = static_cast<int32_t>(number);
        Channel& channel = channels.findOrCreate(number, device.isInput);
        takeDevice(channel, device);
        channel.Name = device.portAudioName + (channel.isInput ? " (input)" : " (output)");
    }
}

// True when an input was disabled before and is enabled now.
bool CPlugin::applyEnabling(const TiXmlElement* encoder) {
    bool inputNewlyEnabled = false;
    for (const TiXmlElement* element = child(encoder, "AudioChannel"); element != nullptr;
         element = element->NextSiblingElement("AudioChannel")) {
        const std::optional<uint32_t> number = channelNumber(*element);
        Channel* channel = number ? channels.find(channelId(*number)) : nullptr;
        if (channel == nullptr)
            continue;
        const bool wasEnabled = channel->Enabled;
        channel->applyEnabled(element);
        if (channel->isInput && channel->Enabled && !wasEnabled)
            inputNewlyEnabled = true;
    }
    return inputNewlyEnabled;
}

// Outputs are left to the playback path, which starts them when there is audio.
void CPlugin::applyStreams(bool mixersFailed) {
    for (const auto& [id, channel] : channels) {
        if (!channel->Enabled) {
            channel->closeStream();
            // What an input has captured since it was disabled would be sent when it is enabled.
            if (channel->isInput)
                channel->purgeBlocks(false);
        } else if (channel->isInput && mixersFailed) {
            channel->Enabled = false;
            logMessage(ModuleId, g_hostCallback, LogError,
                       "Force-disable input '%s' because mixer config failed.",
                       channel->Name.c_str());
            channel->closeStream();
            channel->purgeBlocks(false);
        } else if (channel->isInput && channel->paIndex == NoDevice) {
            logMessage(ModuleId, g_hostCallback, LogError,
                       "Failed to start input stream '%s' - device missing.",
                       channel->Name.c_str());
        } else if (channel->isInput) {
            channel->openStream();
        }
    }
}
