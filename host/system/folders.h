// Folders and files that the user has named.
#pragma once

#include <filesystem>
#include <string>

// Makes the folder if it is missing. Throws std::runtime_error, which names the option that chooses
// another folder, when that fails or the folder cannot be written.
void readyFolder(const std::filesystem::path& folder, const char* option);

// The same for a file that is to be written, in the folder where it will be.
void readyFile(const std::filesystem::path& file, const char* option);

// Returns what the file holds; nothing when it cannot be read.
std::string contentOf(const std::filesystem::path& file);
