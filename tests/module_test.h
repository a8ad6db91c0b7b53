// A module between fakes: the host's side of the contract, with an account of every buffer lent.
//
// The worker runs on the test's own thread and the test acts in its pauses, so that everything
// happens in a known order.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "fake_clock.h"
#include "fake_portaudio.h"
#include "plugin/tamborin.h"
#include "trace.h"

constexpr int32_t Channel0 = 0x140110;

class ModuleTest : public testing::Test {
  protected:
    using Step = std::function<void()>;

    // Loads the module into a working directory of its own, with no devices.
    ModuleTest();
    // Unloads it and checks that each accepted buffer came back exactly once, each other never.
    ~ModuleTest() override;

    // Runs the worker; each step is taken in one pause, the first after the first pass. Closes in
    // the pause after the last.
    static void run(std::vector<Step> steps);
    static Step advance(std::chrono::milliseconds time) {
        return [time] { fakeClock.steady += time; };
    }

    // Lends the module a buffer; true when accepted. Its name appears in the trace when it is
    // handed back ("release NAME"), and its bytes are then overwritten.
    static bool write(const std::string& name, const std::vector<uint8_t>& codes,
                      int64_t target = Channel0, uint64_t type = TypeAudio);
    static bool ioctl(const std::string& name, const std::string& text,
                      int32_t code = IoctlConfiguration);
    static bool configure(const std::string& xml) { return ioctl("document", xml); }
    // A configuration of our Devices element with this content.
    static std::string ours(const std::string& content, const std::string& attributes = "") {
        return "<Varo><Devices ID=\"1310720\" " + attributes + ">" + content + "</Devices></Varo>";
    }
    static std::string enabling(const std::string& number, const std::string& enabled,
                                const std::string& inputs = "") {
        return ours("<Device><Audio>" + inputs + "</Audio><Codec><Encoder><AudioChannel Number=\"" +
                    number + "\" Enabled=\"" + enabled + "\"/></Encoder></Codec></Device>");
    }

    static void saveSettings(const std::string& text);
    static std::string settings();

    HostTable hostTable_{};
    ModuleInfo moduleInfo_{};
    static inline int32_t threshold;                  // what level queries are answered
    static inline int32_t answer;                     // what documents and audio are answered
    static inline std::string document;               // the last one sent
    static inline std::vector<HostMessage> messages;  // log texts, audio and releases, as they came
    static inline std::vector<uint8_t> frame;         // the last audio frame

  private:
    struct Loan {
        std::string name;
        std::vector<uint8_t> bytes;
        bool accepted = false;
        int returned = 0;
    };
    static int32_t receive(const HostMessage* message, int32_t reserved);
    static Loan& lend(const std::string& name, std::vector<uint8_t> bytes);

    static inline std::deque<Loan> loans_;
    std::filesystem::path folder_;
};
