// A sound card's name and mixer, as the module opens them. The host's doctor opens them the same
// way. Any thread.
#pragma once

#include <alsa/asoundlib.h>

#include <memory>
#include <string>

struct CardName {
    int error = 0;        // ALSA's, negative when the question failed
    bool isTold = false;  // ALSA may succeed without a name
    std::string text;
};
CardName nameOfCard(int card);

struct MixerCloser {
    void operator()(snd_mixer_t* mixer) const { snd_mixer_close(mixer); }
};
using MixerPtr = std::unique_ptr<snd_mixer_t, MixerCloser>;

struct CardMixer {
    MixerPtr mixer;                    // its elements are loaded, unless a step failed
    const char* failedStep = nullptr;  // ALSA's function; null when all succeeded
    int error = 0;                     // what it returned
};
// `device` is ALSA's name of the card, such as "hw:0".
CardMixer openCardMixer(const std::string& device);
