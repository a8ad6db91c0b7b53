// The G.711 mu-law WAV files of one channel.
#pragma once

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "host/session/sound_format.h"

// A file is made when its first sample comes, and is named by channel and time, as in
// "channel0-20261124-093000.wav". It can be played while it is written. Not for several threads at
// once.
class WavFiles {
  public:
    // The sizes in a WAV file have 32 bits: at 8000 bytes a second, less than a week of sound.
    static constexpr uint64_t MostSamplesPerFile = uint64_t{5} * 24 * 3600 * SampleRate;

    // A file ends after `samplesPerFile`, or after `mostPerFile` if that is less. 0 samples per
    // file stand for `mostPerFile`.
    WavFiles(std::filesystem::path folder, int channelNumber, uint64_t samplesPerFile,
             uint64_t mostPerFile = MostSamplesPerFile);

    // Appends mu-law codes. The Unix time (ms) of their capture only names files.
    // Does nothing after a failure.
    void append(std::span<const uint8_t> codes, int64_t milliseconds);
    void close() { file_.reset(); }

    // Returns a line for the user once something could not be written; empty before.
    const std::string& failure() const { return failure_; }
    // Returns the number of files that hold sound.
    size_t files() const { return files_; }
    // Returns the first file that holds sound; empty when there is none.
    const std::filesystem::path& firstFile() const { return firstFile_; }
    // Returns the samples that all files hold together.
    uint64_t samples() const { return samples_; }

  private:
    struct FileCloser {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };

    void open(int64_t milliseconds);
    void write(std::span<const uint8_t> codes);
    void fail(const std::string& reason);
    void removeEmptyFile() const;

    const std::filesystem::path folder_;
    const int channelNumber_;
    const uint64_t samplesPerFile_;
    std::unique_ptr<SNDFILE, FileCloser> file_;
    std::filesystem::path path_;  // of the file
    uint64_t samplesInFile_ = 0;
    std::string failure_;
    size_t files_ = 0;
    std::filesystem::path firstFile_;
    uint64_t samples_ = 0;
};
