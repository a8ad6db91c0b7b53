#include "host/sound/recorder.h"

#include <algorithm>
#include <cmath>

#include "host/system/folders.h"

Recorder::Recorder(const std::vector<ChannelDescription>& channels,
                   const std::filesystem::path& folder, double secondsPerFile, int64_t beginMs) {
    readyFolder(folder, "--out");
    const auto samplesPerFile = static_cast<uint64_t>(std::llround(secondsPerFile * SampleRate));
    for (const ChannelDescription& channel : channels) {
        Track track{
            {}, WavFiles(folder, channel.number, samplesPerFile), OutlineBuilder(channel, beginMs)};
        track.recording.channel = channel;
        tracks_.emplace(channel.id, std::move(track));
    }
}

void Recorder::onFrame(const CapturedFrame& frame, int64_t arrival) {
    const std::lock_guard held(mutex_);
    const auto found = tracks_.find(frame.channelId);
    if (found == tracks_.end() || isFinished_)
        return;
    auto& [recording, files, outline] = found->second;
    files.append(frame.codes, frame.milliseconds);
    if (!files.failure().empty())
        return;
    outline.add(frame.codes, arrival);
    ++recording.frames;
    recording.level = peakOf(frame.codes);
    recording.peak = std::max(recording.peak, recording.level);
}

void Recorder::finish(int64_t endMs) {
    const std::lock_guard held(mutex_);
    isFinished_ = true;
    for (auto& [id, track] : tracks_) {
        track.files.close();
        track.outline.finish(endMs);
    }
}

bool Recorder::hasSound() const {
    const std::lock_guard held(mutex_);
    return std::ranges::any_of(tracks_,
                               [](const auto& entry) { return entry.second.recording.frames > 0; });
}

std::string Recorder::failure() const {
    const std::lock_guard held(mutex_);
    for (const auto& [id, track] : tracks_)
        if (!track.files.failure().empty())
            return track.files.failure();
    return {};
}

std::vector<Recording> Recorder::recordings() const {
    const std::lock_guard held(mutex_);
    std::vector<Recording> all;
    for (const auto& [id, track] : tracks_) {
        Recording& recording = all.emplace_back(track.recording);
        recording.firstFile = track.files.firstFile();
        recording.files = track.files.files();
        recording.samples = track.files.samples();
        recording.gaps = track.outline.outline().gaps.size();
        recording.gapSeconds = track.outline.gapSeconds();
    }
    return all;
}

std::vector<Outline> Recorder::outlines() const {
    const std::lock_guard held(mutex_);
    std::vector<Outline> all;
    for (const auto& [id, track] : tracks_)
        all.push_back(track.outline.outline());
    return all;
}
