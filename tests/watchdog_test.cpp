// A stream is timed out three seconds after its last sign of life, and not before.
#include "audio/watchdog.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

struct Event {
    std::chrono::milliseconds at;
    enum { Opened, CalledBack, Asked, TimedOut } what;
};

TEST(Watchdog, CountsFromTheLastSignOfLife) {
    // clang-format off
    const std::vector<std::vector<Event>> lives{
        // Nothing ever called back: from the first question, then again and again.
        {{0ms, Event::Asked}, {2999ms, Event::Asked}, {3000ms, Event::TimedOut},
         {5999ms, Event::Asked}, {6000ms, Event::TimedOut}},
        // From the question that noticed the last callback.
        {{0ms, Event::Asked}, {2900ms, Event::CalledBack}, {2990ms, Event::Asked},
         {5989ms, Event::Asked}, {5990ms, Event::TimedOut}},
        // A callback that nobody asked about is not forgotten.
        {{0ms, Event::Asked}, {100ms, Event::CalledBack}, {9000ms, Event::Asked},
         {11'999ms, Event::Asked}, {12'000ms, Event::TimedOut}},
        // From an opening that took long.
        {{0ms, Event::Asked}, {3000ms, Event::TimedOut}, {9000ms, Event::Opened},
         {11'999ms, Event::Asked}, {12'000ms, Event::TimedOut}}};
    // clang-format on
    for (const auto& life : lives) {
        Watchdog watchdog;
        for (const Event& event : life) {
            const SteadyTime now(100s + event.at);
            if (event.what == Event::Opened)
                watchdog.beginPeriod(now);
            else if (event.what == Event::CalledBack)
                watchdog.rearm();
            else
                EXPECT_EQ(watchdog.isTimedOut(now), event.what == Event::TimedOut)
                    << event.at.count() << " ms";
        }
    }
}

}  // namespace
