#include "host/clip.h"

#include <samplerate.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <numeric>
#include <sndfile.hh>
#include <stdexcept>
#include <utility>

#include "audio/ulaw.h"
#include "host/recorder.h"

namespace {

constexpr float FullScale = 32767;

void encode(std::span<const float> sound, std::vector<uint8_t>& codes) {
    for (const float sample : sound)
        codes.push_back(
            linearToUlaw(static_cast<int16_t>(std::clamp(sample, -1.0F, 1.0F) * FullScale)));
}

std::vector<float> decode(std::span<const uint8_t> codes) {
    std::vector<float> sound;
    sound.reserve(codes.size());
    for (const uint8_t code : codes)
        sound.push_back(static_cast<float>(ulawToLinear(code)) / FullScale);
    return sound;
}

std::vector<float> toMono(std::span<const float> interleaved, size_t channels) {
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

// Makes codes at SampleRate of a sound that comes in pieces.
class Encoder {
  public:
    explicit Encoder(int rate) : ratio_(static_cast<double>(SampleRate) / rate) {
        if (rate != SampleRate)
            state_.reset(src_new(SRC_SINC_BEST_QUALITY, 1, &error_));
    }

    // An empty piece ends the sound.
    void take(std::span<const float> sound) {
        if (!state_ && error_ == 0)
            return encode(sound, codes_);
        static constexpr float None = 0;  // a null pointer would not end the sound
        SRC_DATA job{};
        job.src_ratio = ratio_;
        job.end_of_input = sound.empty() ? 1 : 0;
        job.data_out = resampled_.data();
        job.output_frames = static_cast<long>(resampled_.size());
        do {
            job.data_in = sound.empty() ? &None : sound.data();
            job.input_frames = static_cast<long>(sound.size());
            if (error_ == 0)
                error_ = src_process(state_.get(), &job);
            if (error_ != 0)
                throw std::runtime_error(std::string("cannot resample: ") + src_strerror(error_));
            sound = sound.subspan(static_cast<size_t>(job.input_frames_used));
            encode({resampled_.data(), static_cast<size_t>(job.output_frames_gen)}, codes_);
        } while (!sound.empty() || job.output_frames_gen > 0);
    }

    std::vector<uint8_t> codes() && { return std::move(codes_); }

  private:
    const double ratio_;
    int error_ = 0;
    std::unique_ptr<SRC_STATE, ResamplerCloser> state_;  // none: the rate is right
    std::vector<float> resampled_ = std::vector<float>(65536);
    std::vector<uint8_t> codes_;
};

double dot(std::span<const float> a, std::span<const float> b) {
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0F);
}

}  // namespace

std::vector<uint8_t> loadClip(const std::filesystem::path& file, const OnProgress& onProgress) {
    constexpr sf_count_t Step = 65536;  // frames between two reports
    SndfileHandle handle(file.string());
    if (handle.error() != SF_ERR_NO_ERROR)
        throw std::runtime_error("cannot play " + file.string() + ": " + handle.strError());
    const auto channels = static_cast<size_t>(handle.channels());
    // A file that was written to a pipe need not tell its length.
    const sf_count_t length = handle.frames() < SF_COUNT_MAX ? handle.frames() : 0;
    std::vector<float> interleaved(static_cast<size_t>(Step) * channels);
    Encoder encoder(handle.samplerate());
    sf_count_t taken = 0;
    sf_count_t read = 0;
    while ((read = handle.readf(interleaved.data(), Step)) > 0) {
        encoder.take(toMono({interleaved.data(), static_cast<size_t>(read) * channels}, channels));
        taken += read;
        onProgress(length > 0 ? static_cast<double>(taken) / static_cast<double>(length) : 0);
    }
    encoder.take({});
    std::vector<uint8_t> codes = std::move(encoder).codes();
    if (codes.empty())
        throw std::runtime_error("cannot play " + file.string() + ": it holds no sound");
    return codes;
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
    std::vector<uint8_t> codes;
    encode(sound, codes);
    return codes;
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
