// Played audio: what the device hears, when its stream runs, and when buffers come back.
#include <thread>

#include "audio/ulaw.h"
#include "module_test.h"

namespace {

class Playback : public ModuleTest {
  protected:
    static constexpr int64_t Output = Channel0 + 1;
    Playback() { fakePortAudio.addDevice("default"); }

    // Lends `count` codes that all decode to the sample of `code`.
    static void lend(const std::string& name, uint8_t code, size_t count = 2048) {
        EXPECT_TRUE(write(name, std::vector<uint8_t>(count, code), Output));
    }
    // What one callback plays, as runs of equal samples: "CODE*COUNT ...", silence as "-".
    static std::string hear() {
        constexpr size_t frames = 2048;
        std::vector<int16_t> sound(frames, 0x5555);
        EXPECT_EQ(fakePortAudio.streams.back().play(sound), paContinue);
        std::string runs;
        for (size_t begin = 0, end = 0; begin < frames; begin = end) {
            while (end < frames && sound[end] == sound[begin])
                ++end;
            runs += (runs.empty() ? "" : " ") +
                    (sound[begin] == 0 ? "-" : std::to_string(linearToUlaw(sound[begin]))) + "*" +
                    std::to_string(end - begin);
        }
        return runs;
    }
};

TEST_F(Playback, OneBlockACallbackInOrderThenSilence) {
    run({[&] {
             takeTrace();
             lend("a", 10);
         },
         [&] {
             EXPECT_EQ(takeTrace(),
                       "Pa_OpenStream output 0\nPa_StartStream\n"
                       "25 Started output stream 'default (output)'\n");
             lend("b", 20);
             EXPECT_EQ(hear(), "10*2048");
             EXPECT_EQ(hear(), "-*2048");  // b is not decoded before the next pass
         },
         [&] {
             EXPECT_EQ(takeTrace(), "release a\n");
             EXPECT_EQ(hear(), "20*2048");
         },
         [&] { EXPECT_EQ(takeTrace(), "release b\n"); },
         [&] {
             EXPECT_EQ(takeTrace(), "Pa_CloseStream\n25 Closed output stream 'default (output)'\n");
         }});
}

TEST_F(Playback, ShortBlocksJoinAndLongOnesAreCut) {
    run({[&] {
             lend("short", 1, 160);
             lend("empty", 2, 0);
             lend("long", 3, 3000);
             lend("whole", 4);
             lend("last", 5, 100);
         },
         [&] {
             EXPECT_EQ(hear(), "1*160 3*1888");
             EXPECT_EQ(hear(), "3*160 4*1888");
             EXPECT_EQ(hear(), "4*160 5*100 -*1788");
             EXPECT_EQ(hear(), "-*2048");
         }});
}

TEST_F(Playback, StreamStartsAtTheThreshold) {
    struct Case {
        int bufferLength;
        int blocks;
    };
    std::vector<Step> steps;
    for (const Case& c : std::initializer_list<Case>{
             {250, 1}, {511, 1}, {512, 2}, {1000, 3}, {2000, 7}, {9999, 7}, {-2147483647, 1}}) {
        steps.push_back([=] {
            configure(ours("", "BufferLength=\"" + std::to_string(c.bufferLength) + "\""));
        });
        for (int i = 0; i < c.blocks; ++i)
            steps.push_back([=] {
                takeTrace();
                lend("block", 1);
            });
        steps.push_back([=] {
            EXPECT_EQ(takeTrace().find("Pa_OpenStream"), 0U) << c.bufferLength;
            for (int i = 0; i < c.blocks; ++i)
                hear();
        });
        steps.push_back([] {});
        steps.push_back([=] {
            EXPECT_EQ(fakePortAudio.streams.back().active, paBadStreamPtr) << c.bufferLength;
        });
    }
    run(steps);
    EXPECT_EQ(fakePortAudio.streams.size(), 7U);
}

// The stream's first callbacks may come while the worker still holds the queue: they are silent
// and lose nothing.
TEST_F(Playback, CallbackWhileTheStreamIsStarting) {
    run({[&] {
             fakePortAudio.whileStarting = [](FakeStream& stream) {
                 std::vector<int16_t> sound(2048, 1);
                 std::thread([&] { stream.play(sound); }).join();
                 EXPECT_EQ(sound, std::vector<int16_t>(2048, 0));
             };
             lend("a", 10);
         },
         [&] { EXPECT_EQ(hear(), "10*2048"); }});
}

TEST_F(Playback, MissingDeviceIsReportedOnceInElevenSeconds) {
    configure(ours("<Device><Audio><Input Number=\"9\" Output=\"1\"/></Audio></Device>"));
    std::string reports;
    const auto second = [&] {
        for (size_t at = 0; (at = trace.find("75 Failed", at)) != std::string::npos; ++at)
            reports += std::to_string(fakeClock.wallSeconds % 100) + " ";
        takeTrace();
        ++fakeClock.wallSeconds;
    };
    std::vector<Step> steps{[&] {
        EXPECT_TRUE(write("kept", {1}, Channel0 + 9));
        takeTrace();
    }};
    steps.insert(steps.end(), 25, second);
    run(steps);
    EXPECT_EQ(reports, "0 11 22 ");
}

}  // namespace
