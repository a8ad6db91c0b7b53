#include "host/system/programs.h"

std::filesystem::path partOfTool(const char* name, const char* installed) {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    if (error)
        return name;
    const auto built = folder / name;
    return exists(built, error) ? built : (folder / installed / name).lexically_normal();
}
