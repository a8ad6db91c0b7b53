// One RTSP client's turn on the output. All functions may be called on any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <utility>

#include "host/serve/rtsp_hub.h"

// A client takes the output when he sets his backchannel up. He loses it after ten seconds without
// a packet. His next packet takes it again, unless somebody else has it.
class RtspTalk {
  public:
    // Without an output nobody can talk.
    RtspTalk(SharedHub hub, std::optional<int> output) : hub_(std::move(hub)), output_(output) {}
    ~RtspTalk() { end(); }
    RtspTalk(const RtspTalk&) = delete;
    RtspTalk& operator=(const RtspTalk&) = delete;

    enum class Answer { Refused, Taken, HadIt };
    Answer take();
    // Gives the output back until the next packet.
    void giveBack();
    // Gives it back when no packet came for ten seconds.
    void giveBackIfIdle();
    // Gives it back for good.
    void end();
    // Plays the sound, see Talk::put.
    void put(int64_t position, std::span<const uint8_t> codes);

  private:
    bool holds();

    const SharedHub hub_;
    const std::optional<int> output_;
    std::mutex mutex_;  // guards what follows
    std::unique_ptr<Talk> talk_;
    int64_t lastPut_ = 0;  // or when the output was taken, steady ms
    bool hasEnded_ = false;
};
