// A sound server that is killed and comes back, or stops for a while, under a module that records
// and plays: run beside a server of its own (host/private-pulseaudio).
//
//   lost_server_test LIBRARY CYCLES
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <future>
#include <mutex>

#include "host/clip_search.h"
#include "host/description.h"
#include "host/module_host.h"
#include "real_module.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

std::string library;
int cycles = 10;

double secondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

// The server behind PULSE_SERVER, found by its socket and started again as it was.
class SoundServer {
  public:
    SoundServer() : path_(std::string(std::getenv("PULSE_SERVER")).substr(5)) {
        EXPECT_TRUE(await(20s, [this] { return (pid_ = peer()) > 1; })) << path_;
        std::ifstream file("/proc/" + std::to_string(pid_) + "/cmdline");
        for (std::string word; std::getline(file, word, '\0');)
            command_.push_back(word);
    }
    ~SoundServer() { kill(); }
    void signal(int number) const {
        if (pid_ > 1)  // kill takes less for everybody
            ::kill(pid_, number);
    }
    void kill() {
        signal(SIGKILL);
        if (ours_)
            waitpid(pid_, nullptr, 0);
        else
            await(10s, [this] { return peer() < 0; });
        pid_ = -1;
    }
    void restart() {
        // Ends with us, whatever our end is.
        char guard[] = "setpriv";
        char option[] = "--pdeathsig=KILL";
        std::vector<char*> arguments{guard, option};
        for (std::string& word : command_)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        for (const int output : {STDOUT_FILENO, STDERR_FILENO})
            posix_spawn_file_actions_addopen(&files, output, "/dev/null", O_WRONLY, 0);
        ASSERT_EQ(posix_spawnp(&pid_, arguments[0], &files, nullptr, arguments.data(), environ), 0);
        posix_spawn_file_actions_destroy(&files);
        ours_ = true;
        ASSERT_TRUE(await(20s, [this] { return peer() == pid_; }));
    }

  private:
    // The process that listens on the socket; -1 when none does.
    pid_t peer() const {
        const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{AF_UNIX, {}};
        path_.copy(address.sun_path, sizeof address.sun_path - 1);
        ucred credentials{-1, 0, 0};
        socklen_t size = sizeof credentials;
        if (connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
            getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &credentials, &size);
        close(connection);
        return credentials.pid;
    }

    const std::string path_;
    std::vector<std::string> command_;
    pid_t pid_ = -1;
    bool ours_ = false;
};

class LostServer : public testing::Test {
  protected:
    LostServer()
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
    size_t recorded() {
        const std::lock_guard held(mutex_);
        return recording_.size();
    }
    // Lends the clip, and silence that pushes it through the device's own buffer.
    void play(int32_t channel) {
        std::vector<uint8_t> sound = clip_;
        sound.resize((clip_.size() / 2048 + 10) * 2048, 0xFF);
        for (size_t at = 0; at < sound.size(); at += 2048)
            EXPECT_TRUE(module_.play(channel, std::span(sound).subspan(at, 2048)));
    }
    bool isHeardSince(size_t begin) {
        if (searched_ == recorded())
            return false;
        searched_ = recorded();
        std::vector<uint8_t> heard;
        {
            const std::lock_guard held(mutex_);
            heard.assign(recording_.begin() + static_cast<std::ptrdiff_t>(begin), recording_.end());
        }
        return heard.size() > clip_.size() && findClip(clip_, heard, [](double) {}).isFound();
    }
    bool allReturned() const { return module_.buffers().lent == module_.buffers().returned; }
    std::chrono::nanoseconds workerTime() const {
        timespec time{};
        clock_gettime(worker_, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }
    // The worker's share of a core in the next seconds.
    double workerShare(std::chrono::seconds seconds) {
        const auto time = workerTime();
        const auto begin = Clock::now();
        std::this_thread::sleep_for(seconds);
        return static_cast<double>((workerTime() - time).count()) / 1e9 / secondsSince(begin);
    }

    static constexpr int32_t OtherOutput = 0x140111;
    static constexpr int32_t Output = 0x140113;
    static SoundServer& server() {
        static SoundServer server;  // of both tests
        return server;
    }
    const std::vector<uint8_t> clip_ = builtInClip();
    std::atomic<int> inputLines_ = 0;  // of the log
    std::atomic<int> outputLines_ = 0;
    std::atomic<int> openOutputs_ = 0;

  private:
    void onLog(std::string_view text) {
        if (text == "Starting worker thread.")
            pthread_getcpuclockid(pthread_self(), &worker_);
        const auto says = [&](const char* what) { return text.find(what) != text.npos; };
        inputLines_ += says("nput stream") ? 1 : 0;
        outputLines_ += says("utput stream") ? 1 : 0;
        openOutputs_ += says("Started output") ? 1 : says("Closed output") ? -1 : 0;
    }
    void onDocument(std::string_view xml) {
        const std::lock_guard held(mutex_);
        parseDescription(xml, description_);
    }
    void onFrame(const CapturedFrame& frame) {
        const std::lock_guard held(mutex_);
        recording_.insert(recording_.end(), frame.codes.begin(), frame.codes.end());
    }

    std::mutex mutex_;  // guards what the module's threads write
    Description description_;
    std::vector<uint8_t> recording_;
    size_t searched_ = 0;
    clockid_t worker_{};

  protected:
    ModuleHost module_;
};

TEST_F(LostServer, KilledAndRestarted) {
    const double idle = workerShare(3s);
    Footprint first;
    double slowest = 0;
    for (int cycle = 1; cycle <= cycles; ++cycle) {
        const size_t begin = recorded();
        play(Output);
        ASSERT_TRUE(await(60s, [&] { return isHeardSince(begin); })) << "cycle " << cycle;
        ASSERT_TRUE(await(30s, [&] { return allReturned() && openOutputs_ == 0; }));
        const Footprint now;
        if (cycle == 2)
            first = now;
        if (cycle > 2) {
            EXPECT_LE(now.threads, first.threads);
            EXPECT_LE(now.descriptors, first.descriptors);
            EXPECT_LT(now.heapBytes, first.heapBytes + 262'144);  // the recording lies elsewhere
        }
        // Every other time it dies in the middle of a clip.
        const bool isPlaying = cycle % 2 == 0;
        if (isPlaying) {
            play(Output);
            std::this_thread::sleep_for(2s);
        }
        server().kill();
        inputLines_ = outputLines_ = 0;
        const auto killed = Clock::now();
        const double share = workerShare(7s);
        // Two periods of the watchdog: three lines each. An output that has audio is opened anew,
        // and says so, on every pass: that is its only way back.
        EXPECT_LE(inputLines_, 3 * (secondsSince(killed) / 3 + 1));
        EXPECT_TRUE(isPlaying || outputLines_ == 0);
        printf(
            "cycle %2d: %2d input lines, %4d output lines, worker %.2f %% of a core (idle %.2f %%)",
            cycle, inputLines_.load(), outputLines_.load(), share * 100, idle * 100);
        EXPECT_TRUE(isPlaying || share < 2 * idle + 0.02);
        server().restart();
        const auto back = Clock::now();
        ASSERT_TRUE(resumes()) << "cycle " << cycle;
        printf(", recording again after %.1f s, heap %zu KiB\n", secondsSince(back),
               now.heapBytes / 1024);
        fflush(stdout);
        slowest = std::max(slowest, secondsSince(back));
        ASSERT_TRUE(await(60s, [&] { return allReturned() && openOutputs_ == 0; }));
    }
    printf("slowest return %.1f s\n", slowest);
    module_.stop();
    EXPECT_TRUE(allReturned());
}

TEST_F(LostServer, StoppedForTenSeconds) {
    play(Output);
    std::this_thread::sleep_for(1s);
    server().signal(SIGSTOP);
    std::this_thread::sleep_for(10s);  // the watchdog has found out; the worker waits in PortAudio
    // Calls that wait with it are let go by the server's return only.
    auto calls = std::async(std::launch::async, [this] {
        EXPECT_TRUE(module_.configure("<Varo/>"));
        play(OtherOutput);
    });
    EXPECT_EQ(calls.wait_for(30s), std::future_status::ready);
    server().signal(SIGCONT);
    const auto back = Clock::now();
    ASSERT_TRUE(resumes());
    printf("recording again %.1f s after the server went on\n", secondsSince(back));
    EXPECT_TRUE(await(60s, [&] { return allReturned(); }));

    const size_t begin = recorded();
    play(Output);
    EXPECT_TRUE(await(60s, [&] { return isHeardSince(begin); }));

    // The end comes while the worker waits: Close returns, the worker's thread a little later.
    server().signal(SIGSTOP);
    std::this_thread::sleep_for(5s);
    void* loaded = dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD);
    const auto close = reinterpret_cast<decltype(&::Close)>(dlsym(loaded, "Close"));
    auto closing = std::async(std::launch::async, [close] { close(); });
    EXPECT_EQ(closing.wait_for(30s), std::future_status::ready);
    server().signal(SIGCONT);
    module_.stop();
    dlclose(loaded);
    EXPECT_TRUE(allReturned());
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    library = argc > 1 ? argv[1] : "";
    cycles = argc > 2 ? std::atoi(argv[2]) : cycles;
    return RUN_ALL_TESTS();
}
