#include "host/commands/stream.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "host/commands/tables.h"
#include "host/session/advice.h"
#include "host/session/channel_choice.h"
#include "host/sound/gap_finder.h"
#include "host/sound/wav_stream.h"
#include "host/system/steady_time.h"
#include "host/system/stop.h"
#include "host/terminal/bounded_writer.h"
#include "host/terminal/end_process.h"
#include "host/terminal/progress.h"

namespace {

using namespace std::chrono_literals;

constexpr size_t MostWaitingBytes = size_t{60} * SampleRate;

// The errno of a failed write. Static, because the writing thread may outlive the command.
std::atomic<int> writeError = 0;

void noteWriteError(int error) {
    writeError = error;
    if (error == EPIPE)
        noteReaderLeft();
}

// Notes when the reader has left. A write would show that as well, but only once there is sound.
void lookForReader() {
    pollfd out{STDOUT_FILENO, 0, 0};
    if (poll(&out, 1, 0) > 0 && (out.revents & (POLLERR | POLLHUP)) != 0)
        noteReaderLeft();
}

class SoundStream {
  public:
    explicit SoundStream(const ChannelDescription& input)
        : writer_(STDOUT_FILENO, MostWaitingBytes, stopAsked, noteWriteError) {
        recording_.channel = input;
        recording_.firstFile = "stdout";
        recording_.files = 1;
    }

    // Never waits for the reader. Module's thread.
    void onFrame(const CapturedFrame& frame, int64_t arrival) {
        const std::lock_guard held(mutex_);
        if (frame.channelId != recording_.channel.id)
            return;
        ++recording_.frames;
        recording_.level = peakOf(frame.codes);
        recording_.peak = std::max(recording_.peak, recording_.level);
        count(gapFinder_.place(frame.codes.size(), arrival));
        std::string bytes = std::exchange(header_, {});
        bytes.append(frame.codes.begin(), frame.codes.end());
        if (writer_.write(std::move(bytes)))
            recording_.samples += frame.codes.size();
        else
            lostSamples_ += frame.codes.size();
    }

    // Waits for the reader. Called after the module has stopped.
    void finish(int64_t endMs) {
        writer_.settle();
        const uint64_t unwrittenBytes = writer_.unwrittenBytes();
        const std::lock_guard held(mutex_);
        const uint64_t unwritten = std::min(unwrittenBytes, recording_.samples);
        recording_.samples -= unwritten;
        lostSamples_ += unwritten;
        count(gapFinder_.finish(endMs));
    }

    // Any thread.
    Recording recording() const {
        const std::lock_guard held(mutex_);
        return recording_;
    }
    double lostSeconds() const {
        const std::lock_guard held(mutex_);
        return static_cast<double>(lostSamples_) / SampleRate;
    }

  private:
    void count(const std::vector<Stretch>& stretches) {
        for (const auto& [begin, end, samples] : stretches)
            if (samples == 0) {
                ++recording_.gaps;
                recording_.gapSeconds += static_cast<double>(end - begin) / 1000;
            }
    }

    BoundedWriter writer_;
    mutable std::mutex mutex_;  // guards what follows
    Recording recording_;
    GapFinder gapFinder_;
    uint64_t lostSamples_ = 0;
    // Written together with the first sound, because some readers detect the format from their
    // first read and need more than the header for that.
    std::string header_ = wavStreamHeader();
};

}  // namespace

int streamInput(const std::vector<std::string>& inputs, double seconds, const CommonOptions& common,
                Console& console) {
    std::optional<SoundStream> stream;  // once the input is known
    std::atomic<SoundStream*> frameListener = nullptr;
    Session session(common.session(seconds), console, endProcess,
                    {.onFrame = [&](const CapturedFrame& frame) {
                        if (SoundStream* listener = frameListener)
                            listener->onFrame(frame, steadyMilliseconds());
                    }});
    const ChannelDescription input = chooseInputs(session.channels(), inputs).front();
    stream.emplace(input);
    frameListener = &*stream;
    session.enable({input}, 0);
    session.awaitSound([&] {
        lookForReader();
        return stream->recording().frames > 0 || writeError != 0;
    });
    {
        Progress progress(console, "recording");
        while (session.running() && writeError == 0) {
            lookForReader();
            progress.show(session.fractionDone(), levelLines({stream->recording()}));
            std::this_thread::sleep_for(100ms);
        }
    }
    const int64_t endMs = steadyMilliseconds();
    const bool accountBalances = showAccount(console, session.finish());
    stream->finish(endMs);
    showRecordings(console, {stream->recording()});
    if (writeError != 0 && !readerHasLeft())
        throw std::runtime_error("cannot write the sound to stdout: " +
                                 std::string(std::strerror(writeError)));
    if (stream->lostSeconds() > 0 && !readerHasLeft())
        throw std::runtime_error("sound was left out, as stdout did not take it: " +
                                 std::to_string(std::lround(std::ceil(stream->lostSeconds()))) +
                                 " s");
    if (stream->recording().frames == 0 && !readerHasLeft())
        throw std::runtime_error("nothing was captured; " + SeeDoctor);
    return accountBalances ? Succeeded : Failed;
}
