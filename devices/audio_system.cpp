// Brings the audio system up once: PortAudio, the device list, and the settings file.
#include <portaudio.h>
#include <tinyxml.h>

#include "config/settings_file.h"
#include "config/xml_store.h"
#include "base/contain.h"
#include "core/plugin.h"
#include "plugin/host_link.h"

namespace {

// Linux has no audio service that has to run first.
bool isOsAudioServiceStarted(bool /*forceOsServices*/) { return true; }

void readForceOsServices(bool& forceOsServices) {
    TiXmlDocument document;
    if (!LoadXmlFile(document, SettingsPath) || document.RootElement() == nullptr)
        return;
    const TiXmlElement* devices = document.RootElement()->FirstChildElement("Devices");
    int value = 0;
    if (devices != nullptr &&
        devices->QueryIntAttribute("ForceOsServices", &value) == TIXML_SUCCESS)
        forceOsServices = value != 0;
}

// True when PortAudio is up.
bool initializePortAudio(bool serviceStarted) {
    logMessage(ModuleId, g_hostCallback, LogInfo, "Portaudio version %d '%s'", Pa_GetVersion(),
               Pa_GetVersionText());
    if (!serviceStarted) {
        logMessage(ModuleId, g_hostCallback, LogError,
                   "Not initializing portaudio because service not started.");
        return false;
    }
    const PaError error = Pa_Initialize();
    if (error != paNoError) {
        logMessage(ModuleId, g_hostCallback, LogError, "Portaudio failed to initialize %d (%s)",
                   error, Pa_GetErrorText(error));
        return false;
    }
    logMessage(ModuleId, g_hostCallback, LogInfo, "Portaudio initialized.");
    return true;
}

}  // namespace

void CPlugin::startAudioSystem() {
    if (audioStarted)
        return;
    // Each step by itself: when one runs out of memory the others are still taken.
    contain([this] { readForceOsServices(forceOsServices); });
    if (initializePortAudio(isOsAudioServiceStarted(forceOsServices))) {
        audioStarted = true;
        contain([this] { devices = scanDevices(); });
    }
    TiXmlDocument settings;
    bool loaded = false;
    settingsRead = contain([&] { loaded = LoadXmlFile(settings, SettingsPath); });
    applyConfiguration(loaded ? settings.RootElement() : nullptr, true);
}
