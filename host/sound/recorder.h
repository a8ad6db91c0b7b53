// Captured frames to G.711 mu-law WAV files, with what there is to know about each channel.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "host/session/documents.h"
#include "host/session/module_host.h"
#include "host/session/sound_format.h"
#include "host/sound/waveform.h"

struct Gap {
    int64_t begin;  // ms, steady
    int64_t end;
};

struct Recording {
    ChannelDescription channel;
    std::filesystem::path firstFile;  // the first of
    size_t files = 0;
    uint64_t frames = 0;
    uint64_t samples = 0;
    uint64_t gaps = 0;  // where sound is missing
    double gapSeconds = 0;
    double peak = 0;   // 0 to 1
    double level = 0;  // of the last frame: its peak, 0 to 1
    double seconds() const { return static_cast<double>(samples) / SampleRate; }
};

// What a channel's recording looks like over the steady time.
struct Outline {
    ChannelDescription channel;
    Envelope envelope;  // begins when the recording did
    std::vector<Gap> gaps;
};

class Recorder {
  public:
    // Readies the folder; a channel's first file is made when its first frame comes, and is named
    // by channel and time: "channel0-20261124-093000.wav". Each can be played at any moment. Files
    // end after so many seconds of sound, or else after days, at what the format can hold. Throws
    // std::runtime_error when the folder cannot be written.
    void begin(const std::vector<ChannelDescription>& channels, const std::filesystem::path& folder,
               double secondsPerFile = 0);
    // Appends a frame that arrived at a steady time (ms); frames of other channels are passed over.
    // Its own stamp, by a clock that may be set, names files only. Module's thread.
    void take(const CapturedFrame& frame, int64_t arrival);
    // Whether a frame was taken. Throws and threads as below.
    bool hasSound() const;
    // How things stand. Throws std::runtime_error once something could not be written. Any thread.
    std::vector<Recording> recordings() const;
    // Closes the files.
    void end();

    // What there is to draw, after end().
    std::vector<Outline> outlines() const;
    // ms, steady.
    int64_t beginMs() const { return beginMs_; }
    int64_t endMs() const { return endMs_; }

  private:
    struct FileCloser {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };
    struct Track {
        Recording recording;
        Outline outline;
        std::unique_ptr<SNDFILE, FileCloser> file;
        std::filesystem::path path;  // of the file
        uint64_t samplesInFile = 0;
        int64_t expectedMs = 0;  // when the next frame should arrive; 0 before the first
        // Frames that came late, until it shows whether sound is missing before them.
        std::vector<uint8_t> undecided;
        int64_t undecidedSinceMs = 0;
        int64_t leastLateMs = 0;
    };

    void openFile(Track& track, int64_t milliseconds);
    void write(Track& track, std::span<const uint8_t> codes, int64_t milliseconds);
    void place(Track& track, std::span<const uint8_t> codes, int64_t arrival) const;
    void settle(Track& track, int64_t missingMs) const;
    void draw(Track& track, std::span<const uint8_t> codes) const;
    static void addGap(Track& track, int64_t milliseconds);
    void throwFailure() const;

    mutable std::mutex mutex_;  // guards the tracks and the failure
    std::map<int32_t, Track> tracks_;
    std::string failure_;
    std::filesystem::path folder_;
    uint64_t samplesPerFile_ = 0;
    int64_t beginMs_ = 0;
    int64_t endMs_ = 0;
};
