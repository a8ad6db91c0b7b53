#include "host/sound/clip.h"

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
#include "host/session/sound_format.h"

namespace {

constexpr float FullScale = 32767;
constexpr int LongestClip = 4 * 3600;  // seconds, kept in memory

void encode(std::span<const float> sound, std::vector<uint8_t>& codes) {
    for (const float sample : sound)
        codes.push_back(
            linearToUlaw(static_cast<int16_t>(std::clamp(sample, -1.0F, 1.0F) * FullScale)));
}

// Limits samples to full scale and silences NaN, because a resampler would spread an infinity or
// NaN over all samples around it.
std::vector<float> toMono(std::span<const float> interleaved, size_t channels) {
    std::vector<float> mono(interleaved.size() / channels);
    for (size_t i = 0; i < mono.size(); ++i) {
        const float* frame = interleaved.data() + i * channels;
        const float mean =
            std::accumulate(frame, frame + channels, 0.0F) / static_cast<float>(channels);
        mono[i] = std::isnan(mean) ? 0 : std::clamp(mean, -1.0F, 1.0F);
    }
    return mono;
}

struct ResamplerCloser {
    void operator()(SRC_STATE* state) const { src_delete(state); }
};

// Turns a sound that comes in pieces into mu-law codes at SampleRate.
class Encoder {
  public:
    explicit Encoder(int rate) : ratio_(static_cast<double>(SampleRate) / rate) {
        if (rate != SampleRate)
            state_.reset(src_new(SRC_SINC_BEST_QUALITY, 1, &error_));
    }

    // Adds a piece. An empty one ends the sound.
    void add(std::span<const float> sound) {
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
    std::unique_ptr<SRC_STATE, ResamplerCloser> state_;  // null: the rate is SampleRate already
    std::vector<float> resampled_ = std::vector<float>(65536);
    std::vector<uint8_t> codes_;
};

}  // namespace

std::vector<uint8_t> loadClip(const std::filesystem::path& file, double seconds,
                              const OnProgress& onProgress) {
    constexpr sf_count_t SamplesAtOnce = 65536;
    const auto refuse = [&file](const std::string& why) {
        throw std::runtime_error("cannot play " + file.string() + ": " + why);
    };
    SndfileHandle handle(file.string());
    if (handle.error() != SF_ERR_NO_ERROR)
        refuse(handle.strError());
    const int rate = handle.samplerate();
    if (src_is_valid_ratio(static_cast<double>(SampleRate) / rate) == 0)
        refuse("its sample rate is " + std::to_string(rate) + " Hz");
    const bool isWhole = seconds <= 0 || seconds > LongestClip;
    const auto most = static_cast<sf_count_t>(std::ceil((isWhole ? LongestClip : seconds) * rate));
    const std::string tooLong = "it is longer than " + std::to_string(LongestClip / 3600) +
                                " hours; play the beginning of it with --for";
    // A file that was written to a pipe may not state its length; then frames() is SF_COUNT_MAX.
    if (isWhole && handle.frames() > most && handle.frames() < SF_COUNT_MAX)
        refuse(tooLong);

    const auto channels = static_cast<size_t>(handle.channels());
    const sf_count_t step = std::max<sf_count_t>(SamplesAtOnce / handle.channels(), 1);
    std::vector<float> interleaved(static_cast<size_t>(step) * channels);
    Encoder encoder(rate);
    sf_count_t taken = 0;
    sf_count_t read = 0;
    while ((read = handle.readf(interleaved.data(), std::min(step, most - taken))) > 0) {
        encoder.add(toMono({interleaved.data(), static_cast<size_t>(read) * channels}, channels));
        taken += read;
        onProgress(static_cast<double>(taken) /
                   static_cast<double>(std::min(handle.frames(), most)));
    }
    if (isWhole && taken == most && handle.readf(interleaved.data(), 1) > 0)
        refuse(tooLong);
    encoder.add({});
    std::vector<uint8_t> codes = std::move(encoder).codes();
    if (codes.empty())
        refuse("it holds no sound");
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
