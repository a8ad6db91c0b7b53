#include "host/clip.h"

#include <samplerate.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <numeric>
#include <sndfile.hh>
#include <stdexcept>

#include "audio/ulaw.h"
#include "host/recorder.h"

namespace {

constexpr float FullScale = 32767;

std::vector<uint8_t> encode(std::span<const float> sound) {
    std::vector<uint8_t> codes;
    codes.reserve(sound.size());
    for (const float sample : sound)
        codes.push_back(
            linearToUlaw(static_cast<int16_t>(std::clamp(sample, -1.0F, 1.0F) * FullScale)));
    return codes;
}

std::vector<float> decode(std::span<const uint8_t> codes) {
    std::vector<float> sound;
    sound.reserve(codes.size());
    for (const uint8_t code : codes)
        sound.push_back(static_cast<float>(ulawToLinear(code)) / FullScale);
    return sound;
}

std::vector<float> toMono(const std::vector<float>& interleaved, size_t channels) {
    std::vector<float> mono(interleaved.size() / channels);
    for (size_t i = 0; i < mono.size(); ++i) {
        const float* frame = interleaved.data() + i * channels;
        mono[i] = std::accumulate(frame, frame + channels, 0.0F) / static_cast<float>(channels);
    }
    return mono;
}

struct ResamplerCloser {
    void operator()(SRC_STATE* state) const { src_delete(state); }
};

std::vector<float> resample(const std::vector<float>& sound, int rate,
                            const OnProgress& onProgress) {
    constexpr size_t Step = 65536;  // samples between two reports
    const double ratio = static_cast<double>(SampleRate) / rate;
    std::vector<float> resampled(
        static_cast<size_t>(std::ceil(static_cast<double>(sound.size()) * ratio)) + 1);
    int error = 0;
    const std::unique_ptr<SRC_STATE, ResamplerCloser> state(
        src_new(SRC_SINC_BEST_QUALITY, 1, &error));
    size_t taken = 0;
    size_t made = 0;
    SRC_DATA job{};
    job.src_ratio = ratio;
    while (error == 0 && job.end_of_input == 0) {
        const size_t step = std::min(Step, sound.size() - taken);
        job.data_in = sound.data() + taken;
        job.input_frames = static_cast<long>(step);
        job.data_out = resampled.data() + made;
        job.output_frames = static_cast<long>(resampled.size() - made);
        job.end_of_input = taken + step == sound.size() ? 1 : 0;
        error = src_process(state.get(), &job);
        taken += static_cast<size_t>(job.input_frames_used);
        made += static_cast<size_t>(job.output_frames_gen);
        onProgress(static_cast<double>(taken) / static_cast<double>(sound.size()));
    }
    if (error != 0)
        throw std::runtime_error(std::string("cannot resample: ") + src_strerror(error));
    resampled.resize(made);
    return resampled;
}

double dot(std::span<const float> a, std::span<const float> b) {
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0F);
}

}  // namespace

std::vector<uint8_t> loadClip(const std::filesystem::path& file, const OnProgress& onProgress) {
    SndfileHandle handle(file.string());
    if (handle.error() != SF_ERR_NO_ERROR)
        throw std::runtime_error("cannot play " + file.string() + ": " + handle.strError());
    const auto channels = static_cast<size_t>(handle.channels());
    std::vector<float> interleaved(static_cast<size_t>(handle.frames()) * channels);
    const sf_count_t read =
        handle.readf(interleaved.data(), static_cast<sf_count_t>(handle.frames()));
    interleaved.resize(static_cast<size_t>(std::max<sf_count_t>(read, 0)) * channels);
    const std::vector<float> mono = toMono(interleaved, channels);
    return encode(
        handle.samplerate() == SampleRate ? mono : resample(mono, handle.samplerate(), onProgress));
}

std::vector<uint8_t> builtInClip() {
    constexpr double From = 300;  // Hz
    constexpr int Chirps = 4;
    std::vector<float> sound;
    double phase = 0;
    for (int chirp = 0; chirp < Chirps; ++chirp) {
        const double to = 1200 + 600 * chirp;
        for (int i = 0; i < SampleRate; ++i) {
            const double progress = static_cast<double>(i) / SampleRate;
            phase += 2 * std::numbers::pi * (From + (to - From) * progress) / SampleRate;
            const double envelope = std::min({progress * 20, (1 - progress) * 20, 1.0});
            sound.push_back(static_cast<float>(0.5 * envelope * std::sin(phase)));
        }
    }
    return encode(sound);
}

ClipFound findClip(std::span<const uint8_t> clip, std::span<const uint8_t> recording,
                   const OnProgress& onProgress) {
    const size_t length = std::min<size_t>(clip.size(), SampleRate);
    const std::vector<float> wanted = decode(clip.subspan((clip.size() - length) / 2, length));
    const std::vector<float> heard = decode(recording);
    const double wantedEnergy = dot(wanted, wanted);
    ClipFound best;
    for (size_t at = 0; at + length <= heard.size(); ++at) {
        const std::span<const float> window(heard.data() + at, length);
        if (at % 1024 == 0)
            onProgress(static_cast<double>(at) / static_cast<double>(heard.size()));
        const double energy = dot(window, window);
        const double correlation =
            energy > 0 ? dot(wanted, window) / std::sqrt(energy * wantedEnergy) : 0;
        if (correlation > best.correlation)
            best = {correlation, static_cast<double>(at) / SampleRate};
    }
    return best;
}

std::vector<uint8_t> readCodes(const std::filesystem::path& file) {
    SndfileHandle handle(file.string());
    if (handle.error() != SF_ERR_NO_ERROR)
        throw std::runtime_error("cannot read " + file.string() + ": " + handle.strError());
    std::vector<uint8_t> codes(static_cast<size_t>(handle.frames()));
    handle.readRaw(codes.data(), static_cast<sf_count_t>(codes.size()));
    return codes;
}
