// Brings PortAudio up.
#pragma once

// Returns whether the operating system's audio service runs. Linux has none that must run first.
bool isOsAudioServiceStarted(bool forceOsServices);

// Logs PortAudio's version and initialises it, unless the service is not started. Returns true when
// PortAudio is up; the caller terminates it then. Worker thread.
bool initializePortAudio(bool isServiceStarted);
