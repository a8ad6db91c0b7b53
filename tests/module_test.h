// A module between fakes: the host's side of the contract, with an account of every buffer lent.
//
// The worker runs on the test's own thread and the test acts in its pauses (fakeClock.onPause).
#pragma once

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "fake_clock.h"
#include "fake_portaudio.h"
#include "plugin/tamborin.h"
#include "trace.h"

constexpr int32_t Channel0 = 0x140110;

inline std::string fileContent(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A log level by its name ("detail", "info", "notice", "error"); "none" is above all.
int32_t levelNamed(const std::string& name);

inline std::string repeat(const std::string& text, size_t times) {
    std::string all;
    while (times-- > 0)
        all += text;
    return all;
}

class ModuleTest : public testing::Test {
  public:
    // Loads the module into a working directory of its own, with no devices.
    ModuleTest();
    // Unloads it and checks that each accepted buffer came back exactly once, and no other did.
    ~ModuleTest() override;

    static int64_t load();
    static void nextLife() { Unload(), load(); }
    // Runs the worker until something closes the module.
    static void run();
    static constexpr uint8_t Poison = 0xEE;
    // Lends the module a buffer; true when accepted. A returned buffer is noted in the trace
    // ("release NAME"), filled with Poison and freed: its later use shows in what is played or to
    // the sanitizers. Any thread.
    static bool write(const std::string& name, const std::vector<uint8_t>& codes, int64_t target,
                      uint64_t type);
    static bool ioctl(const std::string& name, const std::string& text, int32_t code);
    static bool configure(const std::string& xml) {
        return ioctl("document", xml, IoctlConfiguration);
    }
    static bool enable(const std::string& number, const std::string& enabled = "1") {
        return configure(enablingDocument(number, enabled));
    }
    static std::string enablingDocument(const std::string& number, const std::string& enabled,
                                        const std::string& inputs = "") {
        return "<Varo><Devices ID='1310720'><Device><Audio>" + inputs +
               "</Audio><Codec><Encoder><AudioChannel Number='" + number + "' Enabled='" + enabled +
               "'/></Encoder></Codec></Device></Devices></Varo>";
    }

    // Buffers that the module has, or is being offered.
    static size_t lent() {
        const std::lock_guard held(mutex_);
        return loans_.size();
    }
    static int32_t receive(const HostMessage* message, int32_t reserved);

    // Offers a null buffer; true when accepted.
    static bool writeNull();

    static inline HostTable hostTable_{};
    static inline ModuleInfo moduleInfo_{};
    static inline int32_t threshold;           // the answer to level queries
    static inline int32_t answer;              // the answer to documents and audio
    static inline bool showsRecords;           // notes every record, byte for byte
    static inline std::string document;        // the last one sent
    static inline std::string description;     // the last one of them that describes the channels
    static inline std::vector<uint8_t> frame;  // the last audio frame
    static inline std::string closingText;     // a log line at which the host closes the module
    static inline std::function<void()> whileSending;  // called when a frame arrives

  private:
    struct Loan {
        std::string name;
        size_t size;
        std::unique_ptr<uint8_t[]> bytes;
    };
    static const void* lend(const std::string& name, const void* data, size_t size);
    static bool settle(const void* buffer, bool accepted);
    static std::string takeBack(const void* buffer);

    static inline std::mutex mutex_;  // guards the loans and the trace
    static inline std::map<const void*, Loan> loans_;
    std::filesystem::path folder_;
};
