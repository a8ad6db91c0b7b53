// What is said and set on every kind of mixer element, and what counts as failure.
#include "devices/capture_mixers.h"

#include "fake_alsa.h"
#include "module_test.h"

namespace {

TEST_F(ModuleTest, CaptureMixerElements) {
    const std::string current = "25 ALSA: hw:0 [PCH] mixer 0 [Capture] curr settings = ";
    const std::string element = "ALSA: hw:0 [PCH] mixer 0 [Capture] ";
    const std::string set = "set switch 1\n50 " + element + "now enabled.\n";
    struct Case {
        _snd_mixer_elem element;
        bool succeeds;
        std::string lines;
    };
    const std::vector<Case> cases{
        {{}, true, current + "enabled vmin 0 vmax 31 vol 5\n"},
        {{.left = 0, .right = 0, .volume = 0},
         true,
         current + "disabled vmin 0 vmax 31 vol 0\n" + set + "set volume 16\n50 " + element +
             "now set volume 16\n"},
        {{.right = 0}, true, current + "disabled vmin 0 vmax 31 vol 5\n" + set},
        {{.right = 2}, true, current + "disabled vmin 0 vmax 31 vol 5\n" + set},
        {{.minimum = 10, .maximum = 100, .volume = 0},
         true,
         current + "enabled vmin 10 vmax 100 vol 0\nset volume 46\n50 " + element +
             "now set volume 46\n"},
        {{.minimum = 5, .maximum = 0, .volume = 0, .setVolumeError = -3},
         false,
         current + "enabled vmin 5 vmax 0 vol 0\nset volume -1\n75 " + element +
             "failed to set volume -1 (error -3)\n"},
        {{.left = 0, .volume = 0, .enableError = -5},
         false,
         current + "disabled vmin 0 vmax 31 vol 0\nset switch 1\n75 " + element +
             "failed to enable (error -5)\n"},
        {{.rangeError = -1, .volumeError = 2, .rightError = -4},
         false,
         "75 " + element + "failed to query settings (errors -1/2/0/-4\n"},
        {{.hasCaptureSwitch = 0}, true, "0 " + element + "ignored\n"},
        {{.hasCaptureSwitch = 2}, true, "0 " + element + "ignored\n"},
        {{.index = 0x80000000}, true, "0 ALSA: hw:0 [PCH] mixer -2147483648 [Capture] ignored\n"},
        {{.name = nullptr}, true, "0 ALSA: hw:0 [PCH] mixer 0 [NONAME] ignored\n"},
        {{.name = nullptr, .isSelector = true, .selected = 1, .items = {"Mic", nullptr, "Line"}},
         true,
         "25 ALSA: hw:0 [PCH] mixer 0 [NONAME] connected to [] of [Mic, Line]\n"},
        {{.hasCaptureSwitch = 0, .isSelector = true, .selected = 1, .items = {"Mic", "Line"}},
         true,
         "25 " + element + "connected to [Line] of [Mic, Line]\n"},
        {{.hasCaptureSwitch = 0, .isSelector = true, .selected = -7},
         true,
         "75 " + element + "failed to query connector (error -7)\n"},
    };
    for (const Case& c : cases) {
        fakeCards = {{.elements = {c.element}}};
        EXPECT_EQ(configureCaptureMixers(), c.succeeds) << c.lines;
        EXPECT_EQ(takeTrace(),
                  "25 ALSA: detected hw:0 [PCH]\n0 ALSA: hw:0 [PCH] query mixers.\n" + c.lines);
    }
}

TEST_F(ModuleTest, CaptureMixerCards) {
    EXPECT_TRUE(configureCaptureMixers());
    EXPECT_EQ(takeTrace(), "");
    fakeCards = {{.nameError = -2},         {.name = nullptr},           {.failingStep = "open"},
                 {.failingStep = "attach"}, {.failingStep = "register"}, {.failingStep = "load"}};
    EXPECT_TRUE(configureCaptureMixers());
    EXPECT_EQ(takeTrace(), R"(75 ALSA: hw:0 snd_card_get_name error -2.
75 ALSA: hw:1 snd_card_get_name error no name returned.
75 ALSA: hw:2 [PCH] snd_mixer_open error No such device
75 ALSA: hw:3 [PCH] snd_mixer_attach error No such device
75 ALSA: hw:4 [PCH] snd_mixer_selem_register error No such device
75 ALSA: hw:5 [PCH] snd_mixer_load error No such device
)");
    // A failure neither ends the walk nor is forgotten.
    fakeCards = {{.elements = {{.rangeError = -1}, {.hasCaptureSwitch = 0}}}, {.elements = {{}}}};
    EXPECT_FALSE(configureCaptureMixers());
    EXPECT_NE(takeTrace().find("hw:1 [PCH] mixer 0 [Capture] curr"), std::string::npos);
}

}  // namespace
