// The module's start-up, and what it does with configuration documents. Worker thread.
#include <tinyxml.h>

#include <system_error>

#include "base/contain.h"
#include "config/configuration.h"
#include "config/settings_document.h"
#include "config/settings_path.h"
#include "config/xml_parse.h"
#include "config/xml_store.h"
#include "core/plugin.h"
#include "devices/audio_system.h"

namespace {

class TinyOneDoc : public TiXmlDocument {};

// Reads ForceOsServices, which the check of the audio service needs before PortAudio starts, from
// the first Devices element, whatever its ID.
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

}  // namespace

void CPlugin::startAudioSystem() {
    if (audioStarted)
        return;
    // Each step up to the load is contained: one that runs out of memory does not end the others.
    contain([this] { readForceOsServices(forceOsServices); });
    if (initializePortAudio(isOsAudioServiceStarted(forceOsServices))) {
        audioStarted = true;
        contain([this] { devices = scanDevices(); });
    }
    TiXmlDocument file;
    const bool isLoaded = contain([&] { loadSettings(file); });
    // A load that threw may have left part of a document in `file`.
    applyConfiguration(isLoaded ? file.RootElement() : nullptr, true);
    settingsHeld = isLoaded;
    writeSettings();
}

// Leaves `file` without a root element when there is no usable file. Retries for about a second
// while the system is short of descriptors or memory, and throws if that does not end.
void CPlugin::loadSettings(TiXmlDocument& file) const {
    for (int pausesLeft = 100;; --pausesLeft) {
        try {
            if (!LoadXmlFile(file, SettingsPath))
                file.Clear();
            return;
        } catch (const std::system_error&) {
            if (pausesLeft == 0 || sleepUnlessStopped(10))
                throw;
        }
    }
}

void CPlugin::onIoctlMessage(const ipcam::IoctlMessage& message) {
    TinyOneDoc document;
    if (message.data != nullptr && message.length != 0) {
        textBuffer.assign(static_cast<const char*>(message.data), message.length);
        parseXml(document, textBuffer);  // a malformed text is used up to its error
    }
    if (applyConfiguration(document.RootElement(), false))
        writeSettings();
}

bool CPlugin::applyConfiguration(const TiXmlElement* root, bool fromSettings) {
    return DocumentApplier({bufferLength, forceOsServices, devices, channels}, fromSettings)
        .apply(root);
}

void CPlugin::writeSettings() {
    TiXmlDocument document;
    describeSettings(document, {bufferLength, forceOsServices}, channels);
    // The description is sent even when the save fails, which leaves the old file.
    if (settingsHeld)
        contain([&] { SaveXmlFile(document, SettingsPath); });
    sendDocument(document, KindModuleDocument);
}
