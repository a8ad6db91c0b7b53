// Kills and restarts a sound server, or stops it for a while, while the module records and plays.
// Runs under tools/private-pulseaudio, which provides the server.
//
//   lost_server_test LIBRARY CYCLES
#include <dlfcn.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>

#include "live_module.h"

namespace {

int cycles = 10;

// The server of private-pulseaudio, which restarts it unless there is a file "down" beside it.
class SoundServer {
  public:
    void signal(int number) const {
        pid_t server = 0;
        std::ifstream(folder_ / "pid") >> server;
        ASSERT_GT(server, 1);
        ::kill(server, number);
    }
    void kill() const {
        std::ofstream(folder_ / "down").put('\n');
        signal(SIGKILL);
        EXPECT_TRUE(await(10s, [] { return !isThere(); }));
    }
    void restart() const {
        std::filesystem::remove(folder_ / "down");
        EXPECT_TRUE(await(20s, [] { return isThere(); }));
    }

  private:
    static bool isThere() { return std::system("pactl info >/dev/null 2>&1") == 0; }
    const std::filesystem::path folder_ = std::getenv("PULSE_RUNTIME_PATH");
};

class LostServer : public LiveModule {
  protected:
    const SoundServer server_{};
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
            EXPECT_LT(now.heapBytes, first.heapBytes + 262'144);  // malloc maps the recording
        }
        // In every other cycle the server dies in the middle of a clip.
        const bool isPlaying = cycle % 2 == 0;
        if (isPlaying) {
            play(Output);
            std::this_thread::sleep_for(2s);
        }
        server_.kill();
        inputLines_ = outputLines_ = failedOpens_ = 0;
        const auto killed = Clock::now();
        const double share = workerShare(7s);
        // The input logs three lines in each period of the watchdog. An output with audio is opened
        // ten times.
        EXPECT_LE(inputLines_, 3 * (secondsSince(killed) / 3 + 1));
        EXPECT_LE(outputLines_, isPlaying ? 15 : 0);
        EXPECT_LE(failedOpens_, 12 + secondsSince(killed) / 3);
        printf("cycle %2d: %2d input lines, %2d output lines, worker %.2f %% of a core (idle %.2f)",
               cycle, inputLines_.load(), outputLines_.load(), share * 100, idle * 100);
        EXPECT_LT(share, allowedShare(idle));
        server_.restart();
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
    server_.signal(SIGSTOP);
    std::this_thread::sleep_for(10s);  // the watchdog has timed out; the worker waits in PortAudio
    // A call that waits for the worker would only return once the server is back.
    auto calls = std::async(std::launch::async, [this] {
        EXPECT_TRUE(module_.configure("<Varo/>"));
        play(OtherOutput);
    });
    EXPECT_EQ(calls.wait_for(30s), std::future_status::ready);
    server_.signal(SIGCONT);
    const auto back = Clock::now();
    ASSERT_TRUE(resumes());
    printf("recording again %.1f s after the server went on\n", secondsSince(back));
    EXPECT_TRUE(await(60s, [&] { return allReturned(); }));

    const size_t begin = recorded();
    play(Output);
    EXPECT_TRUE(await(60s, [&] { return isHeardSince(begin); }));

    // Close while the worker waits: it returns at once, the worker's thread a little later.
    server_.signal(SIGSTOP);
    std::this_thread::sleep_for(5s);
    void* loaded = dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD);
    const auto close = reinterpret_cast<decltype(&::Close)>(dlsym(loaded, "Close"));
    auto closing = std::async(std::launch::async, [close] { close(); });
    EXPECT_EQ(closing.wait_for(30s), std::future_status::ready);
    server_.signal(SIGCONT);
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
