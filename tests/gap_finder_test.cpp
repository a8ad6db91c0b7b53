// Where sound is missing in a recording, and where it only came late.
#include "host/sound/gap_finder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "host/sound/outline.h"

namespace {

constexpr int64_t FrameMs = 256;
constexpr int64_t Hour = 3'600'000;

struct Case {
    const char* what;
    double pace = 1;      // ms of the machine in which the card captures one of sound
    int frames = 100;     // that the card captures
    int lost = 0;         // of those, from the 40th on
    int held = 0;         // from the 40th on, until the last is due; the next come at double speed
    int64_t sleepMs = 0;  // of the machine, before the 40th
    int64_t restMs = 0;   // until the end, when the last frame has come
    std::vector<Gap> gaps = {};
};

// Frames wander by up to 20 ms, so that no time is exact.
constexpr int64_t Exactness = 50;

TEST(GapFinder, FindsTheGapsAndNoOthers) {
    for (const Case& c : std::initializer_list<Case>{
             {.what = "nothing happens"},
             {.what = "a slow card", .pace = 1.01, .frames = 3000},
             {.what = "a fast card", .pace = 0.99, .frames = 3000},
             {.what = "late frames", .held = 8},
             {.what = "a lost frame", .lost = 1, .gaps = {{40 * FrameMs, 41 * FrameMs}}},
             {.what = "lost seconds", .lost = 20, .gaps = {{40 * FrameMs, 60 * FrameMs}}},
             {.what = "lost and late",
             .lost = 3,
             .held = 9,
             .gaps = {{40 * FrameMs, 43 * FrameMs}}},
             {.what = "asleep", .sleepMs = Hour, .gaps = {{40 * FrameMs, 40 * FrameMs + Hour}}},
             {.what = "lost before the end",
             .frames = 63,
             .lost = 20,
             .gaps = {{40 * FrameMs, 60 * FrameMs}}},
             {.what = "a late end", .restMs = 2000},
             {.what = "an end without sound",
             .restMs = 9000,
             .gaps = {{100 * FrameMs, 99 * FrameMs + 9000}}},
         }) {
        GapFinder finder;
        std::vector<Stretch> stretches;
        const auto add = [&](const std::vector<Stretch>& decided) {
            stretches.insert(stretches.end(), decided.begin(), decided.end());
        };
        size_t sent = 0;
        int64_t arrival = 0;
        for (int i = 0; i < c.frames; ++i) {
            const auto due = static_cast<int64_t>(static_cast<double>(i * FrameMs) * c.pace);
            const int64_t caughtUp =
                c.held > 0 && i >= 40 ? (39 + c.held) * FrameMs + (i - 40) * FrameMs / 2 : 0;
            arrival = std::max(due, caughtUp) + i * 7 % 20 + (i >= 40 ? c.sleepMs : 0);
            if (i >= 40 && i < 40 + c.lost)
                continue;
            add(finder.place(2048, arrival));
            sent += 2048;
        }
        add(finder.finish(arrival + c.restMs));

        std::vector<Stretch> gaps;
        size_t placed = 0;
        for (const Stretch& stretch : stretches) {
            placed += stretch.samples;
            if (stretch.samples == 0)
                gaps.push_back(stretch);
        }
        EXPECT_EQ(placed, sent) << c.what;
        const int64_t end = arrival + std::max(c.gaps.empty() ? 0 : c.restMs, FrameMs);
        EXPECT_LE(std::abs(stretches.back().end - end), Exactness) << c.what;
        EXPECT_EQ(gaps.size(), c.gaps.size()) << c.what;
        for (size_t i = 0; i < std::min(gaps.size(), c.gaps.size()); ++i) {
            EXPECT_LE(std::abs(gaps[i].begin - c.gaps[i].begin), Exactness) << c.what;
            EXPECT_LE(std::abs(gaps[i].end - c.gaps[i].end), Exactness) << c.what;
        }
    }
}

}  // namespace
