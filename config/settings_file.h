// The settings file: everything the module keeps between two lives.
#pragma once

// In the process's working directory, with its pending file beside it.
constexpr const char* SettingsPath = "tamborin.xml";
