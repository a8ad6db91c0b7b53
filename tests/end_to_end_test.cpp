// The real library between the reference host and each real sound server: a tone that is played is
// found in the recording, with its pitch and nearly its level.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int Rate = 8000;
constexpr int ClipRate = 44100;  // to be resampled
constexpr double Tone = 1234;    // Hz

using SoundFile = std::unique_ptr<SNDFILE, int (*)(SNDFILE*)>;

// The tone's amplitude in `samples`, by Goertzel's algorithm.
double amplitude(const std::vector<float>& samples, size_t begin, size_t count, double hertz) {
    const double step = 2 * std::numbers::pi * hertz / Rate;
    double last = 0;
    double before = 0;
    for (size_t i = begin; i < begin + count; ++i)
        before = std::exchange(last, samples[i] + 2 * std::cos(step) * last - before);
    const double power = last * last + before * before - 2 * std::cos(step) * last * before;
    return 2 * std::sqrt(power) / static_cast<double>(count);
}

class EndToEnd : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(On, EndToEnd, testing::Values("pulseaudio", "pipewire"),
                         [](const auto& server) { return std::string(server.param); });

TEST_P(EndToEnd, PlayedToneIsFoundInTheRecording) {
    char name[] = "/tmp/tamborin-e2e-XXXXXX";
    const std::filesystem::path folder = mkdtemp(name);
    const std::string clip = folder / "tone.wav";
    {
        SF_INFO info{};
        info.samplerate = ClipRate;
        info.channels = 1;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        const SoundFile file(sf_open(clip.c_str(), SFM_WRITE, &info), sf_close);
        std::vector<float> tone(3 * ClipRate);
        for (size_t i = 0; i < tone.size(); ++i)
            tone[i] = 0.5F * static_cast<float>(std::sin(2 * std::numbers::pi * Tone *
                                                         static_cast<double>(i) / ClipRate));
        sf_write_float(file.get(), tone.data(), static_cast<sf_count_t>(tone.size()));
    }
    const std::string command = PRIVATE_SERVER + std::string(GetParam()) + " " + TAMBORIN_HOST +
                                " talk " + clip + " --for 10 --dir " + folder.string() + " --out " +
                                folder.string() + "/recordings";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;

    std::filesystem::path recording;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "recordings"))
        recording = entry.path();
    SF_INFO info{};
    const SoundFile file(sf_open(recording.c_str(), SFM_READ, &info), sf_close);
    ASSERT_TRUE(file) << recording;
    EXPECT_EQ(info.samplerate, Rate);
    EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_ULAW);
    std::vector<float> samples(static_cast<size_t>(info.frames));
    sf_read_float(file.get(), samples.data(), info.frames);

    constexpr size_t Window = 2000;  // 4 Hz wide
    size_t heard = 0;
    for (size_t begin = 0; begin + Window <= samples.size(); begin += Window) {
        const double level = amplitude(samples, begin, Window, Tone);
        if (level > 0.4 && level < 0.6 && amplitude(samples, begin, Window, Tone + 60) < level / 5)
            ++heard;
    }
    EXPECT_GE(heard * Window, size_t{2} * Rate) << "of 3 s of tone";
    std::filesystem::remove_all(folder);
}

}  // namespace
