// Compares every sample and every code with a plain form of the G.191 reference coder's rule.
#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <vector>

#include "audio/ulaw.h"

// The versions of each loop that the compiler made for the levels of x86-64; null where it made
// none. CMakeLists.txt makes their names visible to this test.
#define DECLARE_CLONES(level)                                                              \
    [[gnu::weak]] decltype(ulawEncode) encode_##level asm("_Z10ulawEncodePhPKsm." #level); \
    [[gnu::weak]] decltype(ulawDecode) decode_##level asm("_Z10ulawDecodePsPKhm." #level);
DECLARE_CLONES(default)
DECLARE_CLONES(arch_x86_64_v3)
DECLARE_CLONES(arch_x86_64_v4)

namespace {

uint8_t referenceCode(int x) {
    const int signBit = x < 0 ? 0 : 0x80;
    const int m = (x < 0 ? -x - 1 : x) + 132;
    int segment = 0;
    while (m >> (segment + 8) != 0)
        ++segment;
    const int q = segment > 7 ? 15 : (m >> (segment + 3)) & 0x0F;
    const int s = segment > 7 ? 7 : segment;
    return static_cast<uint8_t>(signBit | (~((s << 4) | q) & 0x7F));
}

int referenceSample(int code) {
    const int v = ~code & 0xFF;
    const int t = (((v & 0x0F) << 3) + 132) << ((v >> 4) & 7);
    return (v & 0x80) != 0 ? 132 - t : t - 132;
}

// Returns the codec, and each version of its loops that this machine can run.
auto codecs() {
    std::vector all{std::pair{&ulawEncode, &ulawDecode},
                    std::pair{&encode_default, &decode_default}};
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx2") != 0)
        all.emplace_back(&encode_arch_x86_64_v3, &decode_arch_x86_64_v3);
    if (__builtin_cpu_supports("avx512vl") != 0)
        all.emplace_back(&encode_arch_x86_64_v4, &decode_arch_x86_64_v4);
#endif
    std::erase_if(all, [](const auto& one) { return one.first == nullptr; });
    return all;
}

TEST(UlawExact, AllSamples) {
    std::vector<int16_t> samples(65536);
    std::iota(samples.begin(), samples.end(), int16_t{-32768});
    for (const auto& [encode, decode] : codecs()) {
        std::vector<uint8_t> codes(samples.size() + 1, 0xAA);
        EXPECT_EQ(encode(codes.data(), samples.data(), samples.size() * 2 + 1), 65536);
        for (size_t i = 0; i < samples.size(); ++i) {
            ASSERT_EQ(codes[i], referenceCode(samples[i])) << samples[i];
            ASSERT_EQ(linearToUlaw(samples[i]), codes[i]) << samples[i];
        }
        EXPECT_EQ(codes.back(), 0xAA);
        EXPECT_EQ(encode(codes.data(), samples.data(), 4097), 2048);
        EXPECT_EQ(encode(nullptr, nullptr, 0), 0);
    }
}

TEST(UlawExact, AllCodes) {
    std::array<uint8_t, 256> codes{};
    std::iota(codes.begin(), codes.end(), uint8_t{0});
    for (const auto& [encode, decode] : codecs()) {
        std::array<int16_t, 257> samples{};
        EXPECT_EQ(decode(samples.data(), codes.data(), codes.size()), 512);
        for (size_t i = 0; i < codes.size(); ++i) {
            ASSERT_EQ(samples[i], referenceSample(static_cast<int>(i))) << i;
            ASSERT_EQ(ulawToLinear(codes[i]), samples[i]) << i;
        }
        EXPECT_EQ(samples.back(), 0);
    }
}

// Values from the reference coder's own tables, in case the rule above is wrong.
TEST(UlawExact, KnownValues) {
    const std::vector<std::pair<int16_t, uint8_t>> known{{2, 0xFF},     {-1, 0x7F},    {100, 0xF2},
                                                         {-100, 0x73},  {1000, 0xCE},  {8000, 0xA0},
                                                         {32000, 0x80}, {-32767, 0x00}};
    for (const auto& [sample, code] : known)
        EXPECT_EQ(linearToUlaw(sample), code) << sample;
    EXPECT_EQ(ulawToLinear(0x00), -32124);
    EXPECT_EQ(ulawToLinear(0xF2), 104);
    EXPECT_EQ(ulawToLinear(0x73), -96);
}

}  // namespace
