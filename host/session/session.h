// One run of the tool: the module loaded and described, until the time is up or the user stops it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "host/session/documents.h"
#include "host/session/module_host.h"
#include "host/terminal/console.h"

struct SessionOptions {
    std::filesystem::path module;  // the library
    int32_t logLevel = LogError;   // lines below are not shown
    double seconds = 0;            // 0: until stopped
};

// Ends the process, with a line for the user; does not return.
using ProcessEnd = void (*)(Console& console, const std::string& line);

class Session {
  public:
    // Loads and starts the module, which finds its settings in the working directory, and waits for
    // its description. `listener` is called on the module's threads, for log lines from
    // `listenerLevel` on. Throws std::runtime_error, also when a signal comes meanwhile. Calls
    // `endProcess` when the module hangs, here and in enable, send, finish and the destructor.
    Session(const SessionOptions& options, Console& console, ProcessEnd endProcess,
            const ModuleListener& listener = {}, int32_t listenerLevel = LogError);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // The channels as last described.
    std::vector<ChannelDescription> channels() const;
    // The description itself.
    std::string descriptionXml() const;

    // Enables channels, sets the buffering when positive, and waits for the module's answer.
    // The time to run begins then.
    void enable(const std::vector<ChannelDescription>& channels, int bufferLength);
    // Waits until a first sound is heard, though not for long; the time to run begins anew.
    void awaitSound(const std::function<bool()>& isHeard);
    // Sends a configuration document and waits for the description that answers it.
    void send(const std::string& document);
    // Restores what enable has changed, stops the module, and returns the final account.
    BufferAccount finish();

    ModuleHost& module() { return module_; }
    const ModuleHost& module() const { return module_; }
    // False once the time is up or the user has stopped the tool.
    bool running() const;
    double elapsedSeconds() const;
    // Of the time to run; 0 without an end.
    double fractionDone() const;

  private:
    ModuleListener composed(const ModuleListener& listener);
    int startModule();
    void onDocument(std::string_view xml);
    void awaitModule(const std::string& what, const std::function<bool()>& isDone);
    bool isDescribed(int generation);
    [[noreturn]] void throwStopped();
    [[noreturn]] void giveUp(const std::string& line);

    const SessionOptions options_;
    Console& console_;
    const ProcessEnd endProcess_;
    mutable std::mutex mutex_;  // guards what the module's thread writes
    std::condition_variable described_;
    Description latest_;
    std::string latestXml_;
    int generation_ = 0;
    ModuleHost module_;
    const int firstBufferLength_;
    std::vector<int> enabledHere_;
    bool bufferingChanged_ = false;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};
