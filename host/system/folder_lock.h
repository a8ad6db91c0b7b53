// Keeps the settings folder to one process of the tool at a time: two would each restore what they
// found, and the last would find what the first has changed.
#pragma once

#include <filesystem>
#include <string>

class FolderLock {
  public:
    // Throws std::runtime_error, which tells who has the folder. One that the user may not read, or
    // whose file system knows no locks, is not kept.
    explicit FolderLock(const std::filesystem::path& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    // "tamborin-host (process 123)"; empty when nobody has the folder.
    static std::string holderOf(const std::filesystem::path& folder);

  private:
    int folder_;
};
