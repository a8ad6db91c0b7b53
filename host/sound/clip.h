// Sounds to play, as mu-law at 8000 Hz.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

// Told how much of a work is done, 0 to 1.
using OnProgress = std::function<void(double fraction)>;

// Reads the first so many seconds, 0 for all, of any file that libsndfile knows, mixes them to mono
// and resamples them; samples that are no number are silence. Throws std::runtime_error, also when
// there is no sound, or more than one keeps in memory.
std::vector<uint8_t> loadClip(const std::filesystem::path& file, double seconds,
                              const OnProgress& onProgress);

// A few rising chirps: sounds that cannot be mistaken for another, nor for a later part of
// themselves.
std::vector<uint8_t> builtInClip();
