#include "host/sound/wav_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "host/terminal/text.h"

namespace {

constexpr uint64_t MostHeaderBytes = 4096;
static_assert(WavFiles::MostSamplesPerFile + MostHeaderBytes < UINT32_MAX);

struct NewFile {
    std::filesystem::path path;
    int descriptor;  // negative: the file could not be made
    int error;       // errno then
};

// Makes an empty file under a new name, so that no recording is overwritten, by another process or
// after the clock was set back.
NewFile makeFile(const std::filesystem::path& folder, int number, int64_t milliseconds) {
    const std::string stem =
        "channel" + std::to_string(number) + "-" + localTime(milliseconds, "%Y%m%d-%H%M%S");
    std::filesystem::path name = folder / (stem + ".wav");
    for (int copy = 2;; ++copy) {
        const int file = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        const int error = errno;
        if (file >= 0 || error != EEXIST)
            return {name, file, error};
        name = folder / (stem + "-" + std::to_string(copy) + ".wav");
    }
}

}  // namespace

WavFiles::WavFiles(std::filesystem::path folder, int channelNumber, uint64_t samplesPerFile,
                   uint64_t mostPerFile)
    : folder_(std::move(folder)),
      channelNumber_(channelNumber),
      samplesPerFile_(samplesPerFile == 0 ? mostPerFile : std::min(samplesPerFile, mostPerFile)) {}

void WavFiles::append(std::span<const uint8_t> codes, int64_t milliseconds) {
    while (!codes.empty() && failure_.empty()) {
        if (!file_)
            open(milliseconds);
        if (!file_)
            return;
        const auto room = static_cast<size_t>(samplesPerFile_ - samplesInFile_);
        const std::span<const uint8_t> piece = codes.first(std::min(room, codes.size()));
        write(piece);
        codes = codes.subspan(piece.size());
        milliseconds += static_cast<int64_t>(piece.size()) * 1000 / SampleRate;
    }
}

void WavFiles::open(int64_t milliseconds) {
    const NewFile made = makeFile(folder_, channelNumber_, milliseconds);
    path_ = made.path;
    samplesInFile_ = 0;
    if (made.descriptor < 0)
        return fail(std::strerror(made.error));
    SF_INFO format{};
    format.samplerate = SampleRate;
    format.channels = 1;
    format.format = SF_FORMAT_WAV | SF_FORMAT_ULAW;
    file_.reset(sf_open_fd(made.descriptor, SFM_WRITE, &format, SF_TRUE));
    if (!file_) {
        fail(sf_strerror(nullptr));
        return removeEmptyFile();
    }
    // Updates the length in the header after every frame, so that players can read the file.
    sf_command(file_.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
}

void WavFiles::write(std::span<const uint8_t> codes) {
    const auto length = static_cast<sf_count_t>(codes.size());
    const sf_count_t written = sf_write_raw(file_.get(), codes.data(), length);
    const int error = errno;
    if (written > 0) {
        if (samplesInFile_ == 0 && files_++ == 0)
            firstFile_ = path_;
        samplesInFile_ += static_cast<uint64_t>(written);
        samples_ += static_cast<uint64_t>(written);
    }
    if (written != length) {
        fail(std::strerror(error));
        removeEmptyFile();
    } else if (samplesInFile_ == samplesPerFile_)
        close();
}

void WavFiles::fail(const std::string& reason) {
    failure_ = "cannot write " + path_.string() + ": " + reason;
    close();
}

// No player takes a file without sound.
void WavFiles::removeEmptyFile() const {
    std::error_code ignored;
    if (samplesInFile_ == 0)
        std::filesystem::remove(path_, ignored);
}
