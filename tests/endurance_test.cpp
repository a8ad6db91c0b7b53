// Simulates months: two inputs and two outputs, with a stall a day, a clock that is set back, and
// outputs that run dry. Every block is numbered: none may be lost, repeated or out of order.
//
// TAMBORIN_HOURS says for how many simulated hours; 1 when it is not set.
#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <span>

#include "audio/ulaw.h"
#include "module_test.h"
#include "plugin/host_link.h"

namespace {

using namespace std::chrono_literals;

constexpr int64_t PeriodsPerHour = 3600 * 1000 / 256;
constexpr int64_t PeriodsPerDay = 24 * PeriodsPerHour;
constexpr int PassesPerPeriod = 4;
constexpr int LatencyMs = 12;
constexpr size_t Digits = 6;  // of a block's number in base 64; their codes survive the codec

using Codes = std::array<uint8_t, 2048>;

void putNumber(Codes& codes, int64_t number) {
    for (size_t i = 0; i < Digits; ++i, number /= 64)
        codes[i] = static_cast<uint8_t>(0x80 + number % 64);
}
int64_t numberIn(std::span<const uint8_t> codes) {
    int64_t number = 0;
    for (size_t i = Digits; i-- > 0;)
        number = number * 64 + codes[i] - 0x80;
    return number;
}

// The next number of each channel, by its ID or its stream's user data.
std::map<int32_t, int64_t> captured;
std::map<void*, int64_t> played;
std::map<int32_t, int64_t> written;
void check(int64_t& expected, int64_t number) { ASSERT_EQ(number, expected++); }
std::array<Codes, 64> buffers;
std::array<bool, buffers.size()> isLent;
int64_t released;

int64_t wallMs() { return fakeClock.wallSeconds * 1000 + fakeClock.wallMicroseconds / 1000; }

int32_t receiveFrame(const HostMessage* message, int32_t) {
    if (message->kind == KindAudio) {
        EXPECT_EQ(message->length, 2048U);
        check(captured[static_cast<int32_t>(message->sourceId)],
              numberIn({static_cast<const uint8_t*>(message->data), Digits}));
        EXPECT_EQ(static_cast<int64_t>(message->seconds) * 1000 + message->milliseconds,
                  wallMs() - LatencyMs);
    } else if (message->kind == KindBufferRelease) {
        const auto index =
            static_cast<size_t>(static_cast<const Codes*>(message->data) - buffers.data());
        if (index < buffers.size()) {
            EXPECT_TRUE(std::exchange(isLent[index], false));
            ++released;
        }
    }
    return message->type == TypeLogLevelQuery ? LogError : 0;
}

class Endurance : public ModuleTest {
  protected:
    void callBack(FakeStream& stream) {
        std::vector<int16_t>& sound = sound_;
        if (stream.isInput) {
            Codes codes{};
            putNumber(codes, captures_[stream.userData]++);
            ulawDecode(sound.data(), codes.data(), Digits);
            EXPECT_EQ(stream.capture(sound), paContinue);
            return;
        }
        EXPECT_EQ(stream.play(sound), paContinue);
        Codes codes{};
        ulawEncode(codes.data(), sound.data(), Digits * sizeof(int16_t));
        if (codes[0] != 0xFF)  // silence
            check(played[stream.userData], numberIn(codes));
    }
    void writeTo(int32_t channel) {
        const auto free = std::ranges::find(isLent, false);
        ASSERT_NE(free, isLent.end());
        *free = true;
        Codes& codes = buffers[static_cast<size_t>(free - isLent.begin())];
        putNumber(codes, written[channel]++);
        WriteRecord record{{}, std::tuple_size_v<Codes>, 0, &codes, channel, {}, TypeAudio};
        WriteResult result{};
        Write(&record, &result);
        ASSERT_EQ(result.accepted, 1U);
    }
    // Simulates 256 ms: devices, host and clock.
    void period(int64_t now) {
        fakeClock.wallMicroseconds += 256'000;
        fakeClock.wallSeconds += fakeClock.wallMicroseconds / 1'000'000;
        fakeClock.wallMicroseconds %= 1'000'000;
        if (now % PeriodsPerDay == PeriodsPerHour / 2)
            fakeClock.wallSeconds -= 1;
        const bool isStalled = now % PeriodsPerDay < 16;  // 4 s
        for (FakeStream* stream : fakePortAudio.open)
            if (!isStalled)
                callBack(*stream);
        if (now % PeriodsPerHour > 8 && !isStalled)  // otherwise outputs run dry
            for (const int32_t channel : {Channel0 + 1, Channel0 + 3})
                writeTo(channel);
    }

    std::vector<int16_t> sound_ = std::vector<int16_t>(2048);
    std::map<void*, int64_t> captures_;
};

TEST_F(Endurance, NothingIsLostRepeatedOrReordered) {
    const char* hours = std::getenv("TAMBORIN_HOURS");
    const int64_t periods = (hours != nullptr ? std::atol(hours) : 1) * PeriodsPerHour;
    fakePortAudio.addDevice("default");
    fakePortAudio.addDevice("pulse");
    fakePortAudio.streamInfo.inputLatency = LatencyMs / 1000.0;
    enable("0");
    enable("2");
    int64_t passes = 0;
    size_t heap = 0;
    fakeClock.onPause = [&] {
        if (passes == 0)
            g_hostCallback = receiveFrame;  // a faster callback for the long run
        fakeClock.steady += 63ms;
        if (++passes % PassesPerPeriod == 0)
            period(passes / PassesPerPeriod);
        trace.clear();
        if (passes == PassesPerPeriod * PeriodsPerHour / 2)
            heap = mallinfo2().uordblks;
        if (passes >= periods * PassesPerPeriod) {
            EXPECT_LT(mallinfo2().uordblks, heap + 65536) << "memory is not level";
            Close();
        }
    };
    run();
    Unload();
    g_hostCallback = hostTable_.hostCallback;
    const auto total = [](const auto& counts) {
        int64_t sum = 0;
        for (const auto& [key, count] : counts)
            sum += count;
        return sum;
    };
    const int64_t frames = total(captured);
    const int64_t blocks = total(played);
    EXPECT_GE(frames, total(captures_) - 2);  // the last ones are still queued at the end
    EXPECT_GE(blocks, total(written) - 2);
    EXPECT_EQ(released, total(written));
    EXPECT_GT(std::min(frames, blocks), periods * 2 * 9 / 10);
    printf("%ld passes, %ld frames captured, %ld blocks played, %zu streams opened, heap %zu KiB\n",
           passes, frames, blocks, fakePortAudio.streams.size(), mallinfo2().uordblks / 1024);
}

}  // namespace
