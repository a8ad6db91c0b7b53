#include "host/recorder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <stdexcept>

#include "audio/ulaw.h"

namespace {

constexpr int64_t GapTolerance = 200;  // ms; stamps are taken when a frame is sent, and wander
constexpr double FullScale = 32768;

std::string fileName(const ChannelDescription& channel) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 32> stamp{};
    std::strftime(stamp.data(), stamp.size(), "%Y%m%d-%H%M%S", &local);
    return "channel" + std::to_string(channel.number) + "-" + stamp.data() + ".wav";
}

double peakOf(std::span<const uint8_t> codes) {
    int peak = 0;
    for (const uint8_t code : codes)
        peak = std::max(peak, std::abs(int{ulawToLinear(code)}));
    return peak / FullScale;
}

}  // namespace

std::string inDecibels(double level) {
    if (level <= 0)
        return "silent";
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f dBFS", 20 * std::log10(level));
    return text.data();
}

void Recorder::begin(const std::vector<ChannelDescription>& channels,
                     const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    const std::lock_guard held(mutex_);
    for (const ChannelDescription& channel : channels) {
        Track track;
        track.recording.channel = channel;
        track.recording.file = folder / fileName(channel);
        SF_INFO format{};
        format.samplerate = SampleRate;
        format.channels = 1;
        format.format = SF_FORMAT_WAV | SF_FORMAT_ULAW;
        track.file.reset(sf_open(track.recording.file.c_str(), SFM_WRITE, &format));
        if (!track.file)
            throw std::runtime_error("cannot write " + track.recording.file.string());
        sf_command(track.file.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
        tracks_.emplace(channel.id, std::move(track));
    }
}

void Recorder::take(const CapturedFrame& frame) {
    const std::lock_guard held(mutex_);
    const auto found = tracks_.find(frame.channelId);
    if (found == tracks_.end() || !found->second.file)
        return;
    Track& track = found->second;
    Recording& recording = track.recording;
    sf_write_raw(track.file.get(), frame.codes.data(), static_cast<sf_count_t>(frame.codes.size()));
    if (track.expectedMs != 0 && frame.milliseconds > track.expectedMs + GapTolerance)
        ++recording.gaps;
    track.expectedMs =
        frame.milliseconds + static_cast<int64_t>(frame.codes.size()) * 1000 / SampleRate;
    ++recording.frames;
    recording.samples += frame.codes.size();
    recording.level = peakOf(frame.codes);
    recording.peak = std::max(recording.peak, recording.level);
}

std::vector<Recording> Recorder::recordings() const {
    const std::lock_guard held(mutex_);
    std::vector<Recording> all;
    for (const auto& [id, track] : tracks_)
        all.push_back(track.recording);
    return all;
}

void Recorder::end() {
    const std::lock_guard held(mutex_);
    for (auto& [id, track] : tracks_)
        track.file.reset();
}
