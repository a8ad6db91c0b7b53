// G.711 mu-law: one byte per 16-bit sample, exactly the ITU-T G.191 reference coder.
//
// Stateless; any thread. Code bit 7 is the sign (1 for zero and positive samples), the rest the
// inverted segment and step. Negative samples are coded by their one's complement, so 100 and -100
// come back as 104 and -96. There is no zero-code suppression: the lowest samples are 0x00.
#pragma once

#include <cstddef>
#include <cstdint>

uint8_t linearToUlaw(int16_t sample) noexcept;
int16_t ulawToLinear(uint8_t code) noexcept;

// Encodes sourceBytes / 2 samples; an odd last byte is ignored. Returns the number of codes
// written. `codes` has room for them and does not overlap the samples.
int32_t ulawEncode(uint8_t* codes, const int16_t* samples, size_t sourceBytes) noexcept;

// Decodes `count` codes into as many samples. Returns the number of bytes written, count * 2.
int32_t ulawDecode(int16_t* samples, const uint8_t* codes, size_t count) noexcept;
