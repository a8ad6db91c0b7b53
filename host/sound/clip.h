// Sounds to play, as mu-law at 8000 Hz.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

// Called with the part of the work that is done, 0 to 1.
using OnProgress = std::function<void(double fraction)>;

// Reads the first `seconds` (0: all) of any file that libsndfile reads, mixes them to mono and
// resamples them. NaN samples become silence. Throws std::runtime_error, also when the file holds
// no sound, or when more than four hours of it would be read.
std::vector<uint8_t> loadClip(const std::filesystem::path& file, double seconds,
                              const OnProgress& onProgress);

// Returns four rising chirps. They resemble neither each other nor other sounds, so that their
// place in a recording is certain.
std::vector<uint8_t> builtInClip();
