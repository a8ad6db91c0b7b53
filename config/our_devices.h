// Where a document speaks of this module.
#pragma once

#include <tinyxml.h>

// Returns the first Devices element below `root` that has the module's ID; null when there is none
// or `root` is null. The root's own name does not matter. Any thread.
const TiXmlElement* findOurDevices(const TiXmlElement* root);
