// Streams that stop calling back: found after three seconds, and not before.
#include "module_test.h"

namespace {

using namespace std::chrono_literals;

class Watchdog : public ModuleTest {
  protected:
    Watchdog() { fakePortAudio.addDevice("default"); }

    // Passes `time` in steps of a tenth of a second, one a pass, calling back after each
    // `callbackEvery` if not zero; answers when, in tenths, the log said `line`.
    std::vector<Step> watch(std::chrono::milliseconds time, const std::string& line,
                            std::string& when, std::chrono::milliseconds callbackEvery = 0ms) {
        std::vector<Step> steps;
        for (auto passed = 0ms; passed < time; passed += 100ms)
            steps.push_back([=, &when] {
                if (takeTrace().find(line) != std::string::npos)
                    when += std::to_string(passed / 100ms) + " ";
                if (callbackEvery != 0ms && passed % callbackEvery == 0ms)
                    callBack();
                fakeClock.steady += 99ms;  // and the pause's own
            });
        return steps;
    }
    static void callBack() {
        std::vector<int16_t> sound(2048);
        FakeStream& stream = fakePortAudio.streams.back();
        stream.isInput ? stream.capture(sound) : stream.play(sound);
    }
};

TEST_F(Watchdog, SilentInputIsReopenedOncePerPeriod) {
    configure(enabling("0", "1"));
    std::string when;
    run(watch(10s,
              "0 Input stream 1310992 timed out\nPa_CloseStream\n"
              "25 Closed input stream 'default (input)'\nPa_OpenStream input 0\n"
              "Pa_StartStream\n25 Started input stream 'default (input)'\n",
              when));
    EXPECT_EQ(when, "30 60 90 ");
}

TEST_F(Watchdog, PausesOfAHealthyInputAreSurvived) {
    configure(enabling("0", "1"));
    std::string when;
    // The first callback two seconds after the start, then pauses of more than two.
    run(watch(60s, "timed out", when, 2500ms));
    EXPECT_EQ(when, "");
}

TEST_F(Watchdog, PeriodRunsFromTheLastCallback) {
    configure(enabling("0", "1"));
    std::string when;
    auto steps = watch(1700ms, "timed out", when, 100ms);
    const auto silent = watch(4s, "timed out", when);
    steps.insert(steps.end(), silent.begin(), silent.end());
    run(steps);
    EXPECT_EQ(when, "30 ");  // last called back at 1.6 s, a tenth before the silence is counted
}

TEST_F(Watchdog, StalledOutputIsRestartedWhileAudioWaits) {
    std::string when;
    std::vector<Step> steps{[&] { write("stuck", {1}, Channel0 + 1); }};
    const auto silent = watch(7s,
                              "Pa_CloseStream\n25 Closed output stream 'default (output)'\n"
                              "0 Restarting output stream 1310993\nPa_OpenStream output 0\n",
                              when);
    steps.insert(steps.end(), silent.begin(), silent.end());
    run(steps);
    EXPECT_EQ(when, "30 60 ");
}

TEST_F(Watchdog, InputWithoutDeviceIsNotReopened) {
    configure(
        ours("<Device><Audio><Input Number=\"7\"/></Audio><Codec><Encoder>"
             "<AudioChannel Number=\"7\" Enabled=\"1\"/></Encoder></Codec></Device>"));
    std::string when;
    run(watch(7s, "0 Input stream 1310999 timed out\n", when));
    EXPECT_EQ(when, "30 60 ");
    EXPECT_TRUE(fakePortAudio.streams.empty());
}

// A stream that died stays open: only the watchdog revives it. One whose handle PortAudio has
// forgotten is opened anew by the next configuration.
TEST_F(Watchdog, DeadAndForgottenStreams) {
    run({[&] { configure(enabling("0", "1")); },
         [&] {
             fakePortAudio.streams[0].active = 0;
             configure(enabling("0", "1"));
         },
         [&] {
             EXPECT_EQ(fakePortAudio.streams.size(), 1U);
             fakePortAudio.streams[0].active = paBadStreamPtr;
             configure(enabling("0", "1"));
         },
         [&] { EXPECT_EQ(fakePortAudio.streams.size(), 2U); }});
}

TEST_F(Watchdog, OutputThatCallsBackIsLeftInPeace) {
    std::string when;
    std::vector<Step> steps{[] {
        for (int i = 0; i < 40; ++i)
            write("block", std::vector<uint8_t>(2048, 1), Channel0 + 1);
    }};
    const auto playing = watch(7s, "Restarting", when, 300ms);
    steps.insert(steps.end(), playing.begin() + 1, playing.end());
    run(steps);
    EXPECT_EQ(when, "");
}

// An open that failed is tried again after a period and does not alarm the host; a start that
// failed does, until the next attempt.
TEST_F(Watchdog, FailedOpensAndStarts) {
    configure(enabling("0", "1"));
    fakePortAudio.open = paDeviceUnavailable;
    std::string when;
    const std::string failed =
        "25 Failed to start input stream 'default (input)' (Pa_OpenStream error -9985)\n";
    auto steps = watch(4s, failed, when);
    steps.push_back([] {
        fakePortAudio.open = paNoError;
        fakePortAudio.start = paUnanticipatedHostError;
    });
    const std::string started = "25 Started input stream 'default (input)'\n";
    const auto alarmed =
        watch(3s, started + "50 Emitting audio device status = alarmed.\ndocument 4\n", when);
    const auto healthy =
        watch(3s, failed + "50 Emitting audio device status = ok.\ndocument 4\n", when);
    steps.insert(steps.end(), alarmed.begin(), alarmed.end());
    steps.push_back([] { fakePortAudio.open = paDeviceUnavailable; });
    steps.insert(steps.end(), healthy.begin(), healthy.end());
    run(steps);
    EXPECT_EQ(when, "0 30 20 20 ");
}

}  // namespace
