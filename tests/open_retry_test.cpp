// After ten failed opens a device is asked before each open, and the log stays short.
#include "audio/open_retry.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::chrono_literals;
using enum DeviceAnswer;

// Attempts to open a stream as a channel does. Returns what was done.
std::string attempt(OpenRetry& retry, SteadyTime now, DeviceAnswer answer, bool succeeds = false) {
    const OpenRetry::Step step = retry.next(now);
    if (step == OpenRetry::Step::Wait)
        return "wait";
    const bool asks = step == OpenRetry::Step::AskDevice;
    if (asks)
        retry.takeAnswer(answer, now);
    if (retry.next(now) != OpenRetry::Step::Open)
        return retry.takeDueReport(now) ? "ask, log" : "ask";
    std::string did = asks ? "ask, open" : "open";
    if (succeeds)
        retry.reset();
    else if (retry.takeFailure(-9985, now))
        did += ", log";
    return did;
}

struct Attempt {
    std::chrono::milliseconds at;  // since the tenth failure
    DeviceAnswer answer;
    const char* comesTo;
    bool succeeds = false;
};

TEST(OpenRetry, AsksAfterTenFailures) {
    // clang-format off
    const std::vector<std::vector<Attempt>> lives{
        // Away: asked once a second, logged once in ten minutes; opened when it is back.
        {{999ms, Away, "wait"}, {1000ms, Away, "ask"}, {1999ms, Openable, "wait"},
         {2000ms, Away, "ask"}, {599'999ms, Away, "ask"}, {601'000ms, Away, "ask, log"},
         {602'000ms, Away, "ask"}, {1'200'999ms, Away, "ask"}, {1'202'000ms, Away, "ask, log"},
         {1'203'000ms, Openable, "ask, open", true}, {1'203'000ms, Away, "open, log"}},
        // PortAudio cannot open it, busy or not: opens become rarer; a changed answer allows one.
        {{1000ms, Busy, "ask, open"}, {2000ms, Busy, "ask, open"}, {3000ms, Busy, "ask"},
         {4000ms, Busy, "ask, open"}, {7000ms, Busy, "ask"}, {7500ms, Busy, "wait"},
         {8000ms, Openable, "ask, open"}, {9000ms, Openable, "ask"}, {10'000ms, Away, "ask"},
         {11'000ms, Openable, "ask, open"}, {12'000ms, Busy, "ask, open", true},
         {12'000ms, Busy, "open, log"}},
        // ALSA cannot be asked: an open once a second.
        {{999ms, CannotTell, "wait"}, {1000ms, CannotTell, "ask, open"},
         {2000ms, CannotTell, "ask, open"}, {3000ms, CannotTell, "ask, open"},
         {600'000ms, CannotTell, "ask, open, log"}}};
    // clang-format on
    for (const auto& life : lives) {
        OpenRetry retry;
        const SteadyTime tenth(100s);
        for (uint32_t i = 0; i < OpenRetry::FreeTries; ++i) {
            EXPECT_FALSE(retry.isDeviceInDoubt());
            EXPECT_EQ(retry.hasFailures(), i > 0);
            EXPECT_EQ(attempt(retry, tenth, Away), "open, log");
        }
        for (const Attempt& next : life) {
            EXPECT_TRUE(retry.isDeviceInDoubt() || next.comesTo[0] == 'o');
            EXPECT_EQ(attempt(retry, tenth + next.at, next.answer, next.succeeds), next.comesTo)
                << next.at.count() << " ms";
        }
        EXPECT_EQ(retry.lastError(), -9985);
    }
}

// A busy device that PortAudio cannot open costs few opens a day.
TEST(OpenRetry, OpensOfABusyDeviceAreRare) {
    OpenRetry retry;
    int opens = 0;
    for (SteadyTime now{}; now < SteadyTime(24h); now += 1s)
        opens += attempt(retry, now, Busy).find("open") != std::string::npos ? 1 : 0;
    EXPECT_GE(opens, 10 + 24 * 6);
    EXPECT_LE(opens, 10 + 24 * 6 + 12);
}

}  // namespace
