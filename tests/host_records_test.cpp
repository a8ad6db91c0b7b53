// The host must get each record, with the right bytes, exactly once.
#include <cstring>

#include "core/messages.h"
#include "module_test.h"
#include "plugin/host_link.h"

namespace {

using HostRecords = ModuleTest;

TEST_F(HostRecords, LoadFillsItsFieldsOnly) {
    Unload();
    std::memset(&moduleInfo_, 0x55, sizeof moduleInfo_);
    load();
    std::string info(reinterpret_cast<const char*>(&moduleInfo_), sizeof moduleInfo_);
    const auto take = [&](size_t offset, const char* bytes, size_t size) {
        EXPECT_EQ(info.substr(offset, size), std::string(bytes, size)) << offset;
        info.replace(offset, size, size, 0x55);
    };
    take(8, "\0\0\x14\0\0\0\0\0\x55", 9);
    take(24, "\x80\0\0\3\0\0\0\0\x10\0\0\3\0\0\0\0\x55", 17);
    take(96, "\1\x55\x55\1", 4);
    EXPECT_EQ(info, std::string(sizeof moduleInfo_, 0x55));
}

TEST_F(HostRecords, LogLinesByLevelAndLength) {
    struct Case {
        int32_t threshold, level;
        size_t textLength;
        uint32_t sentLength;  // 0: not sent
    };
    // clang-format off
    for (const Case& c : std::initializer_list<Case>{
             {50, 25, 10, 0}, {50, 50, 10, 10}, {-5, 0, 10, 10}, {0, 25, 0, 0},
             {0, 25, 2047, 2047}, {0, 25, 2048, 2048}, {0, 0, 2048, 2048},
             {0, 25, 3000, 2048}, {0, 0, 2049, 2049}, {0, 0, 3000, 3000}, {76, 75, 1, 0}}) {
        // clang-format on
        threshold = c.threshold;
        static std::string sent;
        sent.clear();
        static int queries;
        queries = 0;
        const std::string text(c.textLength, 'x');
        logMessage(
            ModuleId,
            [](const HostMessage* message, int32_t) {
                queries += message->type == TypeLogLevelQuery ? 1 : 0;
                if (message->type == TypeLogText)
                    sent.assign(static_cast<const char*>(message->data), message->length);
                return threshold;
            },
            c.level, "%s", text.c_str());
        EXPECT_EQ(queries, 1);
        EXPECT_EQ(sent.size(), c.sentLength);
        const bool cut = c.sentLength == 2048;
        EXPECT_EQ(sent, cut ? text.substr(0, 2047) + '\0' : text.substr(0, c.sentLength));
    }
    EXPECT_EQ(logMessage(ModuleId, nullptr, LogError, "nobody listens"), 0);
}

TEST_F(HostRecords, MovedMessageReleasesOnce) {
    static int releases;
    releases = 0;
    g_hostCallback = [](const HostMessage* message, int32_t) {
        releases += message->kind == KindBufferRelease ? 1 : 0;
        return 0;
    };
    {
        ipcam::AudioMessage first(&releases, 1, 7);
        const ipcam::AudioMessage second(std::move(first));
        EXPECT_EQ(second.value + second.length, 8U);
        EXPECT_EQ(first.value + first.length, 0U);  // NOLINT: reads the moved-from message
    }
    EXPECT_EQ(releases, 1);
    g_hostCallback = hostTable_.hostCallback;
}

// A host may write a buffer again from within its release: the module holds no lock then.
TEST_F(HostRecords, WritesFromWithinARelease) {
    static int released;
    released = 0;
    fakePortAudio.addDevice("default");
    g_hostCallback = [](const HostMessage* message, int32_t reserved) {
        const bool isFirst = message->kind == KindBufferRelease && released++ == 0;
        EXPECT_TRUE(!isFirst || write("again", {1}, Channel0 + 1, TypeAudio));
        return receive(message, reserved);
    };
    fakeClock.onPause = [] {
        EXPECT_TRUE(released > 0 || write("first", {}, Channel0 + 1, TypeAudio));
        std::vector<int16_t> sound(2048);
        if (!fakePortAudio.streams.empty())
            fakePortAudio.streams.back().play(sound);
        if (released > 1)
            Close();
    };
    run();
    g_hostCallback = hostTable_.hostCallback;
}

// Calls that a host makes from within a release in Unload are refused.
TEST_F(HostRecords, CallsFromWithinUnloadAreRefused) {
    static int accepted;
    static int released;
    accepted = released = 0;
    g_hostCallback = [](const HostMessage* message, int32_t) {
        if (message->kind == KindBufferRelease && ++released < 100) {
            receive(message, 0);
            accepted += ioctl("again", "<a/>", IoctlConfiguration);
            accepted += write("again", {1}, Channel0 + 1, TypeAudio);
            Open();
            Close();
        }
        return 0;
    };
    ioctl("first", "<a/>", IoctlConfiguration);
    Unload();
    EXPECT_EQ(released, 1);
    EXPECT_EQ(accepted, 0);
    g_hostCallback = hostTable_.hostCallback;
}

}  // namespace
