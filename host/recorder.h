// Captured frames to G.711 mu-law WAV files, with what there is to know about each.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/description.h"
#include "host/module_host.h"

constexpr int SampleRate = 8000;  // Hz, the module's only one

struct Recording {
    ChannelDescription channel;
    std::filesystem::path file;
    uint64_t frames = 0;
    uint64_t samples = 0;
    uint64_t gaps = 0;  // frames that came clearly later than the one before them ended
    double peak = 0;    // 0 to 1
    double level = 0;   // of the last frame: its peak, 0 to 1
    double seconds() const { return static_cast<double>(samples) / SampleRate; }
};

// "-12.3 dBFS", or "silent".
std::string inDecibels(double level);

class Recorder {
  public:
    // Creates one file per channel in `folder`, named by channel and time; each can be played at
    // any moment from then on. Throws std::runtime_error.
    void begin(const std::vector<ChannelDescription>& channels,
               const std::filesystem::path& folder);
    // Appends a frame; frames of other channels are passed over. Module's thread.
    void take(const CapturedFrame& frame);
    // How things stand. Any thread.
    std::vector<Recording> recordings() const;
    // Closes the files.
    void end();

  private:
    struct FileCloser {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };
    struct Track {
        Recording recording;
        std::unique_ptr<SNDFILE, FileCloser> file;
        int64_t expectedMs = 0;  // when the next frame should be stamped; 0 before the first
    };

    mutable std::mutex mutex_;  // guards the tracks
    std::map<int32_t, Track> tracks_;
};
