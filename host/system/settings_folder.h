// The folder of the module's settings file. The module looks for the file in the working directory.
#pragma once

#include <filesystem>

#include "host/system/folder_lock.h"

// Makes the folder the process's working directory, and keeps other processes of the tool from
// using it, while this object lives.
class SettingsFolder {
  public:
    // Makes the folder when it is missing. Throws std::runtime_error, which names the option that
    // chooses another folder.
    explicit SettingsFolder(const std::filesystem::path& folder);
    // Returns to the previous working directory. Called after the module is unloaded.
    ~SettingsFolder();
    SettingsFolder(const SettingsFolder&) = delete;
    SettingsFolder& operator=(const SettingsFolder&) = delete;

  private:
    const FolderLock lock_;
    const int previous_;  // the previous working directory; negative when it could not be opened
};
