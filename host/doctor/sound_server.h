// Asks the PulseAudio server that ALSA's "pulse" device would use. PipeWire can be that server.
#pragma once

#include <string>

struct SoundServer {
    bool isReachable = false;
    bool hangs = false;   // a server is there, but it does not answer
    std::string failure;  // why it is not reachable
    std::string name;     // with its version
    std::string source;   // the default source; empty when there is none
    std::string sink;     // the default sink; empty when there is none
};

// Asks the server, and waits two seconds at most for its answer.
SoundServer askSoundServer();
