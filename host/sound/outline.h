// The outline of a channel's recording over the steady time, from which its picture is drawn.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "host/session/documents.h"
#include "host/sound/envelope.h"
#include "host/sound/gap_finder.h"

struct Gap {
    int64_t begin;  // ms, steady
    int64_t end;
};

struct Outline {
    ChannelDescription channel;
    Envelope envelope;  // begins with the recording
    std::vector<Gap> gaps;
};

// Adds frames to an outline where the gap finder places them. Not for several threads at once.
class OutlineBuilder {
  public:
    // Begins the outline of a recording at a steady time (ms).
    OutlineBuilder(const ChannelDescription& channel, int64_t beginMs);

    // Adds mu-law codes that arrived at a steady time (ms).
    void add(std::span<const uint8_t> codes, int64_t arrival);
    // Ends the recording at a steady time (ms).
    void finish(int64_t endMs);

    const Outline& outline() const { return outline_; }
    double gapSeconds() const;

  private:
    void addStretches(const std::vector<Stretch>& stretches);

    const int64_t beginMs_;
    Outline outline_;
    GapFinder gapFinder_;
    std::vector<uint8_t> waiting_;  // codes of frames that wait in the gap finder
};
