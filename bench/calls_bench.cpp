// Measures the host's calls: with an idle worker, beside a running one, and while the worker opens
// a stream again and again.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include "audio/channel.h"
#include "bench/module.h"
#include "core/plugin.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

enum Worker { Alone, Running, Opening };
enum Call { WriteAudio, WriteToOpening, WriteRefused, IoctlDocument, IoctlIgnored };

constexpr int64_t Calls = 100'000;
constexpr int OpeningOutput = 0;  // its stream is opened and closed again and again
constexpr int OtherOutput = 1;

const std::array<uint8_t, 160> codes{};  // 20 ms
const std::string smallDocument = "<Varo/>";

bool makeCall(Call call) {
    switch (call) {
        case WriteAudio:
            return Module::write(idOf(OtherOutput), codes.data(), codes.size());
        case WriteToOpening:
            return Module::write(idOf(OpeningOutput), codes.data(), codes.size());
        case WriteRefused:
            return Module::write(idOf(200), codes.data(), codes.size());
        case IoctlDocument:
            return Module::configure(smallDocument);
        case IoctlIgnored:
        default:
            return Module::configure(smallDocument, IoctlReply);
    }
}

// Holds the worker inside the host's callback, where it holds no lock.
class WorkerBrake {
  public:
    void hold(bool on) { on_ = on; }
    void waitWhileHeld() const {
        while (on_)
            std::this_thread::sleep_for(1ms);
    }

  private:
    std::atomic<bool> on_ = false;
};

// How often a stream was opened and closed.
std::atomic<int> opened = 0;
std::atomic<int> closed = 0;

// Writes a block to the output, which opens its stream, and plays the block, which closes it again.
void keepOpening(const std::atomic<bool>& done) {
    std::array<int16_t, FramesPerBuffer> heard{};
    Channel* channel = g_plugin->findChannel(idOf(OpeningOutput));
    while (!done) {
        const int openedBefore = opened;
        Module::write(idOf(OpeningOutput), codes.data(), codes.size());
        while (opened == openedBefore && !done)
            std::this_thread::sleep_for(100us);
        const int closedBefore = closed;
        while (closed == closedBefore && !done) {
            Channel::streamCallback(nullptr, heard.data(), heard.size(), nullptr, 0, channel);
            std::this_thread::sleep_for(1ms);
        }
    }
}

void report(benchmark::State& state, std::vector<double>& durations) {
    std::ranges::sort(durations);
    const auto quantile = [&](double part) {
        return durations[static_cast<size_t>(part * static_cast<double>(durations.size() - 1))];
    };
    state.counters["median"] = quantile(0.5);
    state.counters["p99.9"] = quantile(0.999);  // for benchmarks of few calls
    state.counters["p99.99"] = quantile(0.9999);
    state.counters["longest"] = durations.back();
}

void call(benchmark::State& state, Call which, Worker workerState) {
    Module module(0, 2);
    WorkerBrake brake;
    std::atomic<int> descriptions = 0;
    Module::onMessage = [&](const HostMessage& message) {
        descriptions += message.kind == KindModuleDocument;
        brake.waitWhileHeld();
    };
    brake.hold(workerState == Alone);
    fakePortAudio.whileStarting = [workerState](FakeStream&) {
        if (workerState == Opening)
            std::this_thread::sleep_for(5ms);
        ++opened;
    };
    fakePortAudio.whileClosing = [](FakeStream&) { ++closed; };
    std::thread worker(Module::run);
    while (descriptions == 0)
        std::this_thread::sleep_for(1ms);
    std::atomic<bool> done = false;
    std::thread opener([&] {
        if (workerState == Opening)
            keepOpening(done);
    });

    std::mt19937 random(1);
    std::vector<double> durations;
    for (auto _ : state) {
        // Calls come in bursts. Those to the opening output come one by one, so that it runs empty.
        if (which == WriteToOpening || (workerState != Alone && random() % 64 == 0))
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));
        const auto begin = Clock::now();
        makeCall(which);
        const auto end = Clock::now();
        const std::chrono::duration<double> duration = end - begin;
        state.SetIterationTime(duration.count());
        durations.push_back(duration.count());
    }
    report(state, durations);

    done = true;
    opener.join();
    Close();
    brake.hold(false);
    worker.join();
}

// The least work of a call that queues something.
void allocationAndLock(benchmark::State& state) {
    std::vector<double> durations;
    std::vector<std::unique_ptr<AudioBlock>> blocks;
    blocks.reserve(static_cast<size_t>(Calls));
    Mutex mutex;
    for (auto _ : state) {
        const auto begin = Clock::now();
        auto block = std::make_unique<AudioBlock>();
        {
            const MutexLock held(mutex);
            blocks.push_back(std::move(block));
        }
        const std::chrono::duration<double> duration = Clock::now() - begin;
        state.SetIterationTime(duration.count());
        durations.push_back(duration.count());
    }
    report(state, durations);
}

// The time of reading the clock twice, which is part of every figure above.
void nothing(benchmark::State& state) {
    std::vector<double> durations;
    for (auto _ : state) {
        const auto begin = Clock::now();
        const std::chrono::duration<double> duration = Clock::now() - begin;
        state.SetIterationTime(duration.count());
        durations.push_back(duration.count());
    }
    report(state, durations);
}

#define BENCHMARK_CALL(which)                                                                     \
    BENCHMARK_CAPTURE(call, which##_Alone, which, Alone)->UseManualTime()->Iterations(Calls);     \
    BENCHMARK_CAPTURE(call, which##_Running, which, Running)->UseManualTime()->Iterations(Calls); \
    BENCHMARK_CAPTURE(call, which##_Opening, which, Opening)->UseManualTime()->Iterations(Calls)
BENCHMARK(allocationAndLock)->UseManualTime()->Iterations(Calls);
BENCHMARK(nothing)->UseManualTime()->Iterations(Calls);
BENCHMARK_CALL(WriteAudio);
BENCHMARK_CALL(WriteRefused);
BENCHMARK_CALL(IoctlDocument);
BENCHMARK_CALL(IoctlIgnored);
BENCHMARK_CAPTURE(call, WriteToOpening_Opening, WriteToOpening, Opening)
    ->UseManualTime()
    ->Iterations(Calls / 100);

}  // namespace
