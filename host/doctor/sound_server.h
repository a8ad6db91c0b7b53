// Asks the PulseAudio server that ALSA's "pulse" device would use (PipeWire answers as one, too).
#pragma once

#include <string>

struct SoundServer {
    bool isReachable = false;
    bool hangs = false;   // there is one, but it does not answer
    std::string failure;  // why not
    std::string name;     // with its version
    std::string source;   // what is recorded by default; empty: nothing
    std::string sink;     // where sound is played by default; empty: nowhere
};

// Waits two seconds at most.
SoundServer askSoundServer();
