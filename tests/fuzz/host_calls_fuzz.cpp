// Sequences of host calls with odd records, between streams that call back, stall, fail and vanish.
#include <fuzzer/FuzzedDataProvider.h>

#include "fake_alsa.h"
#include "fuzzed_module.h"

namespace {

class HostCalls : public FuzzedModule {
  public:
    HostCalls(const uint8_t* data, size_t size) : input_(data, size) {
        fakeClock.onPause = [this] {
            for (auto calls = input_.ConsumeIntegralInRange(1, 8); calls > 0; --calls)
                call();
            if (input_.remaining_bytes() == 0)
                Close();
        };
        do {
            answer = 0;
            run();
            Unload();
            Write(nullptr, nullptr);
            IOCTL(nullptr, nullptr);
            Close();
            load();
        } while (input_.remaining_bytes() != 0);
    }

  private:
    void call() {
        const std::array<std::function<void()>, 14> calls{
            [this] { write("audio", input_.ConsumeBytes<uint8_t>(length()), target(), type()); },
            [this] {
                ioctl("text", input_.ConsumeRandomLengthString(), input_.ConsumeIntegral<int8_t>());
            },
            [this] { enable(); },
            [this] { callBack(); },
            [this] { passTime(); },
            [this] { fakePortAudio.openResult = input_.ConsumeBool() ? -9993 : paNoError; },
            [this] { fakePortAudio.startResult = input_.ConsumeBool() ? -9999 : paNoError; },
            [this] { loseStream(); },
            [this] { threshold = input_.ConsumeIntegral<int8_t>(); },
            [this] { answer = input_.ConsumeIntegralInRange(0, 15) == 0 ? 1 : 0; },
            [this] {
                fakePortAudio.streamInfo.inputLatency = input_.ConsumeFloatingPoint<double>();
            },
            [this] { input_.ConsumeBool() ? emptyRecords() : (void)Open(); },
            [this] { fakeCards.assign(input_.ConsumeIntegralInRange<size_t>(0, 2), card()); },
            [this] { blocks(input_.ConsumeIntegralInRange(0, 20)); }};
        calls[input_.ConsumeIntegralInRange<size_t>(0, calls.size() - 1)]();
        if (input_.ConsumeIntegralInRange(0, 30) == 30)
            Close();
    }

    size_t length() { return input_.PickValueInArray<size_t>({0, 1, 2047, 2048, 2049, 5000}); }
    int64_t target() {
        return input_.ConsumeBool() ? Channel0 + input_.ConsumeIntegralInRange(0, 5)
                                    : input_.ConsumeIntegral<int64_t>();
    }
    uint64_t type() {
        return input_.ConsumeBool() ? TypeAudio : input_.ConsumeIntegral<uint64_t>();
    }
    static FakeStream& stream() { return fakePortAudio.streams.back(); }

    void enable() {
        const std::string number = std::to_string(input_.ConsumeIntegralInRange(0, 4));
        configure(enablingDocument(number, input_.ConsumeBool() ? "1" : "0",
                                   "<Input Number='" + number + "' Output='" +
                                       (input_.ConsumeBool() ? "1" : "0") + "' Name='" +
                                       input_.ConsumeRandomLengthString(3000) + "'/>"));
        configure("<Varo><Devices ID='1310720' BufferLength='" +
                  std::to_string(input_.ConsumeIntegral<int16_t>()) + "'/></Varo>");
    }
    void callBack() {
        if (fakePortAudio.streams.empty() || stream().active != 1)
            return;
        std::vector<int16_t> sound(length(), int16_t{77});
        FakeStream& called = stream();
        called.isInput ? called.capture(sound) : called.play(sound);
    }
    void passTime() {
        fakeClock.steady += std::chrono::milliseconds(input_.ConsumeIntegral<uint16_t>());
        fakeClock.wallSeconds += input_.ConsumeIntegral<int8_t>();
    }
    void loseStream() {
        if (!fakePortAudio.streams.empty() && stream().active != paBadStreamPtr)
            stream().active = input_.PickValueInArray({1, 0, int{paBadStreamPtr}, -9999});
    }
    void blocks(int count) {
        while (count-- > 0)
            write("block", std::vector<uint8_t>(2048, 10), Channel0 + 1, TypeAudio);
    }
    // Sends requests without a payload. Whether IOCTL accepts them is not checked.
    static void emptyRecords() {
        IoctlResult taken{};
        for (const int32_t code : {IoctlConfiguration, IoctlHostDocument, IoctlReply}) {
            IoctlRequest request{};
            request.code = code;
            IOCTL(&request, &taken);
            request.length = 1;
            IOCTL(&request, &taken);
        }
        WriteRecord record{};
        record.targetId = Channel0 + 1;
        record.type = TypeAudio;
        record.length = 1;
        WriteResult written{};
        Write(&record, &written);
        EXPECT_EQ(written.accepted, 0U);
    }
    FakeCard card() {
        FakeCard made;
        made.failingStep = input_.PickValueInArray({"", "open", "attach", "register", "load"});
        made.elements.resize(1);
        made.elements[0].values["left"] = input_.ConsumeBool();
        made.elements[0].values["vol"] = input_.ConsumeBool();
        made.elements[0].values["min"] = input_.ConsumeIntegral<long>();
        made.elements[0].values["max"] = input_.ConsumeIntegral<long>();
        made.elements[0].values["enable_error"] = input_.ConsumeBool() ? -5 : 0;
        return made;
    }

    FuzzedDataProvider input_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    HostCalls(data, size);
    return 0;
}
