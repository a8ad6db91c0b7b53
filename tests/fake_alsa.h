// ALSA cards and mixers as the test describes them.
#pragma once

#include <string>
#include <vector>

// One mixer element; every field a result or a value that the module may see or set.
struct _snd_mixer_elem {
    const char* name = "Capture";
    unsigned index = 0;
    int hasCaptureSwitch = 1;
    int left = 1;
    int right = 1;
    long minimum = 0;
    long maximum = 31;
    long volume = 5;
    int rangeError = 0, volumeError = 0, leftError = 0, rightError = 0;
    int enableError = 0, setVolumeError = 0;
    int isSelector = 0;
    int selected = 0;  // negative: the error of reading it
    std::vector<const char*> items = {};
};

struct FakeCard {
    int nameError = 0;
    const char* name = "PCH";
    std::string failingStep = {};  // "open", "attach", "register" or "load"
    std::vector<_snd_mixer_elem> elements = {};
};
inline std::vector<FakeCard> fakeCards;
inline int fakeMixersOpen = 0;
