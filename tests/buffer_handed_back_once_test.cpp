// Host buffers: accepted or refused, and handed back once, on every road. The fixture's account
// fails each of these tests when a buffer is lost, doubled or handed back though refused.
#include "core/messages.h"
#include "module_test.h"

namespace {

using BufferHandedBackOnce = ModuleTest;

TEST_F(BufferHandedBackOnce, DocumentsFourAPassAndTheRestAtUnload) {
    for (const char* name : {"1", "2", "3", "4", "5", "6"})
        EXPECT_TRUE(ioctl(name, "<a/>", name[0] == '2' ? IoctlHostDocument : IoctlConfiguration));
    run({[] {
             const std::string firstPass = takeTrace();
             EXPECT_EQ(firstPass.substr(firstPass.find("release")),
                       "release 1\nrelease 2\nrelease 3\nrelease 4\n");
         },
         [] {
             EXPECT_EQ(takeTrace(), "release 5\nrelease 6\n");
             EXPECT_TRUE(ioctl("late", "<a/>"));
             EXPECT_TRUE(ioctl("later", "<a/>", IoctlHostDocument));
             Close();
             EXPECT_FALSE(ioctl("too late", "<a/>"));
         }});
    EXPECT_EQ(takeTrace(), "");
    Unload();
    EXPECT_EQ(takeTrace(), "Pa_Terminate\nrelease late\nrelease later\n");
}

TEST_F(BufferHandedBackOnce, MovedMessages) {
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

TEST_F(BufferHandedBackOnce, RefusedIoctls) {
    EXPECT_FALSE(ioctl("empty", "", IoctlConfiguration));
    EXPECT_FALSE(ioctl("empty", "", IoctlHostDocument));
    for (const int32_t code : {0, 4, 5, -1, 0x7FFFFFFF})
        EXPECT_FALSE(ioctl("unknown", "<a/>", code)) << code;
}

TEST_F(BufferHandedBackOnce, Writes) {
    fakePortAudio.addDevice("default");  // channel 0 is its input, channel 1 its output
    constexpr int64_t Output = Channel0 + 1;
    run({[&] {
             EXPECT_FALSE(write("an input", {1}, Channel0));
             EXPECT_FALSE(write("no channel", {1}, Channel0 + 2));
             EXPECT_FALSE(write("another module", {1}, 0x150111));
             EXPECT_FALSE(write("no audio bit", {1}, Output, 0x1000000));
             EXPECT_FALSE(write("half a type", {1}, Output, 0x80));
             WriteRecord null{};
             null.targetId = Output;
             null.type = TypeAudio;
             WriteResult untouched{.reserved = {}, .accepted = 7};
             Write(&null, &untouched);
             EXPECT_EQ(untouched.accepted, 7U);

             EXPECT_TRUE(write("more type bits", {1}, Output | 0x7'0000'0000, 0x3000080));
             EXPECT_TRUE(write("empty", {}, Output));
             EXPECT_TRUE(configure(enabling("1", "0")));
             takeTrace();
         },
         [&] {
             // Disabling empties the queue, newest first; the document goes back when it is
             // handled.
             EXPECT_EQ(takeTrace(),
                       "release empty\nrelease more type bits\ndocument 256\nrelease document\n");
             EXPECT_TRUE(write("alone and empty", {}, Output));
         },
         [&] {
             std::vector<int16_t> sound(2048, 1);
             fakePortAudio.streams.back().play(sound);
             takeTrace();
         },
         [&] { EXPECT_EQ(takeTrace(), "release alone and empty\n"); },
         [&] {
             EXPECT_EQ(takeTrace(), "Pa_CloseStream\n25 Closed output stream 'default (output)'\n");
             EXPECT_TRUE(write("unplayed 1", {1}, Output));
             EXPECT_TRUE(write("unplayed 2", {1}, Output));
             fakePortAudio.open = paDeviceUnavailable;
         }});
    takeTrace();
    Unload();
    EXPECT_EQ(takeTrace(), "release unplayed 2\nrelease unplayed 1\nPa_Terminate\n");
}

}  // namespace
