// Measures one pass of the worker without its pause, and the pause.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <vector>

#include "audio/channel.h"
#include "bench/allocations.h"
#include "bench/module.h"
#include "bench/passes.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int PassesPerBlock = 256;  // a block lasts 256 ms, a pass and its pause 1 ms

std::array<int16_t, FramesPerBuffer> sound{};
const std::array<uint8_t, FramesPerBuffer> codes{};

void callBackInputs() {
    for (const FakeStream* stream : fakePortAudio.open)
        stream->capture(sound);
}

// Times passes in batches, each an iteration of the benchmark, and counts their allocations.
class Batches {
  public:
    explicit Batches(benchmark::State& state) : state_(state) {}

    // Begins a batch.
    void begin() {
        allocationsBefore_ = allocationCount();
        begin_ = Clock::now();
    }
    // Ends the batch, if one has begun, after `passes`. Returns false when enough were timed.
    bool end(int passes) {
        if (begin_ != Clock::time_point{}) {
            state_.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin_).count());
            allocations_ += allocationCount() - allocationsBefore_;
            passes_ += passes;
        }
        return state_.KeepRunning();
    }
    void report() {
        state_.SetItemsProcessed(passes_);
        state_.counters["passes"] = static_cast<double>(passes_);
        state_.counters["allocations"] =
            static_cast<double>(allocations_) / static_cast<double>(std::max<int64_t>(passes_, 1));
    }

  private:
    benchmark::State& state_;
    Clock::time_point begin_{};
    uint64_t allocationsBefore_ = 0;
    uint64_t allocations_ = 0;
    int64_t passes_ = 0;
};

// Half of the channels capture. Every 256th pass finds a block on each of them and is not timed.
void idle(benchmark::State& state) {
    const int channels = static_cast<int>(state.range(0));
    Batches batches(state);
    int pause = 0;
    runPasses(channels / 2, channels - channels / 2, [&] {
        if (pause == 0) {
            if (!batches.end(PassesPerBlock - 1))
                return false;
            callBackInputs();
        } else if (pause == 1) {
            batches.begin();
        }
        pause = (pause + 1) % PassesPerBlock;
        return true;
    });
    batches.report();
}

// Before every pass a block arrives on every channel.
void capturing(benchmark::State& state) {
    Batches batches(state);
    runPasses(static_cast<int>(state.range(0)), 0, [&] {
        if (!batches.end(1))
            return false;
        callBackInputs();
        batches.begin();
        return true;
    });
    batches.report();
}

// Before every pass a block is written to every channel and another one is played.
void playing(benchmark::State& state) {
    const int channels = static_cast<int>(state.range(0));
    Batches batches(state);
    runPasses(0, channels, [&] {
        const bool isOpen = !fakePortAudio.open.empty();
        if (isOpen && !batches.end(1))
            return false;
        for (const FakeStream* stream : fakePortAudio.open)
            stream->play(sound);
        for (int number = 0; number < channels; ++number)
            Module::write(idOf(number), codes.data(), codes.size());
        if (isOpen)
            batches.begin();
        return true;
    });
    batches.report();
}

// The pause between two passes.
void nanosleepOneMillisecond(benchmark::State& state) {
    const timespec oneMillisecond{.tv_sec = 0, .tv_nsec = 1'000'000};
    for (auto _ : state)
        nanosleep(&oneMillisecond, nullptr);
}

// A pass reads the clock at its pause's beginning and end.
void twoClockReadings(benchmark::State& state) {
    for (auto _ : state)
        for (int i = 0; i < 2; ++i)
            benchmark::DoNotOptimize(steadyNow());
}

BENCHMARK(twoClockReadings);
BENCHMARK(idle)->Arg(0)->Arg(4)->Arg(240)->UseManualTime();
BENCHMARK(capturing)->Arg(4)->Arg(240)->UseManualTime();
BENCHMARK(playing)->Arg(4)->Arg(240)->UseManualTime();
BENCHMARK(nanosleepOneMillisecond)->Iterations(200);

}  // namespace
