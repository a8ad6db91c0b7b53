#include "host/sound/player.h"

#include <algorithm>

#include "host/session/sound_format.h"
#include "host/sound/clip.h"
#include "host/terminal/awaited.h"
#include "host/terminal/end_process.h"
#include "host/terminal/progress.h"

namespace {

using namespace std::chrono_literals;

constexpr uint64_t BlocksAhead = 8;  // 2 s
constexpr size_t TailLength = size_t{2} * SampleRate;
constexpr auto Patience = 10s;

}  // namespace

std::vector<uint8_t> readClip(const std::filesystem::path& file, double seconds, Console& console) {
    return awaited(
        [&] {
            Progress progress(console, "reading the clip");
            return loadClip(file, seconds, [&](double fraction) { progress.show(fraction); });
        },
        [&] { endProcess(console, "stopped while reading the clip; nothing was played"); });
}

Player::Player(ModuleHost& module, int32_t channelId, std::vector<uint8_t> clip)
    : module_(module), channelId_(channelId), codes_(std::move(clip)), clipLength_(codes_.size()) {
    const size_t padded =
        (codes_.size() + TailLength + BlockSamples - 1) / BlockSamples * BlockSamples;
    codes_.resize(padded, SilenceCode);
}

uint64_t Player::outstanding() const {
    const BufferAccount account = module_.buffers(channelId_);
    return account.lent - account.returned;
}

bool Player::feed() {
    const uint64_t waiting = outstanding();
    if (waiting < lastOutstanding_)
        lastProgress_ = std::chrono::steady_clock::now();
    uint64_t room = BlocksAhead - std::min(BlocksAhead, waiting);
    for (; room > 0 && position_ < codes_.size(); --room) {
        const std::span<const uint8_t> block(codes_.data() + position_, BlockSamples);
        if (!module_.play(channelId_, block))
            break;
        position_ += BlockSamples;
        ++blocksLent_;
    }
    lastOutstanding_ = outstanding();
    return !isDone() && std::chrono::steady_clock::now() - lastProgress_ < Patience;
}

size_t Player::playedLength() const {
    return (blocksLent_ - std::min(blocksLent_, outstanding())) * BlockSamples;
}

double Player::playedSeconds() const {
    return static_cast<double>(std::min(playedLength(), clipLength_)) / SampleRate;
}

double Player::fractionPlayed() const {
    return static_cast<double>(playedLength()) / static_cast<double>(codes_.size());
}
