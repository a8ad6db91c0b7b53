#include "host/sound/outline.h"

#include <algorithm>

#include "host/session/sound_format.h"

OutlineBuilder::OutlineBuilder(const ChannelDescription& channel, int64_t beginMs)
    : beginMs_(beginMs) {
    outline_.channel = channel;
}

void OutlineBuilder::add(std::span<const uint8_t> codes, int64_t arrival) {
    waiting_.insert(waiting_.end(), codes.begin(), codes.end());
    addStretches(gapFinder_.place(codes.size(), arrival));
}

void OutlineBuilder::finish(int64_t endMs) { addStretches(gapFinder_.finish(endMs)); }

double OutlineBuilder::gapSeconds() const {
    int64_t milliseconds = 0;
    for (const Gap& gap : outline_.gaps)
        milliseconds += gap.end - gap.begin;
    return static_cast<double>(milliseconds) / 1000;
}

void OutlineBuilder::addStretches(const std::vector<Stretch>& stretches) {
    for (const auto& [begin, end, samples] : stretches) {
        if (samples == 0) {
            outline_.gaps.push_back({begin, end});
            continue;
        }
        const int64_t position = (begin - beginMs_) * SampleRate / 1000;
        // The first frame may begin before the recording does.
        const auto early = static_cast<size_t>(std::max<int64_t>(-position, 0));
        outline_.envelope.add(std::max<int64_t>(position, 0),
                              std::span(waiting_).first(samples).subspan(std::min(early, samples)));
        waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<ptrdiff_t>(samples));
    }
}
