// Captured audio: its order, its codes, its time stamps.
#include "audio/ulaw.h"
#include "module_test.h"

namespace {

class Capture : public ModuleTest {
  protected:
    Capture() {
        fakePortAudio.addDevice("default");
        configure(enabling("0", "1"));
    }
    static FakeStream& input() { return fakePortAudio.streams.front(); }
};

TEST_F(Capture, BlocksArriveInOrderEncoded) {
    std::vector<int16_t> loud(2048);
    for (size_t i = 0; i < loud.size(); ++i)
        loud[i] = static_cast<int16_t>(i * 31);
    run({[&] {
             EXPECT_EQ(input().capture(std::vector<int16_t>(2048, 100)), paContinue);
             EXPECT_EQ(input().capture(loud), paContinue);
             takeTrace();
         },
         [&] {
             EXPECT_EQ(takeTrace(),
                       "audio 1310992 at 1763300000.0\naudio 1310992 at 1763300000.0\n");
             ASSERT_EQ(frame.size(), loud.size());
             for (size_t i = 0; i < loud.size(); ++i)
                 ASSERT_EQ(frame[i], linearToUlaw(loud[i]));
             EXPECT_EQ(input().callback(nullptr, nullptr, 1, nullptr, 0, input().userData),
                       paAbort);
             answer = 1;  // to the first of the next two: the module stops, the other is dropped
             input().capture(loud);
             input().capture(loud);
             takeTrace();
         },
         [] {}});
    EXPECT_EQ(takeTrace(),
              "audio 1310992 at 1763300000.0\nPa_CloseStream\n"
              "25 Closed input stream 'default (input)'\n");
}

TEST_F(Capture, TimeStampIsTheClockLessTheLatency) {
    struct Case {
        int64_t seconds, microseconds;
        double latency;
        uint64_t stampSeconds;
        uint16_t stampMilliseconds;
    };
    const std::vector<Case> cases{
        {100, 5'000, 0.0125, 99, 993},
        {100, 500'999, 0.0125, 100, 488},
        {100, 12'000, 0.0125, 100, 0},
        {100, 11'999, 0.0129, 99, 999},
        {100, 0, 0, 100, 0},
        {100, 250'000, 1.0, 99, 250},
        {100, 250'000, 2.5, 97, 750},
        {100, 0, -1, 100, 0},
        {100, 0, 0.0 / 0.0, 100, 0},
        {0x1'0000'0005, 0, 0.5, 4, 500},
        {0, 0, 0.001, 0xFFFFFFFF, 999},
    };
    std::vector<Step> steps;
    for (const Case& c : cases) {
        steps.push_back([&c] {
            fakeClock.wallSeconds = c.seconds;
            fakeClock.wallMicroseconds = c.microseconds;
            fakePortAudio.streamInfo.inputLatency = c.latency;
            input().capture(std::vector<int16_t>(2048));
        });
        steps.push_back([&c] {
            EXPECT_EQ(messages.back().seconds, c.stampSeconds) << c.latency;
            EXPECT_EQ(messages.back().milliseconds, c.stampMilliseconds) << c.latency;
        });
    }
    run(steps);
}

TEST_F(Capture, DisabledOrClosedChannels) {
    run({[&] {
             input().capture(std::vector<int16_t>(2048));
             configure(enabling("0", "0"));  // drops what is queued
             takeTrace();
         },
         [&] {
             EXPECT_EQ(takeTrace(),
                       "Pa_CloseStream\n25 Closed input stream 'default (input)'\n"
                       "document 256\nrelease document\n");
             configure(enabling("0", "1"));
         },
         [&] {
             fakePortAudio.streamInfo.inputLatency = 0.5;
             FakeStream& reopened = fakePortAudio.streams.back();
             reopened.capture(std::vector<int16_t>(2048));
             reopened.active = paBadStreamPtr;  // PortAudio has forgotten it: no latency is known
             Close();
             takeTrace();
         }});
    EXPECT_EQ(takeTrace(), "");
}

}  // namespace
