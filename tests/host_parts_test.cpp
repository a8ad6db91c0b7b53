// Parts of the reference host, for what a whole run cannot bring about at will.
#include <gtest/gtest.h>

#include <cstdlib>

#include "host/recorder.h"
#include "host/steady_time.h"

namespace {

// Has a folder of its own.
class HostParts : public testing::Test {
  protected:
    ~HostParts() override { std::filesystem::remove_all(folder_); }

    char name_[32] = "/tmp/tamborin-parts-XXXXXX";
    const std::filesystem::path folder_ = mkdtemp(name_);
};

TEST_F(HostParts, GapsAreThoseOfTheSoundHoweverTheClockIsSet) {
    constexpr int64_t Hour = 3'600'000;
    constexpr int64_t Lost = 5000;  // ms, once
    ChannelDescription channel;
    channel.id = 7;
    const std::vector<uint8_t> frame(2048, 0xFF);
    for (const int64_t step : {int64_t{0}, Hour, -Hour}) {
        Recorder recorder;
        recorder.begin({channel}, folder_);
        int64_t arrival = steadyMilliseconds();
        for (int i = 0; i < 60; ++i) {
            arrival += 256 + (i == 40 ? Lost : 0);
            recorder.take({7, frame, arrival + (i < 20 ? 0 : step)}, arrival);
        }
        recorder.end();
        const Outline outline = recorder.outlines().front();
        ASSERT_EQ(outline.gaps.size(), 1U) << step;
        EXPECT_NEAR(static_cast<double>(outline.gaps[0].end - outline.gaps[0].begin), Lost, 200);
        const auto drawn = static_cast<int64_t>(outline.envelope.buckets().size()) *
                           outline.envelope.bucketWidth() * 1000 / SampleRate;
        EXPECT_NEAR(static_cast<double>(drawn), 61 * 256 + Lost, 1000);
    }
}

}  // namespace
