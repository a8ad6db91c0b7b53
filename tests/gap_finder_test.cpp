// The gap finder must report lost sound as a gap, but not sound that only came late.
#include "host/sound/gap_finder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "host/session/sound_format.h"
#include "host/sound/outline.h"

namespace {

constexpr int64_t FrameMs = 256;
constexpr int64_t Hour = 3'600'000;

struct Case {
    const char* what;
    double pace = 1;      // ms of the machine's clock for 1 ms of sound
    int frames = 100;     // captured by the card
    int lost = 0;         // frames lost, from frame 40 on
    int held = 0;         // frames held back from frame 40 on; later ones come at double speed
    int64_t sleepMs = 0;  // the machine sleeps before frame 40
    int64_t restMs = 0;   // from the last frame to the end
    Gap gap = {};
};

TEST(GapFinder, FindsTheGapsAndNoOthers) {
    for (const Case& c : std::initializer_list<Case>{
             {.what = "nothing happens"},
             {.what = "a slow card", .pace = 1.01, .frames = 3000},
             {.what = "a fast card", .pace = 0.99, .frames = 3000},
             {.what = "late frames", .held = 8},
             {.what = "a lost frame", .lost = 1, .gap = {40 * FrameMs, 41 * FrameMs}},
             {.what = "lost seconds", .lost = 20, .gap = {40 * FrameMs, 60 * FrameMs}},
             {.what = "lost and late", .lost = 3, .held = 9, .gap = {40 * FrameMs, 43 * FrameMs}},
             {.what = "asleep", .sleepMs = Hour, .gap = {40 * FrameMs, 40 * FrameMs + Hour}},
             {.what = "ends late", .frames = 63, .lost = 20, .gap = {40 * FrameMs, 60 * FrameMs}},
             {.what = "a late end", .restMs = 2000},
             {.what = "no end", .restMs = 9000, .gap = {100 * FrameMs, 100 * FrameMs + 9000}},
         }) {
        GapFinder finder;
        std::vector<Gap> gaps;
        size_t placed = 0;
        int64_t end = 0;
        const auto add = [&](const std::vector<Stretch>& decided) {
            for (const Stretch& stretch : decided) {
                placed += stretch.samples;
                end = stretch.end;
                if (stretch.samples == 0)
                    gaps.push_back({stretch.begin, stretch.end});
            }
        };
        size_t sent = 0;
        int64_t arrival = 0;
        for (int i = 0; i < c.frames; ++i) {
            const auto due = static_cast<int64_t>(static_cast<double>(i * FrameMs) * c.pace);
            const int64_t caughtUp =
                c.held > 0 && i >= 40 ? (39 + c.held) * FrameMs + (i - 40) * FrameMs / 2 : 0;
            arrival = std::max(due, caughtUp) + FrameMs + i * 7 % 20 + (i >= 40 ? c.sleepMs : 0);
            if (i >= 40 && i < 40 + c.lost)
                continue;
            add(finder.place(2048, arrival));
            sent += 2048;
        }
        add(finder.finish(arrival + c.restMs));
        EXPECT_EQ(placed, sent) << c.what;
        const bool isMissing = c.gap.end > 0;
        constexpr int64_t Exactness = 50;  // frames arrive up to 20 ms late
        EXPECT_LE(std::abs(end - arrival - (isMissing ? c.restMs : 0)), Exactness) << c.what;
        ASSERT_EQ(gaps.size(), isMissing ? 1U : 0U) << c.what;
        gaps.push_back(c.gap);  // so that gaps[0] exists
        EXPECT_LE(std::abs(gaps[0].begin - c.gap.begin), Exactness) << c.what;
        EXPECT_LE(std::abs(gaps[0].end - c.gap.end), Exactness) << c.what;
    }
}

TEST(GapFinder, OutlineBeginsWithTheRecording) {
    OutlineBuilder builder({}, 1000);
    std::vector<uint8_t> codes(800);  // loud, in the 100 ms before
    codes.resize(2048, SilenceCode);
    builder.add(codes, 1156);
    builder.finish(1156);
    size_t samples = 0;
    for (const Envelope::Bucket& bucket : builder.outline().envelope.buckets()) {
        samples += bucket.samples;
        EXPECT_EQ(bucket.low, 0);
        EXPECT_EQ(bucket.high, 0);
    }
    EXPECT_EQ(samples, 156U * 8);
}

}  // namespace
