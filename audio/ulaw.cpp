#include "audio/ulaw.h"

#include <algorithm>
#include <bit>

// Compiled once for each of these levels of x86-64; the program's loader takes the best that the
// machine runs. Not by clang 14, whose callers in other files do not find the result, and not under
// the thread sanitizer, which crashes in the loader's choice.
#if defined(__x86_64__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__)
#define FOR_EACH_X86_64_LEVEL \
    __attribute__((target_clones("default", "arch=x86-64-v3", "arch=x86-64-v4")))
#else
#define FOR_EACH_X86_64_LEVEL
#endif

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

// In 16 bits throughout, and shifted bit by bit of the segment: only the newest machines shift each
// of many short numbers by a distance of its own.
inline int16_t decode(uint8_t code) noexcept {
    const auto bits = static_cast<uint16_t>(~code);
    auto biased = static_cast<uint16_t>(((bits & 0x0F) << 3) + Bias);
    biased = static_cast<uint16_t>((bits & 0x10) != 0 ? biased << 1 : biased);
    biased = static_cast<uint16_t>((bits & 0x20) != 0 ? biased << 2 : biased);
    biased = static_cast<uint16_t>((bits & 0x40) != 0 ? biased << 4 : biased);
    return static_cast<int16_t>((bits & SignBit) != 0 ? Bias - biased : biased - Bias);
}

}  // namespace

uint8_t linearToUlaw(int16_t sample) noexcept { return encode(sample); }

int16_t ulawToLinear(uint8_t code) noexcept { return decode(code); }

FOR_EACH_X86_64_LEVEL
int32_t ulawEncode(uint8_t* codes, const int16_t* samples, size_t sourceBytes) noexcept {
    const size_t count = sourceBytes / sizeof(int16_t);
    for (size_t i = 0; i < count; ++i)
        codes[i] = encode(samples[i]);
    return static_cast<int32_t>(count);
}

FOR_EACH_X86_64_LEVEL
int32_t ulawDecode(int16_t* samples, const uint8_t* codes, size_t count) noexcept {
    for (size_t i = 0; i < count; ++i)
        samples[i] = decode(codes[i]);
    return static_cast<int32_t>(count * sizeof(int16_t));
}
