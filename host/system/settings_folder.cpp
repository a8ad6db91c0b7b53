#include "host/system/settings_folder.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

#include "host/system/folders.h"

namespace {

const std::filesystem::path& readied(const std::filesystem::path& folder) {
    readyFolder(folder, "--dir");
    return folder;
}

}  // namespace

SettingsFolder::SettingsFolder(const std::filesystem::path& folder)
    : lock_(readied(folder)), previous_(open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)) {
    if (chdir(folder.c_str()) == 0)
        return;
    const std::string reason = std::strerror(errno);
    if (previous_ >= 0)
        close(previous_);
    throw std::runtime_error("cannot enter the folder " + folder.string() + ": " + reason +
                             "; choose another with --dir");
}

SettingsFolder::~SettingsFolder() {
    if (previous_ < 0)
        return;
    [[maybe_unused]] const int changed = fchdir(previous_);
    close(previous_);
}
