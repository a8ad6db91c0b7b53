// Sounds to play, as mu-law at 8000 Hz.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <vector>

// Told how much of a work is done, 0 to 1; 0 when that cannot be told. What it throws ends the
// work.
using OnProgress = std::function<void(double fraction)>;

// Reads any file that libsndfile knows, mixes it to mono and resamples it. Throws
// std::runtime_error, also when it holds no sound.
std::vector<uint8_t> loadClip(const std::filesystem::path& file, const OnProgress& onProgress);

// A few rising chirps: sounds that cannot be mistaken for another, nor for a later part of
// themselves.
std::vector<uint8_t> builtInClip();

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
