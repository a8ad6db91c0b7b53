// Records inputs: each channel's sound to WAV files, with what there is to know about it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "host/session/documents.h"
#include "host/session/module_host.h"
#include "host/session/sound_format.h"
#include "host/sound/outline.h"
#include "host/sound/wav_files.h"

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

class Recorder {
  public:
    // Readies the folder for a recording that begins at a steady time (ms). Files end after so
    // many seconds of sound, 0 for as many as a file may have (host/sound/wav_files.h). Throws
    // std::runtime_error when the folder cannot be written.
    Recorder(const std::vector<ChannelDescription>& channels, const std::filesystem::path& folder,
             double secondsPerFile, int64_t beginMs);

    // Appends a frame that arrived at a steady time (ms); frames of other channels are passed over.
    // Its own stamp, by a clock that may be set, names files only. Module's thread.
    void onFrame(const CapturedFrame& frame, int64_t arrival);
    // Closes the files at a steady time (ms); frames that come later are passed over. Any thread.
    void finish(int64_t endMs);

    // Whether a frame was recorded. Any thread.
    bool hasSound() const;
    // One line for the user once something could not be written; empty before. Any thread.
    std::string failure() const;
    // How things stand. Any thread.
    std::vector<Recording> recordings() const;
    // What there is to draw, once finished. Any thread.
    std::vector<Outline> outlines() const;

  private:
    struct Track {
        Recording recording;  // but for what the other two know
        WavFiles files;
        OutlineBuilder outline;
    };

    mutable std::mutex mutex_;  // guards what follows
    std::map<int32_t, Track> tracks_;
    bool isFinished_ = false;
};
