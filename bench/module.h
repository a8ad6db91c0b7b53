// The host's side of the module, as little of it as a benchmark needs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "plugin/tamborin.h"
#include "tests/fake_portaudio.h"

// The ID of the channel with this number, below 240.
constexpr int32_t idOf(int number) { return ChannelIdBase + 16 + number; }

// The module, loaded into an empty working directory with so many devices, the inputs' channels
// before the outputs'. Its destructor unloads it and removes the folder. One at a time.
class Module {
  public:
    Module(int inputs, int outputs);
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    // Runs the worker on this thread until Close.
    static void run();
    // Sends a configuration document; the text must stay until the module hands it back.
    static bool configure(const std::string& document, int32_t code = IoctlConfiguration);
    // Writes `count` codes to a channel; they must stay until the module hands them back.
    static bool write(int32_t channel, const uint8_t* codes, uint32_t count);

    // Gets every record but log lines, on the module's threads.
    static inline std::function<void(const HostMessage&)> onMessage = [](const HostMessage&) {};

  private:
    static int32_t receive(const HostMessage* message, int32_t reserved);

    std::filesystem::path folder_;
};

// A document that names and enables the channels from 0 on, the inputs before the outputs.
std::string documentOf(int inputs, int outputs);
