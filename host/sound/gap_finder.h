// Where one channel's frames belong on the steady time axis, and where sound is missing between
// them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

// A stretch of the time axis (ms): sound of so many samples, or a gap, which has none.
struct Stretch {
    int64_t begin;
    int64_t end;
    size_t samples;
};

// Knows lengths and times only. The sound's clock is not the machine's, so frames that arrive a
// little early or late move the axis along. One that is later than that may follow lost sound, or
// only have been sent late, and then the next ones catch up: until that shows, it waits.
class GapFinder {
  public:
    // Returns what a frame of so many samples that arrived at a steady time (ms) decides, in the
    // order of time: the frames that waited, as one stretch with this, and a gap before them.
    // Nothing while this waits.
    std::vector<Stretch> place(size_t samples, int64_t arrival);
    // Returns the same for the end of the recording, with the gap that lasts until then.
    std::vector<Stretch> finish(int64_t end);

  private:
    std::vector<Stretch> decide(int64_t missingMs);
    Stretch advance(int64_t milliseconds, size_t samples);

    std::optional<int64_t> expectedMs_;  // when the first of those that wait, or the next, is due
    size_t waitingSamples_ = 0;
    int64_t waitingSinceMs_ = 0;
    int64_t leastLateMs_ = 0;  // of those that wait
};
