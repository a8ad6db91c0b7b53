// Compares the mu-law codec with other libraries, with tables, and with copying the samples.
#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

#include "audio/ulaw.h"
#include "bench/spandsp_codec.h"

namespace {

// Low-passed noise is quiet more often than loud, as speech is. In white noise the branches of a
// codec could not be predicted.
std::vector<int16_t> sound(size_t count) {
    std::mt19937 random(1);
    std::normal_distribution<float> noise(0, 1000);
    float level = 0;
    std::vector<int16_t> samples(count);
    std::ranges::generate(samples, [&] {
        level = 0.9F * level + noise(random);
        return static_cast<int16_t>(std::clamp(level, -32000.0F, 32000.0F));
    });
    return samples;
}

struct Buffers {
    explicit Buffers(const benchmark::State& state)
        : count(static_cast<size_t>(state.range(0))), samples(sound(count)), codes(count) {
        ulawEncode(codes.data(), samples.data(), count * 2);
    }
    size_t count;
    std::vector<int16_t> samples;
    std::vector<uint8_t> codes;
};

template <typename Work>
void measure(benchmark::State& state, Work&& work) {
    Buffers buffers(state);
    for (auto _ : state) {
        work(buffers);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// libsndfile reading or writing headerless mu-law in memory.
class SoundFile {
  public:
    SoundFile(Buffers& buffers, int mode) : buffers_(buffers) {
        SF_INFO info{};
        info.samplerate = 8000;
        info.channels = 1;
        info.format = SF_FORMAT_RAW | SF_FORMAT_ULAW;
        SF_VIRTUAL_IO io{length, seek, read, write, tell};
        file_ = sf_open_virtual(&io, mode, &info, this);
    }
    ~SoundFile() { sf_close(file_); }
    SoundFile(const SoundFile&) = delete;
    SoundFile& operator=(const SoundFile&) = delete;

    void encode() {
        at_ = 0;
        sf_write_short(file_, buffers_.samples.data(), static_cast<sf_count_t>(buffers_.count));
    }
    void decode() {
        sf_seek(file_, 0, SEEK_SET);
        sf_read_short(file_, buffers_.samples.data(), static_cast<sf_count_t>(buffers_.count));
    }

  private:
    static SoundFile& of(void* user) { return *static_cast<SoundFile*>(user); }
    static sf_count_t length(void* user) {
        return static_cast<sf_count_t>(of(user).buffers_.count);
    }
    static sf_count_t seek(sf_count_t offset, int /*whence*/, void* user) {
        return of(user).at_ = offset;
    }
    static sf_count_t read(void* target, sf_count_t count, void* user) {
        SoundFile& file = of(user);
        count = std::min(count, length(user) - file.at_);
        std::copy_n(file.buffers_.codes.data() + file.at_, count, static_cast<uint8_t*>(target));
        file.at_ += count;
        return count;
    }
    static sf_count_t write(const void* source, sf_count_t count, void* user) {
        SoundFile& file = of(user);
        count = std::min(count, length(user) - file.at_);
        std::copy_n(static_cast<const uint8_t*>(source), count,
                    file.buffers_.codes.data() + file.at_);
        file.at_ += count;
        return count;
    }
    static sf_count_t tell(void* user) { return of(user).at_; }

    Buffers& buffers_;
    sf_count_t at_ = 0;
    SNDFILE* file_;
};

void encodeTamborin(benchmark::State& state) {
    measure(state, [](Buffers& b) { ulawEncode(b.codes.data(), b.samples.data(), b.count * 2); });
}
void encodeSpandsp(benchmark::State& state) {
    measure(state, [](Buffers& b) { spandspEncode(b.codes.data(), b.samples.data(), b.count); });
}
void encodeTable(benchmark::State& state) {
    std::vector<uint8_t> table(65536);
    for (size_t i = 0; i < table.size(); ++i)
        table[i] = linearToUlaw(static_cast<int16_t>(i));
    measure(state, [&](Buffers& b) {
        for (size_t i = 0; i < b.count; ++i)
            b.codes[i] = table[static_cast<uint16_t>(b.samples[i])];
    });
}
void encodeSndfile(benchmark::State& state) {
    Buffers buffers(state);
    SoundFile file(buffers, SFM_WRITE);
    for (auto _ : state)
        file.encode();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void decodeTamborin(benchmark::State& state) {
    measure(state, [](Buffers& b) { ulawDecode(b.samples.data(), b.codes.data(), b.count); });
}
void decodeSpandsp(benchmark::State& state) {
    measure(state, [](Buffers& b) { spandspDecode(b.samples.data(), b.codes.data(), b.count); });
}
void decodeTable(benchmark::State& state) {
    std::array<int16_t, 256> table{};
    for (size_t i = 0; i < table.size(); ++i)
        table[i] = ulawToLinear(static_cast<uint8_t>(i));
    measure(state, [&](Buffers& b) {
        for (size_t i = 0; i < b.count; ++i)
            b.samples[i] = table[b.codes[i]];
    });
}
void decodeSndfile(benchmark::State& state) {
    Buffers buffers(state);
    SoundFile file(buffers, SFM_READ);
    for (auto _ : state)
        file.decode();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void copySamples(benchmark::State& state) {
    std::vector<int16_t> copy(static_cast<size_t>(state.range(0)));
    measure(state, [&](Buffers& b) { std::memcpy(copy.data(), b.samples.data(), b.count * 2); });
}

constexpr int Block = 2048;
constexpr int Mi = 1 << 20;

BENCHMARK(encodeTamborin)->Arg(Block)->Arg(Mi);
BENCHMARK(encodeSpandsp)->Arg(Block)->Arg(Mi);
BENCHMARK(encodeTable)->Arg(Block)->Arg(Mi);
BENCHMARK(encodeSndfile)->Arg(Block)->Arg(Mi);
BENCHMARK(decodeTamborin)->Arg(Block)->Arg(Mi);
BENCHMARK(decodeSpandsp)->Arg(Block)->Arg(Mi);
BENCHMARK(decodeTable)->Arg(Block)->Arg(Mi);
BENCHMARK(decodeSndfile)->Arg(Block)->Arg(Mi);
BENCHMARK(copySamples)->Arg(Block)->Arg(Mi);

}  // namespace
