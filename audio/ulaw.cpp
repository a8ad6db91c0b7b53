#include "audio/ulaw.h"

#include <algorithm>
#include <bit>

namespace {

constexpr int32_t Bias = 132;             // puts every segment's start at a power of two
constexpr int32_t LargestBiased = 32767;  // segment 7, step 15
constexpr uint32_t SignBit = 0x80;

// Branch-free, so that the loops below vectorise. A biased magnitude is at least 2^7 and below
// 2^15: exact in a float, whose exponent then is the segment and whose top four mantissa bits are
// the step, side by side as the code wants them.
inline uint8_t encode(int16_t sample) noexcept {
    const int32_t negative = sample >> 15;  // all ones or zero
    const int32_t biased = std::min((sample ^ negative) + Bias, LargestBiased);
    constexpr uint32_t ExponentOfSegment0 = 127 + 7;
    const uint32_t segmentAndStep =
        (std::bit_cast<uint32_t>(static_cast<float>(biased)) >> 19) - (ExponentOfSegment0 << 4);
    return static_cast<uint8_t>(~(segmentAndStep | (static_cast<uint32_t>(negative) & SignBit)));
}

inline int16_t decode(uint8_t code) noexcept {
    const uint32_t bits = ~uint32_t{code};
    const auto biased = static_cast<int32_t>((((bits & 0x0F) << 3) + Bias) << ((bits >> 4) & 7));
    return static_cast<int16_t>((bits & SignBit) != 0 ? Bias - biased : biased - Bias);
}

}  // namespace

uint8_t linearToUlaw(int16_t sample) noexcept { return encode(sample); }

int16_t ulawToLinear(uint8_t code) noexcept { return decode(code); }

int32_t ulawEncode(uint8_t* codes, const int16_t* samples, size_t sourceBytes) noexcept {
    const size_t count = sourceBytes / sizeof(int16_t);
    for (size_t i = 0; i < count; ++i)
        codes[i] = encode(samples[i]);
    return static_cast<int32_t>(count);
}

int32_t ulawDecode(int16_t* samples, const uint8_t* codes, size_t count) noexcept {
    for (size_t i = 0; i < count; ++i)
        samples[i] = decode(codes[i]);
    return static_cast<int32_t>(count * sizeof(int16_t));
}
