// Where the parts of the tool lie.
#pragma once

#include <filesystem>

// The file beside the running program, as the tree is built, or else where `installed` leads from
// the program's folder. Where there is no /proc to tell, the name alone.
std::filesystem::path partOfTool(const char* name, const char* installed);
