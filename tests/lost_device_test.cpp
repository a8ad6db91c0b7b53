// Makes a device impossible to open for a while, while the module records and plays. Runs under
// tools/private-pulseaudio, which provides the sound server.
//
//   lost_device_test LIBRARY SECONDS
#include <alsa/asoundlib.h>
#include <dlfcn.h>
#include <portaudio.h>

#include "live_module.h"

namespace {

std::chrono::seconds away{60};
std::atomic<bool> isGone[2];  // indexed by snd_pcm_stream_t
std::atomic<int> opens[2];    // of PortAudio's streams, indexed in the same way

template <typename Function>
Function* behind(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// These replace the libraries' functions for the module and for PortAudio.
int snd_pcm_open(snd_pcm_t** pcm, const char* name, snd_pcm_stream_t stream, int mode) {
    static const auto real = behind<decltype(snd_pcm_open)>("snd_pcm_open");
    return isGone[stream] ? -ENODEV : real(pcm, name, stream, mode);
}
PaError Pa_OpenStream(PaStream** stream, const PaStreamParameters* input,
                      const PaStreamParameters* output, double rate, unsigned long frames,
                      PaStreamFlags flags, PaStreamCallback* callback, void* data) {
    static const auto real = behind<decltype(Pa_OpenStream)>("Pa_OpenStream");
    ++opens[input ? SND_PCM_STREAM_CAPTURE : SND_PCM_STREAM_PLAYBACK];
    return real(stream, input, output, rate, frames, flags, callback, data);
}

namespace {

class LostDevice : public LiveModule {
  protected:
    // Checks what the absence costs, brings the device back and waits for its sound.
    template <typename Condition>
    void endAbsence(snd_pcm_stream_t direction, Condition isHeard) {
        const double share = workerShare(away);
        EXPECT_LE(opens[direction], 12);
        EXPECT_GE(opens[direction], 10);
        EXPECT_EQ(failedOpens_, 10);
        EXPECT_LT(share, allowedShare(idle_));
        printf("%d opens, %d lines, worker %.2f %% of a core (idle %.2f), ",
               opens[direction].load(), failedOpens_.load(), share * 100, idle_ * 100);
        isGone[direction] = false;
        const auto back = Clock::now();
        EXPECT_TRUE(await(30s, isHeard));
        printf("heard %.1f s after the return\n", secondsSince(back));
    }
    const double idle_ = workerShare(10s);
};

TEST_F(LostDevice, Playback) {
    const size_t begin = recorded();
    const auto start = Clock::now();
    isGone[SND_PCM_STREAM_PLAYBACK] = true;
    opens[SND_PCM_STREAM_PLAYBACK] = failedOpens_ = 0;
    isLoud_ = false;
    play(Output);
    endAbsence(SND_PCM_STREAM_PLAYBACK, [this] { return isLoud_.load(); });
    // Audio written while the device was away is played, and no captured frame was lost meanwhile.
    EXPECT_TRUE(await(60s, [&] { return isHeardSince(begin); }));
    EXPECT_TRUE(await(60s, [&] { return allReturned(); }));
    EXPECT_GE(static_cast<double>(recorded() - begin), (secondsSince(start) - 1) * 8000);
}

TEST_F(LostDevice, CaptureBesideAnOutput) {
    isGone[SND_PCM_STREAM_CAPTURE] = true;
    play(Output, static_cast<size_t>(4 * (away.count() + 30)));
    EXPECT_TRUE(await(30s, [this] { return openOutputs_ == 1; }));
    opens[SND_PCM_STREAM_CAPTURE] = failedOpens_ = 0;
    module_.configure(enablingDocument({2}, false, 1000));
    module_.configure(enablingDocument({2}, true, 1000));
    ASSERT_TRUE(await(30s, [this] { return failedOpens_ == 1; }));
    const size_t before = recorded();
    endAbsence(SND_PCM_STREAM_CAPTURE, [&] { return recorded() > before; });
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    library = argc > 1 ? argv[1] : "";
    away = std::chrono::seconds(argc > 2 ? std::atoi(argv[2]) : 60);
    return RUN_ALL_TESTS();
}
