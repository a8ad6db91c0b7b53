// The sound that the module takes and gives: mu-law codes, one for each sample.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "plugin/tamborin.h"

constexpr int SampleRate = AudioSampleRate;         // Hz
constexpr size_t BlockSamples = AudioFrameSamples;  // the most that one write plays

// The highest sample, 0 to 1.
double peakOf(std::span<const uint8_t> codes);
