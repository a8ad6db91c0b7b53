// One run of the module in the tool, until the time is up or the user stops it.
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

// The type of endProcess (host/terminal/end_process.h), which does not return.
using ProcessEnd = void (*)(Console& console, const std::string& line);

class Session {
  public:
    // Loads and starts the module, which finds its settings in the working directory, and waits for
    // its description. `listener` is called on several threads, at least with the log lines of
    // `listenerLevel` and above. Throws std::runtime_error, also when a signal comes meanwhile.
    // Calls `endProcess` when the module hangs, as do enable, send, finish and the destructor.
    Session(const SessionOptions& options, Console& console, ProcessEnd endProcess,
            const ModuleListener& listener = {}, int32_t listenerLevel = LogError);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Returns the channels of the module's latest description.
    std::vector<ChannelDescription> channels() const;
    // Returns the latest description itself.
    std::string descriptionXml() const;

    // Enables channels, raises the buffering to `bufferLength` (ms) if it is shorter, and waits
    // until the module has applied that. The time to run begins then.
    void enable(const std::vector<ChannelDescription>& channels, int bufferLength);
    // Waits until `isHeard` returns true, for ten seconds at most, or until the user stops the
    // tool. The time to run begins anew.
    void awaitSound(const std::function<bool()>& isHeard);
    // Sends a configuration document and waits for the description that answers it.
    void send(const std::string& document);
    // Restores what enable has changed, stops the module, and returns the account of all buffers.
    BufferAccount finish();

    ModuleHost& module() { return module_; }
    const ModuleHost& module() const { return module_; }
    // Returns false once the time is up or the user has stopped the tool.
    bool running() const;
    double elapsedSeconds() const;
    // Returns the part of the time to run that is over; 0 when the session has no end.
    double fractionDone() const;

  private:
    ModuleListener composed(const ModuleListener& listener);
    int startModule();
    void onDocument(std::string_view xml);
    void awaitModule(const std::string& what, const std::function<bool()>& isDone);
    bool isDescribed(int times);
    [[noreturn]] void throwStopped();
    [[noreturn]] void giveUp(const std::string& line);

    const SessionOptions options_;
    Console& console_;
    const ProcessEnd endProcess_;
    mutable std::mutex mutex_;           // guards the three members about descriptions
    std::condition_variable described_;  // signalled at each description
    Description latest_;
    std::string latestXml_;
    int descriptions_ = 0;  // received so far
    ModuleHost module_;
    const int firstBufferLength_;
    std::vector<int> enabledHere_;
    bool bufferingChanged_ = false;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};
