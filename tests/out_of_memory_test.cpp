// Lets memory run out at each single allocation. Nothing may crash, every buffer comes back once,
// and the module works again when memory is back.
#include <array>

#include "module_test.h"

// TinyXML leaks the node that it is filling when memory runs out. LeakSanitizer, where it is built
// in, is off meanwhile.
extern "C" void __lsan_disable() __attribute__((weak));
extern "C" void __lsan_enable() __attribute__((weak));

namespace {

TEST_F(ModuleTest, OutOfMemory) {
    fakePortAudio.addDevice("default");
    const std::string text =
        enablingDocument("0", "1",
                         "<Input Number='0' Name='a name that needs memory of its own'>"
                         "<Schedule><Entry/></Schedule></Input>");
    const std::vector<uint8_t> codes(2048, 10);
    const std::vector<int16_t> sound(2048, 100);
    configure(text);
    long failing = 0;  // which allocation fails in this round
    bool hasFailed = true;
    std::array<size_t, 4> refused{};
    bool written = false;
    int step = 0;
    fakeClock.onPause = [&] {
        switch (step++ % 3) {
            case 0: {  // in these calls or the next pass an allocation fails
                EXPECT_TRUE(failing == 0 || trace.find("release block") != std::string::npos)
                    << failing;
                if (__lsan_disable != nullptr)
                    __lsan_disable();
                allocationsLeft = failing++;
                written = write("block", codes, Channel0 + 1, TypeAudio);
                const std::array accepted{
                    written, configure(text), ioctl("noted", "<a/>", IoctlHostDocument),
                    fakePortAudio.streams.front().capture(sound) == paContinue};
                for (size_t call = 0; call < accepted.size(); ++call)
                    refused[call] += accepted[call] ? 0 : 1;
                break;
            }
            case 1: {
                hasFailed = allocationsLeft < 0;
                allocationsLeft = -1;
                if (__lsan_enable != nullptr)
                    __lsan_enable();
                // Memory is back: the block, or a new one, is decoded, played and handed back.
                EXPECT_TRUE(written || write("block", codes, Channel0 + 1, TypeAudio));
                EXPECT_TRUE(configure(text));
                EXPECT_EQ(fakePortAudio.streams.front().capture(sound), paContinue);
                takeTrace();
                break;
            }
            default:
                EXPECT_NE(trace.find("description\nrelease document\n"), std::string::npos)
                    << failing;
                EXPECT_NE(trace.find("audio"), std::string::npos) << failing;
                for (int i = 0; i < 2; ++i) {
                    std::vector<int16_t> played(2048);
                    fakePortAudio.streams.back().play(played);
                }
                if (!hasFailed)
                    Close();
        }
    };
    run();
    EXPECT_FALSE(hasFailed) << "the worker has ended by itself";
    EXPECT_GT(failing, 50);
    for (size_t call = 0; call < refused.size(); ++call)
        EXPECT_GT(refused[call], 0U) << call;
}

// Idle passes and sending captured frames must not allocate. Here each allocation would fail.
TEST_F(ModuleTest, SendsWithoutAllocating) {
    fakePortAudio.addDevice("default");
    enable("0");
    fakeClock.onPause = [pass = 0]() mutable {
        if (++pass == 2) {
            fakePortAudio.streams.front().capture(std::vector<int16_t>(2048));
            allocationsLeft = 0;
        } else if (pass == 10) {
            EXPECT_EQ(std::exchange(allocationsLeft, -1), 0) << "a pass has allocated";
            EXPECT_NE(trace.find("audio"), std::string::npos);
            Close();
        }
    };
    run();
}

// Whichever allocation of the start fails, the audio system comes up and the settings are kept.
TEST_F(ModuleTest, OutOfMemoryAtTheStart) {
    const std::string ours = "<Varo><Devices ID='1310720'";
    fakePortAudio.addDevice("default");
    bool hasFailed = true;
    bool isBack = false;
    fakeClock.onPause = [&] {
        if (isBack)
            Close();
        hasFailed = hasFailed && (isBack || allocationsLeft < 0);
        isBack = true;
        allocationsLeft = -1;
        configure(ours + " BufferLength='300'/></Varo>");
    };
    if (__lsan_disable != nullptr)
        __lsan_disable();
    long failing = 0;
    do {
        std::ofstream("tamborin.xml") << ours +
                                             "><Device><Audio><Input Number='7' Name='Kept'/>"
                                             "</Audio></Device></Devices></Varo>";
        takeTrace();
        isBack = false;
        allocationsLeft = failing++;
        run();
        EXPECT_NE(trace.find("Portaudio initialized."), std::string::npos) << failing;
        EXPECT_NE(fileContent("tamborin.xml").find("Kept"), std::string::npos) << failing;
        nextLife();
    } while (hasFailed);
    if (__lsan_enable != nullptr)
        __lsan_enable();
}

}  // namespace
