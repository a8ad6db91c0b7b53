// Places one channel's frames on the steady time axis (host/system/steady_time.h), and finds where
// sound is missing between them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

// A stretch of the time axis (ms): sound, or a gap, which has 0 samples.
struct Stretch {
    int64_t begin;
    int64_t end;
    size_t samples;
};

// Needs only the lengths and arrival times of frames. A frame arrives when its sound ends. The
// sound card's clock differs from the machine's, so a frame that is a little early or late shifts
// the following ones slightly. A much later frame means that sound was lost, or was only
// sent late: then the next ones catch up. These frames wait until that is decided.
class GapFinder {
  public:
    // Takes a frame of so many samples that arrived at a steady time (ms). Returns the stretches
    // that are decided now, in the order of time: perhaps a gap, then the waiting frames and this
    // one as one stretch. Returns none while the frame waits.
    std::vector<Stretch> place(size_t samples, int64_t arrival);
    // Returns the stretches that remain when the recording ends at a steady time (ms): perhaps a
    // gap and the waiting frames, then a gap if no sound came for the last three seconds.
    std::vector<Stretch> finish(int64_t end);

  private:
    std::vector<Stretch> decide(int64_t missingMs);
    Stretch advance(int64_t milliseconds, size_t samples);

    std::optional<int64_t> expectedMs_;  // begin of the first waiting frame, else of the next
    size_t waitingSamples_ = 0;
    int64_t waitingSinceMs_ = 0;
    int64_t leastLateMs_ = 0;  // of the waiting frames
};
