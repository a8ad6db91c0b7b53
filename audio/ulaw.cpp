#include "audio/ulaw.h"

#include <algorithm>
#include <bit>

// Compiles a function once for each of these levels of x86-64. The program's loader picks the best
// one that the machine supports. Not used with clang (with 14, calls from other files do
// not link), nor with the thread sanitizer, which crashes while the loader picks.
#if defined(__x86_64__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__)
#define FOR_EACH_X86_64_LEVEL \
    __attribute__((target_clones("default", "arch=x86-64-v3", "arch=x86-64-v4")))
#else
#define FOR_EACH_X86_64_LEVEL
#endif

namespace {

constexpr int16_t Bias = 132;                           // puts segments at powers of two
constexpr int16_t LargestMagnitude = 32767 - Bias;      // segment 7, step 15
constexpr int32_t Step15OfSegment0 = Bias + (15 << 3);  // biased
constexpr uint32_t SignBit = 0x80;

// Has no branch, so that the loops below vectorise. A biased magnitude is at least 2^7 and below
// 2^15, so a float holds it exactly. The float's exponent is the segment plus a constant, and its
// top four mantissa bits are the step. Both stand side by side, as in a mu-law code.
inline uint8_t encode(int16_t sample) noexcept {
    const auto negative = static_cast<int16_t>(sample >> 15);  // all ones or zero
    const auto magnitude = static_cast<int16_t>(sample ^ negative);
    const auto biased = static_cast<int16_t>(std::min(magnitude, LargestMagnitude) + Bias);
    constexpr uint32_t ExponentOfSegment0 = 127 + 7;
    const uint32_t segmentAndStep =
        (std::bit_cast<uint32_t>(static_cast<float>(biased)) >> 19) - (ExponentOfSegment0 << 4);
    return static_cast<uint8_t>(~segmentAndStep ^ (static_cast<uint32_t>(negative) & SignBit));
}

// Computes in 8 bits as long as possible. Multiplies by 2^segment, which is built from the
// segment's three bits, because shifting each 16-bit lane by its own distance needs AVX-512. The
// code's bits are inverted.
inline int16_t decode(uint8_t code) noexcept {
    const auto biased = static_cast<uint8_t>(Step15OfSegment0 - ((code & 0x0F) << 3));
    auto factor = static_cast<uint8_t>((code & 0x40) != 0 ? 1 : 16);
    factor = static_cast<uint8_t>((code & 0x20) != 0 ? factor : factor * 4);
    factor = static_cast<uint8_t>((code & 0x10) != 0 ? factor : factor * 2);
    const auto magnitude = static_cast<int16_t>(biased * factor - Bias);
    return static_cast<int16_t>((code & SignBit) != 0 ? magnitude : -magnitude);
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
