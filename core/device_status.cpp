// Tells the host whether the audio devices are healthy.
#include <portaudio.h>

#include <algorithm>

#include "core/plugin.h"
#include "plugin/document.h"

namespace {

// A disabled channel counts as healthy. So, on purpose, does one whose stream could not be opened:
// its startResult stays paNotInitialized.
bool isHealthy(const Channel& channel) {
    return !channel.Enabled ||
           (channel.paIndex != NoDevice &&
            (channel.startResult == paNoError || channel.startResult == paNotInitialized));
}

void describeStatus(TiXmlDocument& document, bool alarmed) {
    TiXmlElement& devices = addElement(beginDocument(document, false), "Devices");
    devices.SetAttribute("ID", ModuleId);
    TiXmlElement& device = addElement(devices, "Device");
    device.SetAttribute("Number", 1);
    device.SetAttribute("Time", static_cast<int>(unixSeconds()));
    device.SetAttribute("Fail", alarmed ? 1 : 0);
}

}  // namespace

void CPlugin::emitDeviceStatus() {
    if (isStopRequested() || channels.empty())
        return;
    const bool healthy = audioStarted && std::ranges::all_of(channels, [](const auto& entry) {
                             return isHealthy(*entry.second);
                         });
    const bool alarmed = !healthy;
    if (alarmed == deviceAlarmed)
        return;
    TiXmlDocument document;
    describeStatus(document, alarmed);
    logLine(LogNotice, "Emitting audio device status = %s.", alarmed ? "alarmed" : "ok");
    sendDocument(document, KindStatusDocument);
    deviceAlarmed = alarmed;  // only after sending: if that threw, the next pass tries again
}
