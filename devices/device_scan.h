// The usable directions of the machine's sound devices.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// One usable direction of one PortAudio device, as the last scan found it.
struct AudioDevice {
    std::string portAudioName;  // as PortAudio reports it
    std::string osName;         // the same text; a channel finds its device again by it
    int32_t number;             // position in the list of the scan
    int32_t paIndex;            // PortAudio's index of the device, for opening streams
    bool isInput;
    bool claimed = false;  // a channel has taken the device
};

// Returns the directions that the module can use, in the order of PortAudio's indices, each
// device's input before its output. Usable are devices named "default" or "pulse" on the default
// host API that take mono 16-bit audio at 8000 Hz. Logs every device found or ignored, and opens no
// stream. Worker thread; PortAudio must be initialised.
std::vector<AudioDevice> scanDevices();
