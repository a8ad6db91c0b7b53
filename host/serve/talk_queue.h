// The sound of one output's talkers that waits for the module: in the order of arrival, without
// gaps, and never far ahead of what the device plays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

// Used by one thread at a time. All counts are samples.
class TalkQueue {
  public:
    explicit TalkQueue(size_t mostAhead) : mostAhead_(mostAhead) {}

    // Forgets the clock of the previous talker.
    void beginTalker() { senderOffset_.reset(); }
    // Adds sound that begins at `position` of the talker's clock. Fills a gap before it with
    // silence, and plays late sound at once. Returns false when it drops the sound, because too
    // much waits here and in the module, which has `lent` samples. Dropped sound leaves no gap.
    bool put(int64_t position, std::span<const uint8_t> codes, size_t lent);
    // Drops sound that begins at `position`, because the output may not play now.
    void drop(int64_t position, size_t samples);
    // Adds sound without a time. Returns false when there is no room for it.
    bool append(std::span<const uint8_t> codes);
    size_t room() const;

    bool isEmpty() const { return waiting_.empty(); }
    void clear() { waiting_.clear(); }
    // Takes the oldest sound, up to a block.
    std::vector<uint8_t> nextBlock();
    // Counts silence that the module got and no talker sent.
    void countSilence(size_t samples) { end_ += static_cast<int64_t>(samples); }

  private:
    const size_t mostAhead_;
    std::vector<uint8_t> waiting_;
    int64_t end_ = 0;  // end of the sound so far: counts all samples, also of silence
    std::optional<int64_t> senderOffset_;  // `end_` minus the sender's time
};
