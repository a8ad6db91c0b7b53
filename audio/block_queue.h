// Audio in transit between a stream's callback and the worker.
//
// Blocks are linked by pointers of their own, so that queueing, taking and purging them neither
// allocates nor frees: that happens outside the lock that guards the queue.
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
    bool played = false;             // the callback has taken the last sample
    bool hostOwned = false;          // data goes back to the host when the block is destroyed
    uint32_t taken = 0;              // samples of pcm that the callback has taken
    AudioBlock* newer = nullptr;
    AudioBlock* older = nullptr;
};

// Destroying a block frees its memory and hands a host-owned buffer back; never under a lock and
// never on a callback's thread, but for a captured block that found its queue busy.
struct AudioBlockDeleter {
    void operator()(AudioBlock* block) const noexcept;
};
using AudioBlockPtr = std::unique_ptr<AudioBlock, AudioBlockDeleter>;

// Copies `count` captured samples into a new block with one allocation; none when memory is short.
AudioBlockPtr makeCapturedBlock(const void* samples, uint32_t count) RT_SAFE;

// A block of `count` host codes that does not own them yet (hostOwned is false); none when memory
// is short. Host thread.
AudioBlockPtr makePlaybackBlock(const uint8_t* codes, uint32_t count) noexcept;

// A double-ended queue of blocks, the newest at the front, the oldest at the back. Destroying it
// destroys its blocks, newest first. Its owner's lock guards it.
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
    // Also without the lock, as a hint.
    size_t size() const noexcept { return size_.load(std::memory_order_relaxed); }

  private:
    AudioBlock* front_ = nullptr;
    AudioBlock* back_ = nullptr;
    std::atomic<size_t> size_{0};  // written under the lock
};
