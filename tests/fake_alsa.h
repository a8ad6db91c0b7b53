// Replaces ALSA's functions. A test describes the cards, mixers and PCMs that they find.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

// One mixer element. `values` holds what queries return, and errors such as "range_error".
struct _snd_mixer_elem {
    std::map<std::string, long> values{
        {"switch", 1}, {"left", 1}, {"right", 1}, {"max", 31}, {"vol", 5}};
    const char* name = "Capture";
    std::vector<const char*> items;

    int operator[](const char* key) { return static_cast<int>(values[key]); }
};

struct FakeCard {
    int nameError = 0;
    const char* name = "PCH";
    std::string failingStep = {};  // "open", "attach", "register" or "load"
    std::vector<_snd_mixer_elem> elements = {};
};
inline std::vector<FakeCard> fakeCards;
inline int fakeMixersOpen = 0;
inline int fakePcmsOpen = 0;
inline int fakePcmError = 0;                      // returned when a PCM is opened
inline std::function<void()> whileAsked = [] {};  // called while a PCM is being opened
