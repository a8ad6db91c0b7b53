// Finds the files that belong to the tool.
#pragma once

#include <filesystem>

// Returns the path of the file `name`: beside the running program if it is there (in a build tree),
// else in `installed`, relative to the program's folder. Without /proc it returns `name` alone.
std::filesystem::path partOfTool(const char* name, const char* installed);
