#include "host/system/folder_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

int opened(const std::filesystem::path& folder) {
    return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

// Returns the folder's device and inode as /proc/locks writes them.
std::string placeOf(int folder) {
    struct stat status {};
    fstat(folder, &status);
    std::array<char, 64> place{};
    std::snprintf(place.data(), place.size(), "%02x:%02x:%ju", major(status.st_dev),
                  minor(status.st_dev), uintmax_t{status.st_ino});
    return place.data();
}

// Returns the name of the process that locks the folder. Only /proc/locks tells it. Some file
// systems have other device numbers there: then the name stays unknown.
std::string processThatLocks(int folder) {
    const std::string wanted = placeOf(folder);
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        // "1: FLOCK ADVISORY WRITE 4711 fe:00:1234 0 EOF"
        constexpr size_t Kind = 1;
        constexpr size_t Process = 4;
        constexpr size_t Place = 5;
        std::istringstream text(line);
        const std::vector<std::string> words{std::istream_iterator<std::string>(text), {}};
        if (words.size() <= Place || words[Kind] != "FLOCK" || words[Place] != wanted)
            continue;
        std::string name;
        if (std::getline(std::ifstream("/proc/" + words[Process] + "/comm"), name))
            return name.append(" (process ").append(words[Process]).append(")");
    }
    return "another process";
}

}  // namespace

FolderLock::FolderLock(const std::filesystem::path& folder) : folder_(opened(folder)) {
    // Tries again, because `holderOf` in another process takes the lock for a moment.
    for (int tries = 10; flock(folder_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; --tries) {
        if (tries == 0) {
            const std::string holder = processThatLocks(folder_);
            close(folder_);
            throw std::runtime_error("the settings folder " + folder.string() + " is in use by " +
                                     holder + "; end that first, or choose another with --dir");
        }
        std::this_thread::sleep_for(20ms);
    }
}

FolderLock::~FolderLock() {
    if (folder_ >= 0)
        close(folder_);
}

std::string FolderLock::holderOf(const std::filesystem::path& folder) {
    const int looked = opened(folder);
    const bool isHeld = flock(looked, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    std::string holder = isHeld ? processThatLocks(looked) : "";
    if (looked >= 0)
        close(looked);
    return holder;
}
