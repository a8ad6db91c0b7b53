#include "devices/audio_system.h"

#include <portaudio.h>

#include "plugin/host_link.h"

bool isOsAudioServiceStarted(bool /*forceOsServices*/) { return true; }

bool initializePortAudio(bool isServiceStarted) {
    logLine(LogInfo, "Portaudio version %d '%s'", Pa_GetVersion(), Pa_GetVersionText());
    if (!isServiceStarted) {
        logLine(LogError, "Not initializing portaudio because service not started.");
        return false;
    }
    const PaError error = Pa_Initialize();
    if (error != paNoError) {
        logLine(LogError, "Portaudio failed to initialize %d (%s)", error, Pa_GetErrorText(error));
        return false;
    }
    logLine(LogInfo, "Portaudio initialized.");
    return true;
}
