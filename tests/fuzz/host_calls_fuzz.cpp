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
        switch (input_.ConsumeIntegralInRange(0, 13)) {
            case 0:
                write("audio", input_.ConsumeBytes<uint8_t>(length()), target(), type());
                break;
            case 1:
                ioctl("text", input_.ConsumeRandomLengthString(), input_.ConsumeIntegral<int8_t>());
                break;
            case 2:
                enable();
                break;
            case 3:
                callBack();
                break;
            case 4:
                fakeClock.steady += std::chrono::milliseconds(input_.ConsumeIntegral<uint16_t>());
                fakeClock.wallSeconds += input_.ConsumeIntegral<int8_t>();
                break;
            case 5:
                fakePortAudio.open = input_.ConsumeBool() ? -9993 : paNoError;
                fakePortAudio.start = input_.ConsumeBool() ? -9999 : paNoError;
                break;
            case 6:
                if (!fakePortAudio.streams.empty() && stream().active != paBadStreamPtr)
                    stream().active = input_.PickValueInArray({1, 0, int{paBadStreamPtr}, -9999});
                break;
            case 7:
                threshold = input_.ConsumeIntegral<int8_t>();
                answer = input_.ConsumeIntegralInRange(0, 15) == 0 ? 1 : 0;
                break;
            case 8:
                fakePortAudio.streamInfo.inputLatency = input_.ConsumeFloatingPoint<double>();
                break;
            case 9:
                Open();
                break;
            case 10:
                emptyRecords();
                break;
            case 11:
                fakeCards.assign(input_.ConsumeIntegralInRange<size_t>(0, 2), card());
                break;
            case 12:
                blocks(input_.ConsumeIntegralInRange(1, 20));
                break;
            default:
                if (input_.ConsumeBool())
                    Close();
        }
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
        configure(
            "<Varo><Devices ID='1310720' BufferLength='" +
            std::to_string(input_.ConsumeIntegral<int16_t>()) + "'><Device><Audio><Input Number='" +
            number + "' Output='" + (input_.ConsumeBool() ? "1" : "0") + "' Name='" +
            input_.ConsumeRandomLengthString(3000) +
            "'/></Audio><Codec><Encoder><AudioChannel Number='" + number + "' Enabled='" +
            (input_.ConsumeBool() ? "1" : "0") + "'/></Encoder></Codec></Device></Devices></Varo>");
    }
    void callBack() {
        if (fakePortAudio.streams.empty())
            return;
        std::vector<int16_t> sound(length(), int16_t{77});
        FakeStream& called = stream();
        if (called.active != 1)
            return;
        called.isInput ? called.capture(sound) : called.play(sound);
    }
    void blocks(int count) {
        while (count-- > 0)
            write("block", std::vector<uint8_t>(2048, 10), Channel0 + 1, TypeAudio);
    }
    // Records without a payload; what they are answered is the module's affair.
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
