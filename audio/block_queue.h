// Audio in transit between a stream's callback and the worker.
//
// Each block holds the links to its neighbours, so that queueing and removing blocks neither
// allocates nor frees memory under the lock that guards the queue.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "base/mutex.h"

struct AudioBlock {
    const uint8_t* data = nullptr;   // captured: 16-bit samples; playback: the host's mu-law codes
    std::unique_ptr<int16_t[]> pcm;  // playback: the decoded samples, once the worker has made them
    uint32_t count = 0;              // samples
    bool played = false;             // the callback needs no more of it
    bool hostOwned = false;          // destroying the block hands data back to the host
    uint32_t samplesPlayed = 0;
    AudioBlock* newer = nullptr;
    AudioBlock* older = nullptr;
};

// Destroying a block frees its memory and hands a host-owned buffer back. A callback destroys only
// a captured block that found its queue busy.
struct AudioBlockDeleter {
    void operator()(AudioBlock* block) const noexcept;
};
using AudioBlockPtr = std::unique_ptr<AudioBlock, AudioBlockDeleter>;

// Copies `count` captured samples into a new block with one allocation. Returns null when memory is
// short.
AudioBlockPtr makeCapturedBlock(const void* samples, uint32_t count) RT_SAFE;

// Makes a block that refers to `count` mu-law codes of the host. It does not own them yet: the
// caller sets hostOwned once nothing can fail. Returns null when memory is short. Host thread.
AudioBlockPtr makePlaybackBlock(const uint8_t* codes, uint32_t count) noexcept;

// A double-ended queue of blocks: the newest at the front, the oldest at the back. Destroying the
// queue destroys its blocks, newest first. The owner's lock guards it.
class BlockQueue {
  public:
    BlockQueue() = default;
    BlockQueue(const BlockQueue&) = delete;
    BlockQueue& operator=(const BlockQueue&) = delete;
    ~BlockQueue();

    void pushFront(AudioBlockPtr block) RT_SAFE;
    AudioBlockPtr takeBack() RT_SAFE;
    // Moves all blocks, or only the played ones, to the front of `target`, keeping their order.
    void moveTo(BlockQueue& target, bool onlyPlayed) noexcept;

    AudioBlock* front() const RT_SAFE { return front_; }
    AudioBlock* back() const RT_SAFE { return back_; }
    // May be read without the lock; the value may then be out of date.
    size_t size() const RT_SAFE { return size_.load(std::memory_order_relaxed); }

  private:
    AudioBlock* front_ = nullptr;
    AudioBlock* back_ = nullptr;
    std::atomic<size_t> size_{0};  // written under the lock
};
