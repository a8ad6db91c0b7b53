// Measures the time from a callback's return to the host's audio record. A bare loop of 1 ms pauses
// that looks for the same events is measured beside it.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <ctime>
#include <random>
#include <thread>
#include <vector>

#include "audio/channel.h"
#include "bench/module.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr size_t Channels = 4;
constexpr size_t Blocks = 10'000;

// The time at which each channel's last callback returned; zero once it was noticed.
using Events = std::array<std::atomic<Clock::rep>, Channels>;

class Latencies {
  public:
    Events events{};

    // Notes how long ago the channel's event was, if there is a new one.
    void notice(size_t channel) {
        const Clock::rep event = events[channel].exchange(0);
        if (event != 0)
            latenciesNs_.push_back(
                static_cast<double>(Clock::now().time_since_epoch().count() - event));
    }
    void report(benchmark::State& state, const std::string& name) {
        std::ranges::sort(latenciesNs_);
        state.counters[name + " count"] = static_cast<double>(latenciesNs_.size());
        for (const double percent : {10.0, 50.0, 90.0, 99.0, 99.9, 100.0}) {
            const double at = percent / 100 * static_cast<double>(latenciesNs_.size() - 1);
            std::array<char, 16> label{};
            std::snprintf(label.data(), label.size(), " p%g", percent);
            state.counters[name + label.data()] = latenciesNs_[static_cast<size_t>(at)] / 1e9;
        }
    }

  private:
    std::vector<double> latenciesNs_;  // one thread only
};

void bareLoop(Latencies& latencies, const std::atomic<bool>& done) {
    const timespec oneMillisecond{.tv_sec = 0, .tv_nsec = 1'000'000};
    while (!done) {
        nanosleep(&oneMillisecond, nullptr);
        for (size_t channel = 0; channel < Channels; ++channel)
            latencies.notice(channel);
    }
}

// Each channel calls back 5 to 20 ms after its last callback (docs/performance.md says why).
void callBackAll(std::array<Latencies*, 2> all) {
    struct Due {
        size_t channel;
        Clock::time_point at;
    };
    std::mt19937 random(1);
    std::array<Due, Channels> due{};
    for (size_t channel = 0; channel < Channels; ++channel)
        due[channel] = {channel, Clock::now() + random() % 20000 * 1us};
    std::array<int16_t, FramesPerBuffer> sound{};
    for (size_t block = 0; block < Blocks; ++block) {
        Due& next = *std::ranges::min_element(due, {}, &Due::at);
        std::this_thread::sleep_until(next.at);
        fakePortAudio.open[next.channel]->capture(sound);
        const Clock::rep now = Clock::now().time_since_epoch().count();
        for (Latencies* latencies : all)
            latencies->events[next.channel] = now;
        next.at = Clock::now() + (5000 + random() % 15000) * 1us;
    }
}

void latency(benchmark::State& state) {
    for (auto _ : state) {
        Latencies ofModule;
        Latencies ofLoop;
        std::atomic<bool> done = false;
        Module module(Channels, 0);
        Module::onMessage = [&](const HostMessage& message) {
            if (message.kind == KindAudio)
                ofModule.notice(static_cast<size_t>(message.sourceId - idOf(0)));
        };
        const std::string document = documentOf(Channels, 0);
        std::thread worker(Module::run);
        Module::configure(document);
        std::this_thread::sleep_for(200ms);  // all streams are open
        std::thread loop([&] { bareLoop(ofLoop, done); });
        callBackAll({&ofModule, &ofLoop});
        std::this_thread::sleep_for(50ms);  // the last frame is sent
        done = true;
        loop.join();
        Close();
        worker.join();
        ofModule.report(state, "module");
        ofLoop.report(state, "loop");
    }
}

BENCHMARK(latency)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace
