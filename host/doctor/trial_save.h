// Whether the module can save its settings in a folder.
#pragma once

#include <filesystem>
#include <string>

// Does what a save does, with files of its own that are gone afterwards. Answers what failed, and
// why; empty when nothing did.
std::string trySave(const std::filesystem::path& folder);

// Why a save could not put a file in the place of what is there, link or not; empty when it could,
// or when nothing is there. Only looks.
std::string whyNotReplaceable(const std::filesystem::path& path);
