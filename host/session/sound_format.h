// The sound format of the module: mu-law, one code for each sample.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "plugin/tamborin.h"

constexpr int SampleRate = AudioSampleRate;         // Hz
constexpr size_t BlockSamples = AudioFrameSamples;  // the most that one call of Write can play
constexpr uint8_t SilenceCode = 0xFF;

// Returns the largest magnitude of a sample, 0 to 1.
double peakOf(std::span<const uint8_t> codes);
