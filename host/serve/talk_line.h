// The way of a talker's sound to one output: in order, without gaps, and never far ahead of what
// the device plays.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "host/session/module_host.h"

// Writes on a thread of its own, as a write may wait for a sound server. While somebody talks, and
// for two seconds after, silence fills what he leaves empty: the module closes a stream whose queue
// runs dry, and drops what the device still holds.
class TalkLine {
  public:
    TalkLine(ModuleHost& module, int32_t channelId, size_t mostAhead);
    ~TalkLine() { stop(); }
    TalkLine(const TalkLine&) = delete;
    TalkLine& operator=(const TalkLine&) = delete;

    // Drops what waits, and takes nothing any more. One thread.
    void stop();

    // What follows: any thread, never waits.

    // False when somebody else has it.
    bool begin();
    void end();
    bool isTaken() const;
    // As Talk has them (host/serve/hub.h).
    bool put(int64_t position, std::span<const uint8_t> codes);
    bool append(std::span<const uint8_t> codes);
    size_t room() const;

  private:
    void run();
    bool writeSome();
    std::vector<uint8_t> nextBlock();

    ModuleHost& module_;
    const int32_t channelId_;
    const size_t mostAhead_;  // samples

    mutable std::mutex mutex_;  // guards what follows
    std::condition_variable wake_;
    bool isTaken_ = false;
    bool isEnding_ = false;
    std::vector<uint8_t> waiting_;
    int64_t end_ = 0;  // samples, with all silence, since the line began to sound
    std::optional<int64_t> senderAhead_;  // of the sender's time before `end_`
    size_t silenceSinceTalk_ = 0;         // samples

    std::thread thread_;
};
