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
    if (!isThere && is_symlink(file)) {
        const auto target = file.parent_path() / read_symlink(file);
        if (!is_directory(target.parent_path(), error))
            refuse(target.string(), std::make_error_code(std::errc::no_such_file_or_directory),
                   option);
    }
    if (!isThere)
        return;
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
