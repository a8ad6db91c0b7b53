// Finds a played clip in a recording.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

#include "host/sound/clip.h"

struct ClipFound {
    double correlation = 0;  // 1: identical except for loudness
    double seconds = 0;  // where the clip begins in the recording; negative: before the recording
    bool isFound() const { return correlation >= 0.7; }
};

// Looks in the recording for the middle second of the clip. Both are mu-law.
ClipFound findClip(std::span<const uint8_t> clip, std::span<const uint8_t> recording,
                   const OnProgress& onProgress);

// Returns the mu-law codes of a recorded file. Throws std::runtime_error.
std::vector<uint8_t> readCodes(const std::filesystem::path& file);
