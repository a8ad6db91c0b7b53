// Whether a recording holds what was played.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

#include "host/sound/clip.h"

struct ClipFound {
    double correlation = 0;  // 1: the very same sound
    double seconds = 0;      // where in the recording
    bool isFound() const { return correlation >= 0.7; }
};

// Looks for a second out of the clip's middle in the recording (mu-law).
ClipFound findClip(std::span<const uint8_t> clip, std::span<const uint8_t> recording,
                   const OnProgress& onProgress);

// The codes of a recorded file. Throws std::runtime_error.
std::vector<uint8_t> readCodes(const std::filesystem::path& file);
