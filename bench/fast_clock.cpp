// Replaces base/clock.cpp in a build of the module with a fake PortAudio: its steady time runs a
// day in a minute, and each open input calls back in every 256 ms of it. Leaves the time that has
// passed in the file "passed_ms" of the working directory.
#include <alsa/asoundlib.h>

#include <array>
#include <ctime>
#include <fstream>

#include "base/clock.h"
#include "tests/fake_portaudio.h"

namespace {

constexpr int SpeedUp = 1440;  // so many pauses take a millisecond
constexpr int FrameMs = 256;

std::chrono::milliseconds passed{0};  // worker's thread

// Returns a tone, so that nothing on the way takes it for silence.
const std::array<int16_t, 2048>& frame() {
    static const std::array<int16_t, 2048> samples = [] {
        std::array<int16_t, 2048> made{};
        for (size_t i = 0; i < made.size(); ++i)
            made[i] = static_cast<int16_t>(i % 16 * 1000);
        return made;
    }();
    return samples;
}

// Lives from the library's loading to its unloading.
const struct Simulation {
    Simulation() {
        fakePortAudio.hostApis.push_back({1, paALSA, "ALSA", 0, 0, 0});
        fakePortAudio.addDevice("default", 1, 0);
    }
    ~Simulation() { std::ofstream("passed_ms") << passed.count(); }
    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;
} simulation;

}  // namespace

int snd_card_next(int* card) {
    *card = -1;  // no sound cards
    return 0;
}

SteadyTime steadyNow() noexcept { return SteadyTime(std::chrono::hours(1)) + passed; }
SteadyTime steadyTick() noexcept { return steadyNow(); }

void pauseOneMillisecond() noexcept {
    ++passed;
    if (passed.count() % FrameMs == 0)
        for (const FakeStream* stream : fakePortAudio.open)
            if (stream->isInput)
                stream->capture(frame());
    static SteadyTime next = std::chrono::steady_clock::now();
    if (passed.count() % SpeedUp == 0) {
        next += std::chrono::milliseconds(1);
        const auto rest = next - std::chrono::steady_clock::now();
        if (rest.count() < 0) {
            next = std::chrono::steady_clock::now();
            return;
        }
        const timespec pause{.tv_sec = 0, .tv_nsec = rest.count()};
        nanosleep(&pause, nullptr);
    }
}
