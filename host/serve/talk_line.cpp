#include "host/serve/talk_line.h"

#include <chrono>

#include "host/session/sound_format.h"

namespace {

using namespace std::chrono_literals;

constexpr auto WriteInterval = 50ms;
// A device asks for three blocks at once when it starts. One more has to be queued at any time, and
// one makes up for late packets.
constexpr size_t FirstSilence = 5 * BlockSamples;
constexpr size_t LastSilence = size_t{2} * SampleRate;
constexpr size_t MostLent = size_t{2} * SampleRate;

}  // namespace

TalkLine::TalkLine(ModuleHost& module, int32_t channelId, size_t mostAhead)
    : module_(module), channelId_(channelId), queue_(mostAhead), thread_([this] { run(); }) {}

void TalkLine::stop() {
    {
        const std::lock_guard held(mutex_);
        isEnding_ = true;
    }
    wake_.notify_one();
    if (thread_.joinable())
        thread_.join();
}

bool TalkLine::begin() {
    const std::lock_guard held(mutex_);
    if (isTaken_ || isEnding_)
        return false;
    isTaken_ = true;
    queue_.beginTalker();
    return true;
}

void TalkLine::end() {
    const std::lock_guard held(mutex_);
    isTaken_ = false;
}

bool TalkLine::isTaken() const {
    const std::lock_guard held(mutex_);
    return isTaken_;
}

void TalkLine::keepOff(bool isKeptOff) {
    const std::lock_guard held(mutex_);
    isKeptOff_ = isKeptOff;
    if (isKeptOff)
        queue_.clear();
}

bool TalkLine::put(int64_t position, std::span<const uint8_t> codes) {
    const size_t lent = module_.lentSamples(channelId_);
    {
        const std::lock_guard held(mutex_);
        if (isKeptOff_) {
            queue_.drop(position, codes.size());
            return false;
        }
        if (!queue_.put(position, codes, lent))
            return false;
    }
    wake_.notify_one();
    return true;
}

bool TalkLine::append(std::span<const uint8_t> codes) {
    {
        const std::lock_guard held(mutex_);
        if (isKeptOff_ || !queue_.append(codes))
            return false;
    }
    wake_.notify_one();
    return true;
}

size_t TalkLine::room() const {
    const std::lock_guard held(mutex_);
    return isKeptOff_ ? 0 : queue_.room();
}

void TalkLine::run() {
    std::unique_lock held(mutex_);
    while (!isEnding_) {
        wake_.wait(held, [this] { return isEnding_ || !queue_.isEmpty(); });
        if (isEnding_)
            return;
        silenceSinceTalk_ = 0;
        bool sounding = true;
        while (sounding && !isEnding_) {
            held.unlock();
            sounding = writeSome();
            held.lock();
            wake_.wait_for(held, WriteInterval, [this] { return isEnding_; });
        }
    }
}

// Writes blocks until the module has two seconds of sound. When the module has none, its
// stream closes, so FirstSilence comes before the sound. While the stream runs the module has at
// least two blocks, counting the one that is being played. Returns false once enough silence has
// followed the last talk for the device to have played all of the talk.
bool TalkLine::writeSome() {
    size_t lent = module_.lentSamples(channelId_);
    const bool isStarting = lent == 0;
    const size_t leastLent = isStarting ? FirstSilence : 2 * BlockSamples;
    while (lent < MostLent) {
        std::vector<uint8_t> block;
        if (!isStarting || lent >= leastLent)
            block = nextBlock();
        if (block.empty() && lent < leastLent) {
            const std::lock_guard held(mutex_);
            if (!isTaken_ && queue_.isEmpty() && silenceSinceTalk_ >= LastSilence)
                return false;
            block.assign(BlockSamples, SilenceCode);
            queue_.countSilence(BlockSamples);
            silenceSinceTalk_ += BlockSamples;
        }
        if (block.empty() || !module_.play(channelId_, block))
            return true;
        lent += block.size();
    }
    return true;
}

std::vector<uint8_t> TalkLine::nextBlock() {
    const std::lock_guard held(mutex_);
    std::vector<uint8_t> block = queue_.nextBlock();
    if (!block.empty())
        silenceSinceTalk_ = 0;
    return block;
}
