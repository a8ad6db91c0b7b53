// Captured audio: from the stream's callback to the worker.
#include "audio/channel.h"

int Channel::captureBuffer(const void* input, uint32_t sampleCount) RT_SAFE {
    AudioBlockPtr block = makeCapturedBlock(input, sampleCount);
    if (!block)
        return paAbort;  // ends the stream; the watchdog reopens it
    if (queueLock.try_lock()) {
        const MutexLock held(queueLock, std::adopt_lock);
        blocks.pushFront(std::move(block));
    }
    watchdog.rearm();
    return paContinue;
}

AudioBlockPtr Channel::takeCaptured() {
    if (queuedBlocks() == 0 || !queueLock.try_lock())
        return nullptr;
    const MutexLock held(queueLock, std::adopt_lock);
    return blocks.takeBack();
}

int64_t Channel::inputLatencyMs() const {
    constexpr double AbsurdLatency = 86'400;  // seconds
    const PaStreamInfo* info = stream != nullptr ? Pa_GetStreamInfo(stream) : nullptr;
    if (info == nullptr || !(info->inputLatency > 0 && info->inputLatency < AbsurdLatency))
        return 0;
    return static_cast<int64_t>(info->inputLatency * 1000);
}
