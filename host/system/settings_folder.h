// The folder of the module's settings file, which the module looks for in the working directory.
#pragma once

#include <filesystem>

#include "host/system/folder_lock.h"

// Has the folder as the process's working directory, and keeps other processes of the tool from it.
class SettingsFolder {
  public:
    // Makes the folder when it is missing. Throws std::runtime_error, which names the option that
    // chooses another folder.
    explicit SettingsFolder(const std::filesystem::path& folder);
    // Goes back to the working directory before. The module has been unloaded.
    ~SettingsFolder();
    SettingsFolder(const SettingsFolder&) = delete;
    SettingsFolder& operator=(const SettingsFolder&) = delete;

  private:
    const FolderLock lock_;
    const int before_;  // negative when it was gone
};
