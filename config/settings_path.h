// The name of the settings file.
#pragma once

// In the process's working directory. Its pending file (config/xml_store.h) lies beside it.
constexpr const char* SettingsPath = "tamborin.xml";
