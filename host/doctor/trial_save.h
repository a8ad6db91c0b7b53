// Tries whether the module can save its settings in a folder.
#pragma once

#include <filesystem>
#include <string>

// Tries the steps of a save with files of its own, and removes them. Returns the step that failed
// and why, or an empty text.
std::string trySave(const std::filesystem::path& folder);

// Returns why a save could not replace the file, or an empty text. A missing file is replaceable. A
// link is replaced itself, not its target. Changes nothing.
std::string whyNotReplaceable(const std::filesystem::path& path);
