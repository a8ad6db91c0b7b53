#include "host/doctor/trial_save.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "config/settings_path.h"
#include "config/xml_store.h"

namespace {

constexpr size_t TrialSize = 64 << 10;  // bytes, more than most settings have

std::string failure(const char* what) { return std::string(what) + ": " + std::strerror(errno); }

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};

// Returns the step that failed and why, or an empty text.
std::string writeFile(const std::string& path) {
    std::unique_ptr<FILE, FileCloser> file(std::fopen(path.c_str(), "wbx"));
    if (!file)
        return failure("a file cannot be made");
    static constexpr std::array<char, TrialSize> Content{};
    const bool isWritten =
        std::fwrite(Content.data(), 1, Content.size(), file.get()) == TrialSize &&
        std::fflush(file.get()) == 0 && fsync(fileno(file.get())) == 0;
    const std::string flaw = isWritten ? "" : failure("a file cannot be written");
    return std::fclose(file.release()) != 0 && flaw.empty() ? failure("a file cannot be written")
                                                            : flaw;
}

// Returns true when the folder's sticky bit protects the file from this user.
bool isGuarded(const struct statx& file, const std::filesystem::path& path) {
    struct stat folder {};
    return stat(path.parent_path().c_str(), &folder) == 0 && (folder.st_mode & S_ISVTX) != 0 &&
           geteuid() != 0 && geteuid() != file.stx_uid && geteuid() != folder.st_uid;
}

}  // namespace

std::string trySave(const std::filesystem::path& folder) {
    std::string target = (folder / (std::string(SettingsPath) + ".trial-XXXXXX")).string();
    const int made = mkstemp(target.data());
    if (made < 0)
        return failure("a file cannot be made");
    close(made);
    const std::string pending = target + PendingSuffix;
    std::string flaw = writeFile(pending);
    if (flaw.empty() && std::rename(pending.c_str(), target.c_str()) != 0)
        flaw = failure("a file cannot be replaced");
    unlink(pending.c_str());
    unlink(target.c_str());
    return flaw;
}

std::string whyNotReplaceable(const std::filesystem::path& path) {
    struct statx status {};
    if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &status) != 0)
        return errno == ENOENT ? "" : std::strerror(errno);
    if (S_ISDIR(status.stx_mode))
        return "it is a folder";
    if ((status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0)
        return "something is mounted there";
    if ((status.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0)
        return "it is protected by an attribute (lsattr shows it)";
    if (isGuarded(status, path))
        return "it is another user's, in a sticky folder";
    return "";
}
