// Compares the streams' callbacks with the least work that they could do, and counts how often they
// find the lock busy while the worker and Write use it.
#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "audio/channel.h"
#include "bench/module.h"
#include "plugin/host_link.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr size_t Batch = 4;  // callbacks that are timed in one iteration
constexpr size_t BlockBytes = FramesPerBuffer * sizeof(int16_t);

std::array<int16_t, FramesPerBuffer> sound{};
const std::array<uint8_t, FramesPerBuffer> codes{};

template <typename Timed, typename Untimed>
void measure(benchmark::State& state, Timed&& timed, Untimed&& untimed) {
    for (auto _ : state) {
        const auto begin = Clock::now();
        for (size_t i = 0; i < Batch; ++i)
            timed(i);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
        untimed();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(Batch));
}

void callBack(Channel& channel, const int16_t* input, int16_t* output) {
    Channel::streamCallback(input, output, FramesPerBuffer, nullptr, 0, &channel);
}

void input(benchmark::State& state) {
    Channel channel(0, true);
    measure(
        state, [&](size_t /*i*/) { callBack(channel, sound.data(), nullptr); },
        [&] {
            while (channel.takeCaptured()) {
            }
        });
}

void inputFloor(benchmark::State& state) {
    std::mutex lock;
    std::array<void*, Batch> copies{};
    measure(
        state,
        [&](size_t i) {
            copies[i] = std::malloc(BlockBytes);
            std::memcpy(copies[i], sound.data(), BlockBytes);
            if (lock.try_lock())
                lock.unlock();
        },
        [&] {
            for (void* copy : copies)
                std::free(copy);
        });
}

void output(benchmark::State& state) {
    Channel channel(0, false);
    g_hostCallback = [](const HostMessage* /*message*/, int32_t /*reserved*/) { return 0; };
    const auto refill = [&] {
        channel.purgeBlocks(true);
        for (size_t i = 0; i < Batch; ++i)
            channel.pushPlayback(codes.data(), codes.size());
        channel.preparePlayback();
    };
    refill();
    measure(
        state, [&](size_t /*i*/) { callBack(channel, nullptr, sound.data()); }, refill);
    channel.purgeBlocks(false);
}

void outputFloor(benchmark::State& state) {
    std::mutex lock;
    std::vector<std::unique_ptr<int16_t[]>> blocks(Batch);
    const auto refill = [&] {
        for (auto& block : blocks) {
            block = std::make_unique<int16_t[]>(FramesPerBuffer);
            benchmark::DoNotOptimize(block.get());
        }
    };
    refill();
    measure(
        state,
        [&](size_t i) {
            if (lock.try_lock()) {
                std::memcpy(sound.data(), blocks[i].get(), BlockBytes);
                lock.unlock();
            }
            benchmark::ClobberMemory();
        },
        refill);
}

// ---- contention

constexpr int Inputs = 120;
constexpr int Outputs = 120;
constexpr auto Period = 8ms;     // of each stream's callbacks: 256 ms compressed 32 times
constexpr int BlocksAhead = 12;  // queued on each output, so that silence means a busy lock
constexpr int64_t Callbacks = 1'000'000;

struct Account {
    std::atomic<int64_t> received = 0;                // captured frames
    std::array<std::atomic<int>, Outputs> written{};  // blocks not yet handed back
};

// One buffer per output, so that a returning buffer tells its output. The codes are not silence.
std::array<std::array<uint8_t, FramesPerBuffer>, Outputs> outputCodes{};

void account(Account& account, const HostMessage& message) {
    if (message.kind == KindAudio)
        ++account.received;
    if (message.kind != KindBufferRelease)
        return;
    const auto* buffer = static_cast<const uint8_t*>(message.data);
    const ptrdiff_t offset = buffer - outputCodes.front().data();
    if (offset >= 0 && offset < ptrdiff_t{sizeof outputCodes})
        --account.written[static_cast<size_t>(offset) / sizeof outputCodes.front()];
}

void keepWriting(Account& account, const std::atomic<bool>& done) {
    for (; !done; std::this_thread::sleep_for(1ms))
        for (size_t i = 0; i < Outputs; ++i)
            for (; account.written[i] < BlocksAhead; ++account.written[i])
                Module::write(idOf(Inputs + static_cast<int>(i)), outputCodes[i].data(),
                              FramesPerBuffer);
}

struct Driven {
    FakeStream* stream;
    Clock::time_point next;
};

struct Played {
    int64_t inputs = 0;
    int64_t outputs = 0;
    int64_t silent = 0;
};

// Calls every stream back once in a period. Each has a phase of its own, which drifts.
Played callBackAll(int64_t callbacks) {
    std::mt19937 random(1);
    std::vector<Driven> all;
    for (FakeStream* stream : fakePortAudio.open)
        all.push_back({stream, Clock::now() + random() % 8000 * 1us});
    Played played;
    std::array<int16_t, FramesPerBuffer> heard{};
    while (played.inputs + played.outputs < callbacks) {
        const auto now = Clock::now();
        for (Driven& driven : all) {
            if (driven.next > now)
                continue;
            driven.next += Period + random() % 2000 * 1us - 1ms;
            if (driven.stream->isInput) {
                driven.stream->capture(heard);
                ++played.inputs;
            } else {
                driven.stream->play(heard);
                ++played.outputs;
                played.silent += heard[0] == 0;
            }
        }
        std::this_thread::sleep_for(20us);
    }
    return played;
}

void contention(benchmark::State& state) {
    for (auto& buffer : outputCodes)
        buffer.fill(0x10);
    for (auto _ : state) {
        Account books;
        std::atomic<bool> done = false;
        Module module(Inputs, Outputs);
        Module::onMessage = [&](const HostMessage& message) { account(books, message); };
        const std::string document = documentOf(Inputs, Outputs);
        std::thread worker(Module::run);
        Module::configure(document);
        std::this_thread::sleep_for(500ms);  // every channel is there and every input open
        std::thread writer([&] { keepWriting(books, done); });
        std::this_thread::sleep_for(500ms);  // every output is open
        const Played played = callBackAll(Callbacks);
        std::this_thread::sleep_for(100ms);  // the worker has sent the last frame
        done = true;
        writer.join();
        Close();
        worker.join();
        state.counters["input callbacks"] = static_cast<double>(played.inputs);
        state.counters["buffers lost"] = static_cast<double>(played.inputs - books.received);
        state.counters["output callbacks"] = static_cast<double>(played.outputs);
        state.counters["gaps"] = static_cast<double>(played.silent);
        Unload();
    }
}

BENCHMARK(input)->UseManualTime();
BENCHMARK(inputFloor)->UseManualTime();
BENCHMARK(output)->UseManualTime();
BENCHMARK(outputFloor)->UseManualTime();
BENCHMARK(contention)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();

}  // namespace
