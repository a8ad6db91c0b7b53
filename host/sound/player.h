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

// Calls loadClip (host/sound/clip.h) and shows its progress. Throws std::runtime_error. Ends the
// process when the user stops the tool meanwhile.
std::vector<uint8_t> readClip(const std::filesystem::path& file, double seconds, Console& console);

class Player {
  public:
    // For playing `clip` on the channel, and then two seconds of silence. A closing stream drops
    // what the device still holds: some of the silence, and not the clip's end.
    Player(ModuleHost& module, int32_t channelId, std::vector<uint8_t> clip);

    // Lends the module the next blocks, up to two seconds ahead. Call it several times a second.
    // Returns false once all has been played, or when no block came back for ten seconds.
    bool feed();
    // Returns true when the module has returned every block of clip and silence.
    bool isDone() const { return position_ == codes_.size() && outstanding() == 0; }
    double playedSeconds() const;
    // Returns the part of clip and silence that has been played, 0 to 1.
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
