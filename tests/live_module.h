// Runs the built library with a private sound server. It records channel 2 ("default", input) and
// plays what a test lends it; the test searches the recording.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <mutex>

#include "host/session/documents.h"
#include "host/session/module_host.h"
#include "host/sound/clip.h"
#include "host/sound/clip_search.h"
#include "real_module.h"

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

inline std::string library;  // path of the module

inline double secondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

// An empty working directory, removed at the end.
class FreshFolder {
  public:
    FreshFolder() { std::filesystem::current_path(mkdtemp(path_.data())); }
    ~FreshFolder() {
        std::filesystem::current_path("/");
        std::filesystem::remove_all(path_);
    }
    FreshFolder(const FreshFolder&) = delete;
    FreshFolder& operator=(const FreshFolder&) = delete;

  private:
    std::string path_ = std::filesystem::temp_directory_path() / "tamborin-live-XXXXXX";
};

class LiveModule : public testing::Test {
  protected:
    LiveModule()
        : module_(library,
                  {.onLog = [this](int32_t, std::string_view text) { onLog(text); },
                   .onDocument = [this](std::string_view xml, int64_t) { onDocument(xml); },
                   .onFrame = [this](const CapturedFrame& frame) { onFrame(frame); }},
                  LogDetail) {
        module_.start();
        EXPECT_TRUE(await(30s, [this] { return channels() == 4; }));
        // Channels 0 to 3: "pulse" in and out, "default" in and out.
        module_.configure(enablingDocument({2}, true, 1000));
        EXPECT_TRUE(resumes());
    }
    size_t channels() {
        const std::lock_guard held(mutex_);
        return description_.channels.size();
    }
    // Waits for sound that is captured from now on.
    bool resumes() {
        const size_t before = recorded();
        return await(60s, [&] { return recorded() > before; });
    }
    // Returns how many samples were recorded.
    size_t recorded() {
        const std::lock_guard held(mutex_);
        return recording_.size();
    }
    // Lends the clip and silence behind it: ten blocks push the clip through the device's buffer.
    void play(int32_t channel, size_t silentBlocks = 10) {
        std::vector<uint8_t> sound = clip_;
        sound.resize((clip_.size() / 2048 + silentBlocks) * 2048, 0xFF);
        for (size_t at = 0; at < sound.size(); at += 2048)
            EXPECT_TRUE(module_.play(channel, std::span(sound).subspan(at, 2048)));
    }
    // Returns true when the clip was recorded since `begin` and ended since the last search.
    bool isHeardSince(size_t begin) {
        std::vector<uint8_t> heard;
        {
            const std::lock_guard held(mutex_);
            searched_ = std::max(searched_, begin);
            const size_t from = std::max(begin + clip_.size(), searched_) - clip_.size();
            if (recording_.size() == searched_ || recording_.size() < from + clip_.size())
                return false;
            heard.assign(recording_.begin() + static_cast<std::ptrdiff_t>(from), recording_.end());
            searched_ = recording_.size();
        }
        return findClip(clip_, heard, [](double) {}).isFound();
    }
    bool allReturned() const { return module_.buffers().lent == module_.buffers().returned; }
    // Measures the worker's share of a core during the next seconds.
    double workerShare(std::chrono::seconds seconds) {
        const auto time = workerTime();
        const auto begin = Clock::now();
        std::this_thread::sleep_for(seconds);
        return static_cast<double>((workerTime() - time).count()) / 1e9 / secondsSince(begin);
    }
    // Returns the share of a core that the worker may take while a device is away.
    static double allowedShare(double idle) { return 1.3 * idle + 0.01; }

    static constexpr int32_t OtherOutput = 0x140111;
    static constexpr int32_t Output = 0x140113;
    const std::vector<uint8_t> clip_ = builtInClip();
    std::atomic<int> inputLines_ = 0;  // of the log
    std::atomic<int> outputLines_ = 0;
    std::atomic<int> failedOpens_ = 0;  // log lines that report a failed open
    std::atomic<int> openOutputs_ = 0;
    std::atomic<bool> isLoud_ = false;  // a frame with sound has come

  private:
    std::chrono::nanoseconds workerTime() const {
        timespec time{};
        clock_gettime(worker_, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }
    void onLog(std::string_view text) {
        if (text == "Starting worker thread.")
            pthread_getcpuclockid(pthread_self(), &worker_);
        const auto says = [&](const char* what) { return text.find(what) != text.npos; };
        inputLines_ += says("nput stream") ? 1 : 0;
        outputLines_ += says("utput stream") ? 1 : 0;
        failedOpens_ += says("Failed to start") ? 1 : 0;
        openOutputs_ += says("Started output") ? 1 : says("Closed output") ? -1 : 0;
    }
    void onDocument(std::string_view xml) {
        const std::lock_guard held(mutex_);
        parseDescription(xml, description_);
    }
    void onFrame(const CapturedFrame& frame) {
        constexpr uint8_t Quiet = 0x60;  // codes below it, without the sign bit, are louder
        for (const uint8_t code : frame.codes)
            isLoud_ = isLoud_ || (code & 0x7F) < Quiet;
        const std::lock_guard held(mutex_);
        recording_.insert(recording_.end(), frame.codes.begin(), frame.codes.end());
    }

    std::mutex mutex_;  // guards what the module's threads write
    Description description_;
    std::vector<uint8_t> recording_;
    size_t searched_ = 0;  // samples
    const FreshFolder folder_{};
    clockid_t worker_{};

  protected:
    ModuleHost module_;
};
