// The host's side of the contract, faithfully: loads a module, gives it a thread, keeps an account
// of every buffer that it lends, and passes on what the module says. Copy this into your own host.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "plugin/tamborin.h"

struct CapturedFrame {
    int32_t channelId;
    std::span<const uint8_t> codes;  // mu-law, 8000 Hz
    int64_t milliseconds;            // Unix time of capture
};

// The library cannot be loaded, or is another.
struct ModuleLoadError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What the module says. Called on the module's threads, several at once; what a call refers to is
// gone when it returns. Must not call back into the ModuleHost, but for lending.
struct ModuleListener {
    // Every record as it is, and what the host answers to it. A buffer that it returns is gone
    // already.
    std::function<void(const HostMessage& message, int32_t answer)> onRecord = [](auto...) {};
    std::function<void(int32_t level, std::string_view text)> onLog = [](auto...) {};
    std::function<void(std::string_view xml, int64_t kind)> onDocument = [](auto...) {};
    std::function<void(const CapturedFrame& frame)> onFrame = [](auto...) {};
};

struct BufferAccount {
    uint64_t lent = 0;      // accepted by the module
    uint64_t returned = 0;  // of those, handed back
    uint64_t faults = 0;    // handed back though not lent, or twice
};

// One at a time in a process: the module's callback carries no pointer of ours. Not shared between
// threads, except where said.
class ModuleHost {
  public:
    // Loads and announces the module. A path without a slash is looked for as the dynamic linker
    // does. `logThreshold` is the lowest level that the module shall log. Throws
    // ModuleLoadError.
    ModuleHost(const std::filesystem::path& library, ModuleListener listener, int32_t logThreshold);
    // Stops and unloads it.
    ~ModuleHost();
    ModuleHost(const ModuleHost&) = delete;
    ModuleHost& operator=(const ModuleHost&) = delete;

    // Starts the module's thread, in which it finds the devices and describes its channels.
    void start();
    // Closes the module, waits for its thread and unloads it, which returns every buffer.
    void stop();

    // Lends a configuration document; false when it is refused. Any thread.
    bool configure(std::string_view xml);
    // Lends mu-law audio for an output channel; false when it is refused. Any thread.
    bool play(int32_t channelId, std::span<const uint8_t> codes);
    // Of all loans. Any thread.
    BufferAccount buffers() const;
    // Of what was lent for one channel; documents have channel 0. A fault is no channel's, and is
    // counted in the account of all loans only. Any thread.
    BufferAccount buffers(int32_t channelId) const;
    // Samples lent for this output that have not come back. Any thread.
    size_t lentSamples(int32_t channelId) const;

  private:
    struct Loan {
        std::unique_ptr<uint8_t[]> bytes;
        int32_t channelId;  // 0: a document
        size_t length;      // bytes
    };
    template <typename Function>
    Function* resolve(const std::filesystem::path& library, const char* name) const;
    static int32_t receive(const HostMessage* message, int32_t reserved) noexcept;
    void passOn(const HostMessage& message);
    const void* lend(std::string_view bytes, int32_t channelId);
    bool settle(const void* buffer, int32_t channelId, bool accepted);
    void takeBack(const void* buffer);

    struct LibraryCloser {
        void operator()(void* handle) const;
    };
    std::unique_ptr<void, LibraryCloser> library_;
    decltype(&::Open) open_;
    decltype(&::IOCTL) ioctl_;
    decltype(&::Write) write_;
    decltype(&::Close) close_;
    decltype(&::Unload) unload_;
    const ModuleListener listener_;
    const int32_t logThreshold_;
    std::thread worker_;
    bool loaded_ = false;

    mutable std::mutex mutex_;  // guards what follows
    std::map<const void*, Loan> loans_;
    std::map<int32_t, BufferAccount> accounts_;  // by channel, without faults
    uint64_t faults_ = 0;
};
