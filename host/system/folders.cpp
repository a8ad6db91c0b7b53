#include "host/system/folders.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

void refuse(const std::string& what, const std::error_code& error, const char* option) {
    throw std::runtime_error("cannot write to " + what + ": " + error.message() +
                             "; choose another with " + option);
}

}  // namespace

void readyFolder(const std::filesystem::path& folder, const char* option) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!error && access(folder.c_str(), W_OK | X_OK) != 0)
        error = {errno, std::generic_category()};
    if (error)
        refuse("the folder " + folder.string(), error, option);
}

void readyFile(const std::filesystem::path& file, const char* option) {
    readyFolder(file.parent_path(), option);
    std::error_code error;
    const bool isThere = std::filesystem::exists(file, error);
    if (error)
        refuse(file.string(), error, option);
    if (!isThere) {
        std::filesystem::path target = file;
        while (is_symlink(target, error))
            target = target.parent_path() / read_symlink(target, error);
        if (access(target.parent_path().c_str(), W_OK | X_OK) != 0)
            refuse(target.string(), {errno, std::generic_category()}, option);
        return;
    }
    const int opened = open(file.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (opened < 0)
        refuse(file.string(), {errno, std::generic_category()}, option);
    close(opened);
}

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream opened(file, std::ios::binary);
    std::ostringstream content;
    content << opened.rdbuf();
    return opened ? content.str() : "";
}

void makeAbsolute(std::filesystem::path& path) {
    if (path.empty())
        return;
    std::error_code error;
    path = std::filesystem::absolute(path, error);
    if (error)
        throw std::runtime_error("the working directory is gone; change to another");
    const auto real = std::filesystem::weakly_canonical(path, error);
    if (!error)
        path = real;
}
