// Starts PortAudio.
#pragma once

// Returns whether the operating system's audio service runs: always true on Linux, which needs
// none.
bool isOsAudioServiceStarted(bool forceOsServices);

// Logs PortAudio's version and, if the service is started, initialises PortAudio. Returns true on
// success; the caller then has to call Pa_Terminate. Worker thread.
bool initializePortAudio(bool isServiceStarted);
