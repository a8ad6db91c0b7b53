// Feeds a clip to an output channel, ahead of what the device plays.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <vector>

#include "host/session/module_host.h"
#include "host/terminal/console.h"

// Buffering (ms) that an output needs to start without a gap: a device asks for three blocks at
// once when it starts.
constexpr int GaplessBufferLength = 1000;

// Reads so many seconds of a clip (host/sound/clip.h), showing how far it is. Throws
// std::runtime_error; ends the process when the user stops it meanwhile.
std::vector<uint8_t> readClip(const std::filesystem::path& file, double seconds, Console& console);

class Player {
  public:
    // `clip` is played on the channel, followed by silence that pushes its end through the
    // device's own buffer, which is dropped when a stream closes.
    Player(ModuleHost& module, int32_t channelId, std::vector<uint8_t> clip);

    // Lends what the module may have by now; call it some times a second. False once all has been
    // played, or nothing was for a long time.
    bool feed();
    // Whether the whole clip came back played.
    bool isDone() const { return position_ == codes_.size() && outstanding() == 0; }
    double playedSeconds() const;
    // Of clip and silence.
    double fractionPlayed() const;

  private:
    uint64_t outstanding() const;
    size_t playedLength() const;

    ModuleHost& module_;
    const int32_t channelId_;
    std::vector<uint8_t> codes_;
    const size_t clipLength_;
    size_t position_ = 0;
    uint64_t blocksLent_ = 0;
    uint64_t lastOutstanding_ = 0;
    std::chrono::steady_clock::time_point lastProgress_ = std::chrono::steady_clock::now();
};
