// A wrong byte in a record, and a record too many or too few.
#include <cstring>

#include "core/messages.h"
#include "module_test.h"
#include "plugin/host_link.h"

namespace {

using HostRecords = ModuleTest;

// A record as 64-bit words, by offset / 8; what is not named is zero.
void expectWords(const HostMessage& message, std::vector<std::pair<size_t, uint64_t>> words) {
    std::array<uint64_t, 28> expected{};
    std::array<uint64_t, 28> actual{};
    expected[0] = 0x1'0000'00E0;
    for (const auto& [index, value] : words)
        expected[index] = value;
    std::memcpy(actual.data(), &message, sizeof message);
    actual[2] = words.front().first == 2 ? actual[2] : 0;  // data: looked at where it is stable
    EXPECT_EQ(actual, expected);
}

constexpr uint64_t Detail = 0x1'0000'00A8;

TEST_F(HostRecords, EveryByte) {
    static std::vector<HostMessage> raw;
    raw.clear();
    const HostCallback keep = [](const HostMessage* message, int32_t) {
        raw.push_back(*message);
        return 0;
    };
    g_hostCallback = keep;
    logMessage(ModuleId, keep, LogNotice, "%s", "text");
    Open();
    const std::array<uint8_t, 3> codes{};
    sendAudioFrame(codes, 0xFFFFFFFF, 999, 0x1401FF);
    releaseHostBuffer(codes.data());
    g_hostCallback = hostTable_.hostCallback;
    ASSERT_EQ(raw.size(), 5U);
    expectWords(raw[0], {{3, 0x140000}, {5, 64}, {6, 0x1000001}});
    expectWords(raw[1], {{3, 0x140000}, {1, 4}, {5, 64}, {6, 0x1000002}, {7, Detail}, {8, 50}});
    expectWords(raw[2], {{3, 0x140000}, {1, 108}, {5, 256}, {6, 0x1000010}});
    expectWords(raw[3], {{2, reinterpret_cast<uint64_t>(codes.data())},
                         {1, 3},
                         {3, 0x1401FF},
                         {5, 2},
                         {6, 0x1000080},
                         {7, Detail},
                         {9, 0xFFFFFFFF},
                         {10, 999}});
    expectWords(raw[4], {{2, reinterpret_cast<uint64_t>(codes.data())}, {3, 0x140000}, {5, 512}});
}

TEST_F(HostRecords, LoadFillsItsFieldsOnly) {
    Unload();
    std::memset(&moduleInfo_, 0x55, sizeof moduleInfo_);
    Load(&hostTable_, &moduleInfo_);
    std::array<uint8_t, sizeof(ModuleInfo)> expected{};
    expected.fill(0x55);
    const auto put = [&](size_t offset, uint64_t value) {
        std::memcpy(expected.data() + offset, &value, sizeof value);
    };
    put(8, 0x140000);
    put(24, 0x3000080);
    put(32, 0x3000010);
    expected[96] = expected[99] = 1;
    EXPECT_EQ(std::memcmp(expected.data(), &moduleInfo_, sizeof moduleInfo_), 0);
}

TEST_F(HostRecords, AnnouncementAndStopByAnswer) {
    Open();
    EXPECT_EQ(document,
              "<?xml ?><Varo Delta=\"0\"><Modules><Module Name=\"Tamborin\" ID=\"1310720\" "
              "Version=\"26.1.7.3\" /></Modules></Varo>");
    EXPECT_EQ(takeTrace(), "document 256\n");
    EXPECT_TRUE(configure("<a/>"));
    answer = 1;
    Open();
    EXPECT_FALSE(configure("<a/>"));  // stopped, as by Close
}

TEST_F(HostRecords, LogLinesByLevelAndLength) {
    struct Case {
        int32_t threshold, level;
        size_t textLength;
        uint32_t sentLength;  // 0: not sent
    };
    for (const Case& c : std::initializer_list<Case>{{50, 25, 10, 0},
                                                     {50, 50, 10, 10},
                                                     {-5, 0, 10, 10},
                                                     {0, 25, 0, 0},
                                                     {0, 25, 2047, 2047},
                                                     {0, 25, 2048, 2048},
                                                     {0, 0, 2048, 2048},
                                                     {0, 25, 3000, 2048},
                                                     {0, 0, 2049, 2049},
                                                     {0, 0, 3000, 3000},
                                                     {76, 75, 1, 0}}) {
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
        EXPECT_EQ(first.value + first.length, 0U);  // NOLINT: what is left behind
    }
    EXPECT_EQ(releases, 1);
    g_hostCallback = hostTable_.hostCallback;
}

TEST_F(HostRecords, NothingOutsideLoadToUnload) {
    WriteRecord null{};  // refused before: audio for us, but no buffer
    null.targetId = Channel0;
    null.type = TypeAudio;
    WriteResult untouched{};
    untouched.accepted = 7;
    Write(&null, &untouched);
    EXPECT_EQ(untouched.accepted, 7U);
    Unload();
    EXPECT_EQ(Unload(), 0);
    EXPECT_FALSE(write("audio", {1}, Channel0, TypeAudio));
    EXPECT_FALSE(configure("<a/>"));
    run();  // returns at once
    EXPECT_EQ(Open() + Close(), 0);
    EXPECT_EQ(takeTrace(), "");
}

}  // namespace
