#include "devices/device_scan.h"

#include <portaudio.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "audio/channel.h"
#include "plugin/host_link.h"

namespace {

// Other names are ignored: opening a stream on some of those devices crashes the audio library.
constexpr std::array<std::string_view, 2> AllowedNames{"default", "pulse"};

const char* directionWord(bool isInput) { return isInput ? "input" : "output"; }

const char* nameOf(const PaHostApiInfo& hostApi) {
    return hostApi.name != nullptr ? hostApi.name : "UNKNOWN";
}

bool probeDeviceFormat(PaDeviceIndex device, const PaDeviceInfo& info, bool isInput) {
    PaStreamParameters parameters{};
    parameters.device = device;
    parameters.channelCount = 1;
    parameters.sampleFormat = paInt16;
    parameters.suggestedLatency =
        isInput ? info.defaultLowInputLatency : info.defaultLowOutputLatency;
    const PaError answer = Pa_IsFormatSupported(isInput ? &parameters : nullptr,
                                                isInput ? nullptr : &parameters, ChannelSampleRate);
    if (answer == paFormatIsSupported)
        return true;
    logLine(LogInfo, "PORTAUDIO: Ignore device [%s] - %s", info.name, Pa_GetErrorText(answer));
    return false;
}

// Returns the default host API when the device may be used on it, else null.
const PaHostApiInfo* acceptedHostApi(const PaDeviceInfo& info) {
    if (std::ranges::find(AllowedNames, std::string_view(info.name)) == AllowedNames.end()) {
        logLine(LogInfo, "PORTAUDIO: Ignore device [%s] that can crash on opening stream.",
                info.name);
        return nullptr;
    }
    const PaHostApiInfo* defaultApi = Pa_GetHostApiInfo(Pa_GetDefaultHostApi());
    const PaHostApiInfo* deviceApi = Pa_GetHostApiInfo(info.hostApi);
    if (defaultApi == nullptr || deviceApi == nullptr) {
        logLine(LogNotice, "PORTAUDIO: Failed to get host API info for device [%s].", info.name);
        return nullptr;
    }
    if (info.hostApi != Pa_GetDefaultHostApi()) {
        logLine(LogInfo,
                "PORTAUDIO: Ignore device [%s] non-default API [%s] - only want default API [%s].",
                info.name, nameOf(*deviceApi), nameOf(*defaultApi));
        return nullptr;
    }
    return defaultApi;
}

void addDirection(std::vector<AudioDevice>& devices, PaDeviceIndex device, const PaDeviceInfo& info,
                  bool isInput, bool isDefault) {
    const int channels = isInput ? info.maxInputChannels : info.maxOutputChannels;
    if (channels <= 0 || !probeDeviceFormat(device, info, isInput))
        return;
    const auto number = static_cast<int32_t>(devices.size());
    logLine(LogInfo, "PORTAUDIO: Found %s device %d [%s] %s", directionWord(isInput), number,
            info.name, isDefault ? "(default)" : "(not default)");
    devices.push_back({info.name, info.name, number, device, isInput});
}

}  // namespace

std::vector<AudioDevice> scanDevices() {
    std::vector<AudioDevice> devices;
    for (PaDeviceIndex device = 0; device < Pa_GetDeviceCount(); ++device) {
        const PaDeviceInfo* info = Pa_GetDeviceInfo(device);
        if (info == nullptr || info->name == nullptr)
            continue;
        const PaHostApiInfo* hostApi = acceptedHostApi(*info);
        if (hostApi == nullptr)
            continue;
        addDirection(devices, device, *info, true, device == hostApi->defaultInputDevice);
        addDirection(devices, device, *info, false, device == hostApi->defaultOutputDevice);
    }
    return devices;
}
