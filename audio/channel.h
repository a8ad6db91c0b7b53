// One capture input or playback output: its identity, its PortAudio stream, and the queue of audio
// between that stream's real-time callback and the worker.
//
// Three kinds of thread reach a channel: the worker (every function not marked otherwise), the
// host's threads (pushPlayback) and the stream's callback thread (streamCallback and what it calls,
// marked RT_SAFE). The configuration creates channels, the channel map owns them, and they live
// until Unload.
#pragma once

#include <portaudio.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "audio/block_queue.h"
#include "audio/hint.h"
#include "audio/open_retry.h"
#include "audio/watchdog.h"
#include "base/mutex.h"
#include "plugin/tamborin.h"

constexpr int32_t ChannelSampleRate = AudioSampleRate;
constexpr int32_t FramesPerBuffer = AudioFrameSamples;  // samples per callback (256 ms)
constexpr uint32_t NoDevice = 0xFFFFFFFF;  // a channel's paIndex while it has no device

// The address of a channel in host records and its key in the channel map. Numbers that differ by
// a multiple of 256 share it.
constexpr int32_t channelId(uint32_t number) {
    return static_cast<int32_t>(((number + 16) & 0xFF) | ChannelIdBase);
}

class TiXmlElement;

class Channel {
  public:
    Channel(uint32_t number, bool input);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    // ---- stream (audio/channel_stream.cpp)
    // Opens and starts the stream when the channel has a device and no stream. Leaves alone a
    // stream that is open but not running: the watchdog restarts it. Stores PortAudio's result in
    // startResult. After a failure OpenRetry decides when a call tries again. May wait inside
    // PortAudio or ALSA for seconds.
    void openStream();
    // Returns OpenRetry's answer. While it is true, the worker calls openStream for an input on
    // every pass instead of isTimedOut. openStream limits how often it asks.
    bool isDeviceInDoubt() const { return retry.isDeviceInDoubt(); }
    // Closes the stream, if there is one. Audio that the device still holds is dropped.
    void closeStream();
    // Returns true once for each period of the watchdog in which the stream has not called back.
    // Cheap enough for every pass.
    bool isTimedOut() { return watchdog.isTimedOut(steadyTick()); }
    // Opens or restarts an output's stream when at least max(bufferLengthMs / 256, 1) blocks of any
    // length are queued. Closes it when nothing is queued. Holds queueLock while PortAudio opens or
    // closes the stream.
    void maintainOutput(int32_t bufferLengthMs) EXCLUDES(queueLock);

    // ---- queue
    // Removes the played blocks, or all blocks, and hands host buffers back, newest first.
    void purgeBlocks(bool onlyPlayed) EXCLUDES(queueLock);
    // Returns the number of queued blocks, without the lock: the value may be out of date.
    size_t queuedBlocks() const NO_THREAD_SAFETY_ANALYSIS { return blocks.size(); }
    // Removes and returns the oldest captured block. Returns null when the queue is empty or busy.
    AudioBlockPtr takeCaptured() EXCLUDES(queueLock);
    // Returns how many milliseconds pass between a sound and its callback, as PortAudio reports it.
    // Returns 0 without a stream, and when that is not between 0 and a day.
    int64_t inputLatencyMs() const;
    // Queues `count` mu-law codes for playback. Returns true when the channel now owns them; it
    // hands them back later. Returns false when memory is short; the host then keeps them. Host
    // threads; waits for the lock.
    bool pushPlayback(const uint8_t* codes, uint32_t count) EXCLUDES(queueLock);
    // Decodes what was written since the last pass. When memory is short the block and those behind
    // it stay undecoded until a later pass.
    void preparePlayback() EXCLUDES(queueLock);

    // ---- configuration (config/channel_elements.cpp)
    // Takes the name, the device's name and the schedule from an Input element, if it has them.
    void applyInputElement(const TiXmlElement& input);
    // Takes Enabled from an AudioChannel element, which may be null. Disabling empties the queue.
    // Enabling forgets failed opens. Does not open or close the stream.
    void applyEnabled(const TiXmlElement* audioChannel) EXCLUDES(queueLock);
    // Appends the channel's Input element to `audio` and its AudioChannel element to `encoder`.
    void describeChannel(TiXmlElement& audio, TiXmlElement& encoder) const;

    // PortAudio's callback; userData is the channel. Never waits: when the queue is busy an input
    // loses this buffer, and an output plays silence.
    static int streamCallback(const void* input, void* output, unsigned long sampleCount,
                              const PaStreamCallbackTimeInfo* timeInfo, PaStreamCallbackFlags flags,
                              void* userData) RT_SAFE;

    const uint32_t Number;
    std::string Name;
    const int32_t ID;
    bool Enabled = false;
    const bool isInput;
    const uint32_t Standard = 0;  // only reported
    const int32_t SampleRate = ChannelSampleRate;
    const int32_t BufSizeSamples = FramesPerBuffer;
    std::unique_ptr<TiXmlElement> Schedule;
    uint32_t paIndex = NoDevice;
    int32_t startResult = paNoError;  // of the last start; paNotInitialized after a failed open
    std::string OsName;
    std::string PortAudioName;

  private:
    int captureBuffer(const void* input, uint32_t sampleCount) RT_SAFE EXCLUDES(queueLock);
    int playBuffer(int16_t* output, uint32_t sampleCount) RT_SAFE EXCLUDES(queueLock);
    uint32_t takeDecoded(int16_t* output, uint32_t sampleCount) RT_SAFE REQUIRES(queueLock);
    AudioBlock* oldestUndecoded() REQUIRES(queueLock);
    void forgetDeadStream();
    bool prepareOpen() EXCLUDES(queueLock);
    void startStream();
    void reportFailedOpen() const;
    void keepOutputRunning() EXCLUDES(queueLock);
    void reportMissingOutput();
    void endOutput() EXCLUDES(queueLock);
    const char* directionWord() const { return isInput ? "input" : "output"; }

    Mutex queueLock;  // waited for by the worker and Write, only tried by the callback
    BlockQueue blocks GUARDED_BY(queueLock);
    Hint undecodedHint;  // blocks may be waiting to be decoded
    Hint playedHint;     // played blocks may be waiting to be removed
    Watchdog watchdog;
    int64_t lastMissingReport = 0;  // unix seconds
    PaStream* stream = nullptr;
    OpenRetry retry;
};
