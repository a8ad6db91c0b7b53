// Brings a talker's sound to one output, and keeps the output's stream running while he talks.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "host/serve/talk_queue.h"
#include "host/session/module_host.h"

// Writes on a thread of its own, because a write may wait for a sound server. While somebody talks,
// and for two seconds afterwards, it writes silence when the talker's sound is used up: the module
// closes a stream whose queue is empty, and drops what the device still holds.
class TalkLine {
  public:
    TalkLine(ModuleHost& module, int32_t channelId, size_t mostAhead);
    ~TalkLine() { stop(); }
    TalkLine(const TalkLine&) = delete;
    TalkLine& operator=(const TalkLine&) = delete;

    // Drops the waiting sound and ends the thread. After that `begin` is refused. Called by one
    // thread only.
    void stop();

    // The following functions may be called on any thread and never wait.

    // Takes the line for a talker. Returns false when another has it.
    bool begin();
    void end();
    bool isTaken() const;
    // While the output is kept off, drops all sound and takes no more.
    void keepOff(bool isKeptOff);
    // See Talk (host/serve/hub.h).
    bool put(int64_t position, std::span<const uint8_t> codes);
    bool append(std::span<const uint8_t> codes);
    size_t room() const;

  private:
    void run();
    bool writeSome();
    std::vector<uint8_t> nextBlock();

    ModuleHost& module_;
    const int32_t channelId_;

    mutable std::mutex mutex_;  // guards what follows
    std::condition_variable wake_;
    bool isTaken_ = false;
    bool isEnding_ = false;
    bool isKeptOff_ = false;
    TalkQueue queue_;
    size_t silenceSinceTalk_ = 0;  // samples

    std::thread thread_;
};
