// Records each input to WAV files of its own, and keeps figures and an outline of its sound.
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
    std::filesystem::path firstFile;
    size_t files = 0;
    uint64_t frames = 0;
    uint64_t samples = 0;
    uint64_t gaps = 0;  // where sound is missing
    double gapSeconds = 0;
    double peak = 0;   // 0 to 1
    double level = 0;  // peak of the last frame, 0 to 1
    double seconds() const { return static_cast<double>(samples) / SampleRate; }
};

class Recorder {
  public:
    // Makes the folder for a recording that begins at a steady time (ms). A file ends after
    // `secondsPerFile` of sound; 0 stands for the most that a file may hold
    // (host/sound/wav_files.h). Throws std::runtime_error when the folder cannot be written.
    Recorder(const std::vector<ChannelDescription>& channels, const std::filesystem::path& folder,
             double secondsPerFile, int64_t beginMs);

    // Appends a frame that arrived at a steady time (ms). Ignores frames of other channels. The
    // frame's own time only names files, because the clock may be set meanwhile. Module's thread.
    void onFrame(const CapturedFrame& frame, int64_t arrival);
    // Closes the files at a steady time (ms). Ignores all later frames. Any thread.
    void finish(int64_t endMs);

    // Returns true once a frame was recorded. Any thread.
    bool hasSound() const;
    // Returns a line for the user once something could not be written; empty before. Any thread.
    std::string failure() const;
    // Returns the figures of each channel so far. Any thread.
    std::vector<Recording> recordings() const;
    // Returns the outline of each channel, complete after finish. Any thread.
    std::vector<Outline> outlines() const;

  private:
    struct Track {
        Recording recording;  // without the values that `files` and `outline` keep
        WavFiles files;
        OutlineBuilder outline;
    };

    mutable std::mutex mutex_;  // guards what follows
    std::map<int32_t, Track> tracks_;
    bool isFinished_ = false;
};
