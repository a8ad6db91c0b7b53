// Played audio: from the host's Write through the worker's decoding to the stream's callback.
#include <algorithm>
#include <cstring>
#include <new>

#include "audio/channel.h"
#include "audio/ulaw.h"

bool Channel::pushPlayback(const uint8_t* codes, uint32_t count) {
    AudioBlockPtr block = makePlaybackBlock(codes, count);
    if (!block)
        return false;
    const MutexLock held(queueLock);
    block->hostOwned = true;  // nothing can fail from here on, so the channel owns the codes
    blocks.pushFront(std::move(block));
    undecodedHint.set();
    return true;
}

// Blocks are decoded oldest first, so the undecoded ones are those at the front. Returns null when
// there is none.
AudioBlock* Channel::oldestUndecoded() {
    AudioBlock* oldest = nullptr;
    for (AudioBlock* block = blocks.front(); block != nullptr && !block->pcm; block = block->older)
        oldest = block;
    return oldest;
}

// A block's data and count never change and only this thread removes blocks, so both are read
// without the lock while the samples are made. Blocks that are written meanwhile wait for the next
// pass: otherwise a host that writes faster than the worker decodes would keep the worker here.
void Channel::preparePlayback() {
    if (!undecodedHint.take())
        return;
    AudioBlock* undecoded = nullptr;
    const AudioBlock* newest = nullptr;
    {
        const MutexLock held(queueLock);
        undecoded = oldestUndecoded();
        newest = blocks.front();
    }
    while (undecoded != nullptr) {
        std::unique_ptr<int16_t[]> samples(new (std::nothrow) int16_t[undecoded->count]);
        if (!samples) {
            undecodedHint.set();  // tried again on the next pass
            return;
        }
        ulawDecode(samples.get(), undecoded->data, undecoded->count);
        const MutexLock held(queueLock);
        undecoded->pcm = std::move(samples);
        undecoded = undecoded == newest ? nullptr : undecoded->newer;
    }
}

int Channel::playBuffer(int16_t* output, uint32_t sampleCount) RT_SAFE {
    watchdog.rearm();
    uint32_t filled = 0;
    if (queueLock.try_lock()) {
        const MutexLock held(queueLock, std::adopt_lock);
        filled = takeDecoded(output, sampleCount);
    }
    std::fill(output + filled, output + sampleCount, int16_t{0});
    return paContinue;
}

// Fills the buffer from the oldest decoded blocks and returns the number of samples filled. When a
// block ends within the buffer the next one continues there. Of a block that is longer than a
// buffer only the beginning is played.
uint32_t Channel::takeDecoded(int16_t* output, uint32_t sampleCount) RT_SAFE {
    uint32_t filled = 0;
    for (AudioBlock* block = blocks.back(); block != nullptr && filled < sampleCount;
         block = block->newer) {
        if (block->played || !block->pcm)
            continue;
        const uint32_t end = std::max(std::min(block->count, sampleCount), block->samplesPlayed);
        const uint32_t taking = std::min(end - block->samplesPlayed, sampleCount - filled);
        std::memcpy(output + filled, block->pcm.get() + block->samplesPlayed,
                    taking * sizeof(int16_t));
        block->samplesPlayed += taking;
        filled += taking;
        if (block->samplesPlayed == end) {
            block->played = true;
            playedHint.set();
        }
    }
    return filled;
}
