#include "config/our_devices.h"

#include "plugin/tamborin.h"

const TiXmlElement* findOurDevices(const TiXmlElement* root) {
    const TiXmlElement* devices = root != nullptr ? root->FirstChildElement("Devices") : nullptr;
    for (; devices != nullptr; devices = devices->NextSiblingElement("Devices")) {
        int id = 0;
        if (devices->QueryIntAttribute("ID", &id) == TIXML_SUCCESS && id == ModuleId)
            break;
    }
    return devices;
}
