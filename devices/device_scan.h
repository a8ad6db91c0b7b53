// The usable directions of the machine's sound devices.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// One usable direction of one PortAudio device, as the last scan found it.
struct AudioDevice {
    std::string portAudioName;  // as PortAudio reports it
    std::string osName;         // the same; a channel finds its device again by it
    int32_t number;             // position in the list
    int32_t paIndex;            // PortAudio's index, to open streams on
    bool isInput;
    bool claimed = false;  // a channel has taken the device
};

// Lists the directions that the module can use, in the order of PortAudio's indices, inputs before
// outputs: devices named "default" or "pulse" on the default host API that take mono 16-bit audio
// at 8000 Hz. Logs every device found or ignored. Worker thread, PortAudio initialised; opens no
// stream; at worst the list is empty.
std::vector<AudioDevice> scanDevices();
