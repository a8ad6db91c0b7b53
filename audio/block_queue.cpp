#include "audio/block_queue.h"

#include <cstring>
#include <new>

#include "plugin/host_link.h"

namespace {

// One allocation holds the block and, behind it, a captured block's samples.
AudioBlockPtr allocateBlock(size_t payloadBytes) RT_SAFE {
    void* memory = ::operator new(sizeof(AudioBlock) + payloadBytes, std::nothrow);
    return AudioBlockPtr(memory == nullptr ? nullptr : new (memory) AudioBlock);
}

}  // namespace

void AudioBlockDeleter::operator()(AudioBlock* block) const noexcept {
    if (block->hostOwned)
        releaseHostBuffer(block->data);
    block->~AudioBlock();
    ::operator delete(block);
}

AudioBlockPtr makeCapturedBlock(const void* samples, uint32_t count) RT_SAFE {
    const size_t bytes = size_t{count} * sizeof(int16_t);
    AudioBlockPtr block = allocateBlock(bytes);
    if (block) {
        auto* payload = reinterpret_cast<uint8_t*>(block.get() + 1);
        std::memcpy(payload, samples, bytes);
        block->data = payload;
        block->count = count;
    }
    return block;
}

AudioBlockPtr makePlaybackBlock(const uint8_t* codes, uint32_t count) noexcept {
    AudioBlockPtr block = allocateBlock(0);
    if (block) {
        block->data = codes;
        block->count = count;
    }
    return block;
}

BlockQueue::~BlockQueue() {
    while (front_ != nullptr) {
        const AudioBlockPtr newest(front_);
        front_ = newest->older;
    }
}

void BlockQueue::pushFront(AudioBlockPtr block) RT_SAFE {
    AudioBlock* added = block.release();
    added->older = front_;
    added->newer = nullptr;
    (front_ != nullptr ? front_->newer : back_) = added;
    front_ = added;
    size_.store(size() + 1, std::memory_order_relaxed);
}

AudioBlockPtr BlockQueue::takeBack() RT_SAFE {
    AudioBlockPtr oldest(back_);
    if (oldest) {
        back_ = oldest->newer;
        (back_ != nullptr ? back_->older : front_) = nullptr;
        size_.store(size() - 1, std::memory_order_relaxed);
    }
    return oldest;
}

void BlockQueue::moveTo(BlockQueue& target, bool onlyPlayed) noexcept {
    // Blocks are played in order, so no block newer than the first unplayed one has been played.
    while (back_ != nullptr && (back_->played || !onlyPlayed))
        target.pushFront(takeBack());
}
