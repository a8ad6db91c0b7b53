#include "host/folders.h"

#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <string>

void readyFolder(const std::filesystem::path& folder, const char* option) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!error && access(folder.c_str(), W_OK | X_OK) != 0)
        error = {errno, std::generic_category()};
    if (error)
        throw std::runtime_error("cannot write to the folder " + folder.string() + ": " +
                                 error.message() + "; choose another with " + option);
}
