// The host's side of the contract: loads a module, gives it a thread, keeps an account of every
// buffer that it lends, and passes on the module's records. Copy this into your own host.
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

// The library cannot be loaded, or is another module.
struct ModuleLoadError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Receives the module's records. Called on several threads at once, also inside the
// constructor and `stop`. Arguments are valid only during the call. Of the functions that change
// the ModuleHost it may call only `configure` and `play`. While it gets a log line it may not call
// `play` either, nor wait for a thread that does, for example by a mutex.
struct ModuleListener {
    // Gets every record, unparsed, with the host's answer to it. The buffer of a
    // KindBufferRelease record is freed before the call.
    std::function<void(const HostMessage& message, int32_t answer)> onRecord = [](auto...) {};
    std::function<void(int32_t level, std::string_view text)> onLog = [](auto...) {};
    std::function<void(std::string_view xml, int64_t kind)> onDocument = [](auto...) {};
    std::function<void(const CapturedFrame& frame)> onFrame = [](auto...) {};
};

struct BufferAccount {
    uint64_t lent = 0;      // accepted by the module
    uint64_t returned = 0;  // of those, handed back
    uint64_t faults = 0;    // handed back twice, or without a loan
};

// At most one object in a process, because the module's callback has no argument for it. Only the
// functions that say so may be called on any thread, the others on one thread.
class ModuleHost {
  public:
    // Loads and opens the module, which announces itself. The dynamic linker finds a library
    // whose path has no slash. `logThreshold` is the lowest level of the log lines that are wanted.
    // Throws ModuleLoadError.
    ModuleHost(const std::filesystem::path& library, ModuleListener listener, int32_t logThreshold);
    // Stops and unloads the module.
    ~ModuleHost();
    ModuleHost(const ModuleHost&) = delete;
    ModuleHost& operator=(const ModuleHost&) = delete;

    // Starts the module's thread, on which the module finds the devices and describes its channels.
    void start();
    // Closes the module, waits for its thread and unloads it, which returns every buffer.
    void stop();

    // Lends a configuration document. Returns false when the module refuses it. Any thread.
    bool configure(std::string_view xml);
    // Lends mu-law audio for an output. Returns false when the module refuses it. Any thread.
    bool play(int32_t channelId, std::span<const uint8_t> codes);
    // Returns the account of all loans. Any thread.
    BufferAccount buffers() const;
    // Returns the account of the loans for one channel; documents have the ID 0. Only the account
    // of all loans counts faults. Any thread.
    BufferAccount buffers(int32_t channelId) const;
    // Returns the samples lent for this output that have not come back. Any thread.
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
    bool concludeLoan(const void* buffer, int32_t channelId, bool accepted);
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
