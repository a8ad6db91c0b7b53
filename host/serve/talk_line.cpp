#include "host/serve/talk_line.h"

#include <algorithm>
#include <chrono>

#include "host/session/sound_format.h"

namespace {

using namespace std::chrono_literals;

constexpr uint8_t SilenceCode = 0xFF;
constexpr auto WriteInterval = 50ms;
// A device asks for three blocks at once when it starts. One more has to be queued at any time, and
// one makes up for late packets.
constexpr size_t FirstSilence = 5 * BlockSamples;
constexpr size_t LastSilence = size_t{2} * SampleRate;
constexpr size_t MostLent = size_t{2} * SampleRate;
// The sound of `put` that may wait. A sender with a fast clock loses what is beyond it.
constexpr size_t MostLiveAhead = size_t{3} * SampleRate;
// A shorter gap is ignored, because the times of packets vary with the sender's clock. No packet is
// that short.
constexpr int64_t LeastGap = SampleRate / 100;
// A longer gap is a pause of the talker. Only this much of it is played as silence.
constexpr int64_t MostGap = int64_t{2} * SampleRate;

}  // namespace

TalkLine::TalkLine(ModuleHost& module, int32_t channelId, size_t mostAhead)
    : module_(module), channelId_(channelId), mostAhead_(mostAhead), thread_([this] { run(); }) {}

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
    senderAhead_.reset();
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
        waiting_.clear();
}

bool TalkLine::put(int64_t position, std::span<const uint8_t> codes) {
    const size_t lent = module_.lentSamples(channelId_);
    {
        const std::lock_guard held(mutex_);
        const int64_t missing = senderAhead_ ? position + *senderAhead_ - end_ : 0;
        const auto gap = missing < LeastGap ? 0 : static_cast<size_t>(std::min(missing, MostGap));
        if (isKeptOff_ || lent + waiting_.size() + gap + codes.size() > MostLiveAhead)
            return false;
        waiting_.insert(waiting_.end(), gap, SilenceCode);
        waiting_.insert(waiting_.end(), codes.begin(), codes.end());
        end_ += static_cast<int64_t>(gap);
        senderAhead_ = end_ - position;
        end_ += static_cast<int64_t>(codes.size());
    }
    wake_.notify_one();
    return true;
}

bool TalkLine::append(std::span<const uint8_t> codes) {
    {
        const std::lock_guard held(mutex_);
        if (isKeptOff_ || waiting_.size() + codes.size() > mostAhead_)
            return false;
        waiting_.insert(waiting_.end(), codes.begin(), codes.end());
        end_ += static_cast<int64_t>(codes.size());
    }
    wake_.notify_one();
    return true;
}

size_t TalkLine::room() const {
    const std::lock_guard held(mutex_);
    return isKeptOff_ ? 0 : mostAhead_ - std::min(mostAhead_, waiting_.size());
}

void TalkLine::run() {
    std::unique_lock held(mutex_);
    while (!isEnding_) {
        wake_.wait(held, [this] { return isEnding_ || !waiting_.empty(); });
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

// Writes blocks until the module has two seconds of sound. When it has none, its stream is closed
// or closes now, so silence for a new start comes first. While the stream runs there are always two
// blocks: one that is being played counts as a whole one. Returns false once enough silence has
// followed the last talk, so that the device has played all of it.
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
            if (!isTaken_ && waiting_.empty() && silenceSinceTalk_ >= LastSilence)
                return false;
            block.assign(BlockSamples, SilenceCode);
            end_ += static_cast<int64_t>(BlockSamples);
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
    const auto length =
        static_cast<std::ptrdiff_t>(std::min(waiting_.size(), size_t{BlockSamples}));
    std::vector<uint8_t> block(waiting_.begin(), waiting_.begin() + length);
    waiting_.erase(waiting_.begin(), waiting_.begin() + length);
    if (length > 0)
        silenceSinceTalk_ = 0;
    return block;
}
