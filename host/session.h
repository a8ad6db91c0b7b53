// One run of the tool: the module loaded and described, until the time is up or the user stops it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/description.h"
#include "host/module_host.h"

struct SessionOptions {
    std::filesystem::path module;  // the library
    int32_t logLevel = LogError;   // lines below are not shown
    double seconds = 0;            // 0: until stopped
};

class Session {
  public:
    // Loads and starts the module, whose settings file is in the working directory, and waits for
    // its description. `onFrame` is called on the module's thread. Throws std::runtime_error, also
    // when the module does not describe itself in time.
    Session(
        const SessionOptions& options,
        std::function<void(const CapturedFrame&)> onFrame = [](const CapturedFrame&) {});

    // The channels as first described.
    const std::vector<ChannelDescription>& channels() const { return first_.channels; }
    int bufferLength() const { return first_.bufferLength; }
    // The channels with these numbers and this direction; without numbers all that have a device.
    // Throws when one is unknown, runs the other way or has no device, or when there is none.
    std::vector<ChannelDescription> choose(const std::vector<int>& numbers, bool outputs) const;

    // Enables channels, sets the buffering when positive, and waits for the module's answer.
    void enable(const std::vector<ChannelDescription>& channels, int bufferLength);
    // Restores what enable has changed, stops the module, and answers the final account.
    BufferAccount finish();

    ModuleHost& module() { return module_; }
    // False once the time is up or the user has stopped the tool.
    bool running() const;
    double elapsedSeconds() const;

  private:
    void onDocument(std::string_view xml);
    Description await(int generation);
    void send(const std::string& document);

    const SessionOptions options_;
    std::mutex mutex_;  // guards what the module's thread writes
    std::condition_variable described_;
    Description latest_;
    int generation_ = 0;
    ModuleHost module_;
    Description first_;
    std::vector<int> enabledHere_;
    bool bufferingChanged_ = false;
    const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// Makes SIGINT and SIGTERM end the running session. Once, before any thread is started.
void stopOnSignals();
