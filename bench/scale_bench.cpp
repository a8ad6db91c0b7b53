// Measures what a captured channel costs as the number of channels grows, and what the steps of
// applying a large configuration cost.
#include <benchmark/benchmark.h>
#include <sys/syscall.h>
#include <tinyxml.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <memory>
#include <vector>

#include "audio/channel.h"
#include "audio/ulaw.h"
#include "bench/module.h"
#include "bench/passes.h"
#include "config/settings_document.h"
#include "config/xml_parse.h"
#include "config/xml_store.h"
#include "plugin/document.h"
#include "plugin/host_link.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t PassesPerBlock = 256;  // a block lasts 256 ms, a pass and its pause 1 ms

std::chrono::duration<double> syncing{0};  // time spent in fsync

}  // namespace

// Replaces the C library's function, to time the module's saves.
extern "C" int fsync(int file) {
    const auto begin = Clock::now();
    const auto result = syscall(SYS_fsync, file);
    syncing += Clock::now() - begin;
    return static_cast<int>(result);
}

namespace {

// Each iteration is 256 ms of capture: 256 passes without their pauses, and one callback of each
// channel, spread over the passes.
void capture(benchmark::State& state) {
    const auto channels = static_cast<size_t>(state.range(0));
    std::array<int16_t, FramesPerBuffer> sound{};
    size_t pass = PassesPerBlock;
    runPasses(static_cast<int>(channels), 0, [&] {
        if (pass == PassesPerBlock) {
            pass = 0;
            if (!state.KeepRunning())
                return false;
        }
        ++pass;
        const size_t begin = channels * (pass - 1) / PassesPerBlock;
        for (size_t i = begin; i < channels * pass / PassesPerBlock; ++i)
            fakePortAudio.open[i]->capture(sound);
        return true;
    });
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The least work for a captured block: copying and encoding it.
void bareBlock(benchmark::State& state) {
    const std::array<int16_t, FramesPerBuffer> sound{};
    std::array<uint8_t, FramesPerBuffer> codes{};
    for (auto _ : state) {
        const AudioBlockPtr block = makeCapturedBlock(sound.data(), sound.size());
        ulawEncode(codes.data(), reinterpret_cast<const int16_t*>(block->data), sizeof sound);
        benchmark::ClobberMemory();
    }
}

// ---- documents; the time in fsync is counted separately

// Returns the description that the module sends for this many channels.
std::string description(int channels) {
    const std::string request = "<Varo><Devices ID=\"1310720\"/></Varo>";
    std::string last;
    bool isFirst = true;
    runPasses(channels, 0, [&] {
        if (!isFirst)
            return false;
        isFirst = false;
        Module::onMessage = [&](const HostMessage& message) {
            if (message.kind == KindModuleDocument)
                last.assign(static_cast<const char*>(message.data), message.length);
        };
        return Module::configure(request);
    });
    return last;
}

void report(benchmark::State& state) {
    state.counters["fsync"] =
        benchmark::Counter(syncing.count(), benchmark::Counter::kAvgIterations);
}

// Times the whole pass that handles the document: parse, apply, describe, save, send.
void wholeDocument(benchmark::State& state) {
    const auto channels = static_cast<int>(state.range(0));
    const std::string document = documentOf(channels, 0);
    Clock::time_point begin{};
    syncing = {};
    runPasses(channels, 0, [&] {
        if (begin != Clock::time_point{})
            state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
        else
            syncing = {};
        if (!state.KeepRunning())
            return false;
        Module::configure(document);
        begin = Clock::now();
        return true;
    });
    report(state);
}

void parseDocument(benchmark::State& state) {
    const std::string document = documentOf(static_cast<int>(state.range(0)), 0);
    for (auto _ : state) {
        std::string text = document;
        TiXmlDocument parsed;
        parseXml(parsed, text);
        benchmark::DoNotOptimize(parsed.RootElement());
    }
}

void describe(benchmark::State& state) {
    std::vector<std::unique_ptr<Channel>> channels;
    for (uint32_t number = 0; number < state.range(0); ++number)
        channels.push_back(std::make_unique<Channel>(number, true));
    for (auto _ : state) {
        TiXmlDocument document;
        TiXmlElement& root = beginDocument(document, true);
        TiXmlElement& audio = addElement(root, "Audio");
        TiXmlElement& encoder = addElement(root, "Encoder");
        for (const auto& channel : channels)
            channel->describeChannel(audio, encoder);
    }
}

void saveDocument(benchmark::State& state) {
    std::string text = description(static_cast<int>(state.range(0)));
    TiXmlDocument document;
    parseXml(document, text);
    syncing = {};
    for (auto _ : state)
        SaveXmlFile(document, "/tmp/tamborin-bench.xml");
    std::remove("/tmp/tamborin-bench.xml");
    report(state);
}

void sendDescription(benchmark::State& state) {
    std::string text = description(static_cast<int>(state.range(0)));
    state.counters["bytes"] = static_cast<double>(text.size());
    TiXmlDocument document;
    parseXml(document, text);
    g_hostCallback = [](const HostMessage* /*message*/, int32_t /*reserved*/) { return 0; };
    for (auto _ : state)
        sendDocument(document, KindModuleDocument);
}

BENCHMARK(capture)->Arg(1)->Arg(4)->Arg(16)->Arg(64)->Arg(240);
BENCHMARK(bareBlock);
BENCHMARK(wholeDocument)->Arg(4)->Arg(240)->UseManualTime();
BENCHMARK(parseDocument)->Arg(4)->Arg(240);
BENCHMARK(describe)->Arg(4)->Arg(240);
BENCHMARK(saveDocument)->Arg(4)->Arg(240)->UseRealTime();
BENCHMARK(sendDescription)->Arg(4)->Arg(240);

}  // namespace
