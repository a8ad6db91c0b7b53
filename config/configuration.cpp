#include "config/configuration.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "config/our_devices.h"
#include "devices/capture_mixers.h"
#include "plugin/host_link.h"

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

// Returns the channel number after `number`. INT32_MAX is followed by 0: 2^31 would have the same
// channel ID as 0, but could not be read back from the settings file.
uint32_t numberAfter(int32_t number) {
    return number == std::numeric_limits<int32_t>::max() ? 0 : static_cast<uint32_t>(number + 1);
}

void takeDevice(Channel& channel, AudioDevice& device) {
    channel.paIndex = static_cast<uint32_t>(device.paIndex);
    channel.OsName = device.osName;
    channel.PortAudioName = device.portAudioName;
    device.claimed = true;
}

void disableAfterMixerFailure(Channel& input) {
    input.Enabled = false;
    logLine(LogError, "Force-disable input '%s' because mixer config failed.", input.Name.c_str());
    input.closeStream();
    input.purgeBlocks(false);
}

}  // namespace

bool DocumentApplier::apply(const TiXmlElement* root) {
    const TiXmlElement* ourDevices = findOurDevices(root);
    const TiXmlElement* device = child(ourDevices, "Device");
    if (ourDevices != nullptr) {
        applySettings(*ourDevices);
        applyInputs(child(device, "Audio"));
    }
    if (fromSettings_)
        createChannelsForUnclaimedDevices();
    if (ourDevices == nullptr)
        return false;
    const bool inputNewlyEnabled = applyEnabling(child(child(device, "Codec"), "Encoder"));
    applyStreams(inputNewlyEnabled && !configureCaptureMixers());
    return true;
}

void DocumentApplier::applySettings(const TiXmlElement& ourDevices) {
    state_.bufferLength =
        std::min(intAttribute(ourDevices, "BufferLength").value_or(state_.bufferLength),
                 LongestBufferLength);
    state_.forceOsServices =
        intAttribute(ourDevices, "ForceOsServices").value_or(state_.forceOsServices) != 0;
}

// Creates and names the channels of the document.
void DocumentApplier::applyInputs(const TiXmlElement* audio) {
    for (const TiXmlElement* input = child(audio, "Input"); input != nullptr;
         input = input->NextSiblingElement("Input")) {
        const std::optional<uint32_t> number = channelNumber(*input);
        if (!number)
            continue;
        highestNumber_ = std::max(highestNumber_, static_cast<int32_t>(*number));
        const bool isOutput = intAttribute(*input, "Output").value_or(0) != 0;
        Channel& channel = state_.channels.findOrCreate(*number, !isOutput);
        channel.applyInputElement(*input);
        if (fromSettings_)
            bindToDevice(channel);
    }
}

// Binds the channel to the device with its saved name or, when it never had a device, to the device
// with its number. When several match, the last one is taken and all count as claimed.
void DocumentApplier::bindToDevice(Channel& channel) {
    for (AudioDevice& device : state_.devices) {
        const bool matches = channel.OsName.empty()
                                 ? static_cast<uint32_t>(device.number) == channel.Number
                                 : device.osName == channel.OsName;
        if (device.isInput == channel.isInput && matches)
            takeDevice(channel, device);
    }
}

// A channel that already has the ID of a new number takes the device instead.
void DocumentApplier::createChannelsForUnclaimedDevices() {
    for (AudioDevice& device : state_.devices) {
        if (device.claimed)
            continue;
        const uint32_t number = numberAfter(highestNumber_);
        highestNumber_ = static_cast<int32_t>(number);
        Channel& channel = state_.channels.findOrCreate(number, device.isInput);
        takeDevice(channel, device);
        channel.Name = device.portAudioName + (channel.isInput ? " (input)" : " (output)");
    }
}

// Returns true when an input was disabled before and is enabled now.
bool DocumentApplier::applyEnabling(const TiXmlElement* encoder) {
    bool inputNewlyEnabled = false;
    for (const TiXmlElement* element = child(encoder, "AudioChannel"); element != nullptr;
         element = element->NextSiblingElement("AudioChannel")) {
        const std::optional<uint32_t> number = channelNumber(*element);
        Channel* channel = number ? state_.channels.find(channelId(*number)) : nullptr;
        if (channel == nullptr)
            continue;
        const bool wasEnabled = channel->Enabled;
        channel->applyEnabled(element);
        if (channel->isInput && channel->Enabled && !wasEnabled)
            inputNewlyEnabled = true;
    }
    return inputNewlyEnabled;
}

// Opens the streams of enabled inputs (or disables these when the mixers failed) and closes those
// of disabled channels. An output's stream is opened later, when audio is queued.
void DocumentApplier::applyStreams(bool mixersFailed) {
    for (const auto& [id, channel] : state_.channels) {
        if (!channel->Enabled) {
            channel->closeStream();
            // Audio captured after applyEnabled must not be sent at the next enabling.
            if (channel->isInput)
                channel->purgeBlocks(false);
        } else if (!channel->isInput) {
            continue;
        } else if (mixersFailed) {
            disableAfterMixerFailure(*channel);
        } else if (channel->paIndex == NoDevice) {
            logLine(LogError, "Failed to start input stream '%s' - device missing.",
                    channel->Name.c_str());
        } else {
            channel->openStream();
        }
    }
}
