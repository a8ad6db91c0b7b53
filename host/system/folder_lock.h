// Lets only one process of the tool use a settings folder at a time. Each process restores at its
// end the settings that it found, and a second one would find the first one's temporary changes.
#pragma once

#include <filesystem>
#include <string>

class FolderLock {
  public:
    // Throws std::runtime_error, which names the process that uses the folder. A folder that the
    // user may not read, or whose file system has no locks, is used without a lock.
    explicit FolderLock(const std::filesystem::path& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    // Returns the process that uses the folder, such as "tamborin-host (process 123)"; an empty
    // text when no process does.
    static std::string holderOf(const std::filesystem::path& folder);

  private:
    int folder_;
};
