#include "host/serve/talk_queue.h"

#include <algorithm>

#include "host/session/sound_format.h"

namespace {

// The sound of `put` that may wait. A sender with a fast clock loses what is beyond it.
constexpr size_t MostLiveAhead = size_t{3} * SampleRate;
// A shorter gap is ignored, because the times of packets vary with the sender's clock. A lost
// packet makes a longer one, unless packets are that short.
constexpr int64_t LeastGap = SampleRate / 100;
// A longer gap is a pause of the talker. Only this much of it is played as silence.
constexpr int64_t MostGap = int64_t{2} * SampleRate;

}  // namespace

bool TalkQueue::put(int64_t position, std::span<const uint8_t> codes, size_t lent) {
    const size_t ahead = lent + waiting_.size() + codes.size();
    if (ahead > MostLiveAhead) {
        drop(position, codes.size());
        return false;
    }
    const int64_t missing = senderOffset_ ? position + *senderOffset_ - end_ : 0;
    const int64_t most = std::min(MostGap, static_cast<int64_t>(MostLiveAhead - ahead));
    const int64_t gap = missing < LeastGap ? 0 : std::min(missing, most);
    waiting_.insert(waiting_.end(), static_cast<size_t>(gap), SilenceCode);
    waiting_.insert(waiting_.end(), codes.begin(), codes.end());
    end_ += gap;
    senderOffset_ = end_ - position;
    end_ += static_cast<int64_t>(codes.size());
    return true;
}

void TalkQueue::drop(int64_t position, size_t samples) {
    senderOffset_ = end_ - position - static_cast<int64_t>(samples);
}

bool TalkQueue::append(std::span<const uint8_t> codes) {
    if (codes.size() > room())
        return false;
    waiting_.insert(waiting_.end(), codes.begin(), codes.end());
    end_ += static_cast<int64_t>(codes.size());
    return true;
}

size_t TalkQueue::room() const { return mostAhead_ - std::min(mostAhead_, waiting_.size()); }

std::vector<uint8_t> TalkQueue::nextBlock() {
    const auto length =
        static_cast<std::ptrdiff_t>(std::min(waiting_.size(), size_t{BlockSamples}));
    std::vector<uint8_t> block(waiting_.begin(), waiting_.begin() + length);
    waiting_.erase(waiting_.begin(), waiting_.begin() + length);
    return block;
}
