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
        // Nothing ever calls back: the first question begins the period, each time-out the next.
        {{0ms, Event::Asked}, {2999ms, Event::Asked}, {3000ms, Event::TimedOut},
         {5999ms, Event::Asked}, {6000ms, Event::TimedOut}},
        // The question that notices a callback begins the period.
        {{0ms, Event::Asked}, {2900ms, Event::CalledBack}, {2990ms, Event::Asked},
         {5989ms, Event::Asked}, {5990ms, Event::TimedOut}},
        // A callback is noticed even when the next question comes long after it.
        {{0ms, Event::Asked}, {100ms, Event::CalledBack}, {9000ms, Event::Asked},
         {11'999ms, Event::Asked}, {12'000ms, Event::TimedOut}},
        // An opening begins the period, also after it took long.
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
