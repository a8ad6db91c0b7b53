#pragma once

#include <filesystem>

// Makes the folder if it is missing. Throws std::runtime_error, which names the option that chooses
// another folder, when that fails or the folder cannot be written.
void readyFolder(const std::filesystem::path& folder, const char* option);

// The same for a file that is to be written, in the folder where it will be.
void readyFile(const std::filesystem::path& file, const char* option);
