#include "host/sound/recorder.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "host/system/folders.h"
#include "host/system/steady_time.h"
#include "host/terminal/text.h"

namespace {

constexpr int64_t LateTolerance = 200;  // ms; frames arrive when they are sent, and that wanders
constexpr int64_t DecisionTime = 2000;  // ms that late frames get to catch up
constexpr int64_t EndTolerance = 3000;  // ms; the last frame is that late without any harm
// The sizes in a WAV file have 32 bits, which is less than a week.
constexpr double MostSecondsPerFile = 5 * 24 * 3600;

int64_t durationOf(size_t samples) { return static_cast<int64_t>(samples) * 1000 / SampleRate; }

// Makes an empty file, whose name is not taken: neither a clock that is set back nor another
// process must cost a recording. What keeps it from being made will keep it from being written.
std::filesystem::path reservedName(const std::filesystem::path& folder, int number,
                                   int64_t milliseconds) {
    const std::string stem =
        "channel" + std::to_string(number) + "-" + localTime(milliseconds, "%Y%m%d-%H%M%S");
    std::filesystem::path name = folder / (stem + ".wav");
    for (int copy = 2;; ++copy) {
        const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file >= 0)
            close(file);
        else if (errno == EEXIST) {
            name = folder / (stem + "-" + std::to_string(copy) + ".wav");
            continue;
        }
        return name;
    }
}

}  // namespace

void Recorder::begin(const std::vector<ChannelDescription>& channels,
                     const std::filesystem::path& folder, double secondsPerFile) {
    readyFolder(folder, "--out");
    const std::lock_guard held(mutex_);
    folder_ = folder;
    const double seconds = secondsPerFile > 0 ? secondsPerFile : MostSecondsPerFile;
    samplesPerFile_ =
        static_cast<uint64_t>(std::llround(std::min(seconds, MostSecondsPerFile) * SampleRate));
    beginMs_ = steadyMilliseconds();
    for (const ChannelDescription& channel : channels) {
        Track& track = tracks_[channel.id];
        track.recording.channel = channel;
        track.outline.channel = channel;
    }
}

void Recorder::openFile(Track& track, int64_t milliseconds) {
    track.path = reservedName(folder_, track.recording.channel.number, milliseconds);
    SF_INFO format{};
    format.samplerate = SampleRate;
    format.channels = 1;
    format.format = SF_FORMAT_WAV | SF_FORMAT_ULAW;
    track.file.reset(sf_open(track.path.c_str(), SFM_WRITE, &format));
    if (!track.file) {
        failure_ = "cannot write " + track.path.string() + ": " + sf_strerror(nullptr);
        return;
    }
    // The header tells the length after every frame, so that a player needs no end.
    sf_command(track.file.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    track.samplesInFile = 0;
    if (track.recording.files++ == 0)
        track.recording.firstFile = track.path;
}

void Recorder::write(Track& track, std::span<const uint8_t> codes, int64_t milliseconds) {
    while (!codes.empty() && failure_.empty()) {
        if (!track.file)
            openFile(track, milliseconds);
        if (!track.file)
            return;
        const auto room = static_cast<size_t>(samplesPerFile_ - track.samplesInFile);
        const std::span<const uint8_t> piece = codes.first(std::min(room, codes.size()));
        const auto length = static_cast<sf_count_t>(piece.size());
        if (sf_write_raw(track.file.get(), piece.data(), length) != length)
            failure_ = "cannot write " + track.path.string() + ": " + std::strerror(errno);
        track.samplesInFile += piece.size();
        if (track.samplesInFile == samplesPerFile_)
            track.file.reset();
        codes = codes.subspan(piece.size());
        milliseconds += durationOf(piece.size());
    }
}

void Recorder::take(const CapturedFrame& frame, int64_t arrival) {
    const std::lock_guard held(mutex_);
    const auto found = tracks_.find(frame.channelId);
    if (found == tracks_.end() || endMs_ != 0)
        return;
    Track& track = found->second;
    Recording& recording = track.recording;
    write(track, frame.codes, frame.milliseconds);
    place(track, frame.codes, arrival);
    ++recording.frames;
    recording.samples += frame.codes.size();
    recording.level = peakOf(frame.codes);
    recording.peak = std::max(recording.peak, recording.level);
}

// Finds where on the time axis the frame belongs. A late frame may follow lost sound, or only have
// been sent late: then the next ones catch up.
void Recorder::place(Track& track, std::span<const uint8_t> codes, int64_t arrival) const {
    constexpr int64_t Gentleness = 8;
    if (track.expectedMs == 0)
        track.expectedMs = arrival;
    const int64_t late = arrival - track.expectedMs - durationOf(track.undecided.size());
    if (track.undecided.empty()) {
        if (late <= LateTolerance) {
            track.expectedMs += late / Gentleness;  // the sound's clock is not the machine's
            draw(track, codes);
            return;
        }
        track.undecidedSinceMs = arrival;
        track.leastLateMs = late;
    }
    track.leastLateMs = std::min(track.leastLateMs, late);
    track.undecided.insert(track.undecided.end(), codes.begin(), codes.end());
    if (late <= LateTolerance)
        settle(track, 0);
    else if (arrival >= track.undecidedSinceMs + DecisionTime)
        settle(track, track.leastLateMs);
}

void Recorder::settle(Track& track, int64_t missingMs) const {
    if (missingMs > 0)
        addGap(track, missingMs);
    draw(track, std::exchange(track.undecided, {}));
}

void Recorder::addGap(Track& track, int64_t milliseconds) {
    ++track.recording.gaps;
    track.recording.gapSeconds += static_cast<double>(milliseconds) / 1000;
    track.outline.gaps.push_back({track.expectedMs, track.expectedMs + milliseconds});
    track.expectedMs += milliseconds;
}

void Recorder::draw(Track& track, std::span<const uint8_t> codes) const {
    const int64_t position = std::max<int64_t>(track.expectedMs - beginMs_, 0);
    track.outline.envelope.add(position * SampleRate / 1000, codes);
    track.expectedMs += durationOf(codes.size());
}

void Recorder::throwFailure() const {
    if (!failure_.empty())
        throw std::runtime_error(failure_);
}

bool Recorder::hasSound() const {
    const std::lock_guard held(mutex_);
    throwFailure();
    return std::ranges::any_of(tracks_,
                               [](const auto& entry) { return entry.second.recording.frames > 0; });
}

std::vector<Recording> Recorder::recordings() const {
    const std::lock_guard held(mutex_);
    throwFailure();
    std::vector<Recording> all;
    for (const auto& [id, track] : tracks_)
        all.push_back(track.recording);
    return all;
}

void Recorder::end() {
    const std::lock_guard held(mutex_);
    endMs_ = steadyMilliseconds();
    for (auto& [id, track] : tracks_) {
        track.file.reset();
        if (!track.undecided.empty())
            settle(track, track.leastLateMs);
        if (track.expectedMs != 0 && endMs_ > track.expectedMs + EndTolerance)
            addGap(track, endMs_ - track.expectedMs);
    }
}

std::vector<Outline> Recorder::outlines() const {
    const std::lock_guard held(mutex_);
    std::vector<Outline> all;
    for (const auto& [id, track] : tracks_)
        all.push_back(track.outline);
    return all;
}
