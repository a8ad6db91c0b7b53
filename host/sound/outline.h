// What a channel's recording looks like over the steady time: what one needs to draw it.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "host/session/documents.h"
#include "host/sound/gap_finder.h"
#include "host/sound/waveform.h"

struct Gap {
    int64_t begin;  // ms, steady
    int64_t end;
};

struct Outline {
    ChannelDescription channel;
    Envelope envelope;  // begins when the recording did
    std::vector<Gap> gaps;
};

// Draws frames where the gap finder places them. Not shared between threads.
class OutlineBuilder {
  public:
    // Of a recording that begins at a steady time (ms).
    OutlineBuilder(const ChannelDescription& channel, int64_t beginMs);

    // Mu-law codes that arrived at a steady time (ms).
    void add(std::span<const uint8_t> codes, int64_t arrival);
    // Of the recording, at a steady time (ms).
    void finish(int64_t endMs);

    const Outline& outline() const { return outline_; }
    double gapSeconds() const;

  private:
    void draw(const std::vector<Stretch>& stretches);

    const int64_t beginMs_;
    Outline outline_;
    GapFinder gapFinder_;
    std::vector<uint8_t> undrawn_;  // codes that have no place yet
};
