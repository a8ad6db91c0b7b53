#include "host/doctor/discovery.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <stdexcept>

#include "host/session/advice.h"
#include "host/session/log_lines.h"
#include "host/system/settings_folder.h"

namespace {

// Makes a temporary folder, and removes it with its content at the end.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "tamborin-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("cannot make a folder in " +
                                     std::filesystem::temp_directory_path().string());
        path_ = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace

bool Discovery::has(bool outputs) const {
    return std::ranges::any_of(channels, [outputs](const ChannelDescription& channel) {
        return channel.isOutput == outputs && channel.hasDevice;
    });
}

Discovery discover(const SoundServer& server, const SessionOptions& options, Console& console,
                   ProcessEnd endProcess) {
    Discovery discovery;
    if (server.hangs) {
        discovery.failure = "not run: it would wait for the sound server";
        return discovery;
    }
    std::mutex mutex;  // guards the discovery
    try {
        // The module writes its settings when it starts, so it must not run in the user's folder.
        const TemporaryFolder folder;
        const SettingsFolder entered(folder.path());
        Session session(options, console, endProcess,
                        {.onLog =
                             [&](int32_t, std::string_view text) {
                                 const std::lock_guard held(mutex);
                                 discovery.log.emplace_back(text);
                             },
                         .onDocument =
                             [&](std::string_view xml, int64_t) {
                                 const std::lock_guard held(mutex);
                                 if (const std::string version = announcedVersion(xml);
                                     !version.empty())
                                     discovery.version = version;
                             }},
                        LogFactLevel);
        discovery.channels = session.channels();
        session.finish();
    } catch (const ModuleLoadError& error) {
        discovery.failure = error.what();
        discovery.advice = NameLibrary;
    } catch (const std::exception& error) {
        discovery.failure = error.what();
    }
    return discovery;
}
