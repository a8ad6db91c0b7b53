// Folders and files that the user has named.
#pragma once

#include <filesystem>
#include <string>

// Makes the folder if it is missing. Throws std::runtime_error, which names the option that chooses
// another folder, when that fails or the folder cannot be written.
void readyFolder(const std::filesystem::path& folder, const char* option);

// Makes the file's folder if it is missing, and checks that the file can be written. Does not make
// the file, nor the folder of a link's target. Throws like readyFolder.
void readyFile(const std::filesystem::path& file, const char* option);

// Returns the file's bytes, or an empty text when it cannot be read.
std::string contentOf(const std::filesystem::path& file);

// Leaves an empty path empty. Follows links where they can be resolved. A path such as /dev/fd/63
// of a pipe, or in a folder that may not be searched, is only made absolute. Throws
// std::runtime_error when the working directory is gone.
void makeAbsolute(std::filesystem::path& path);
