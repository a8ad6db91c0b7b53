#include "devices/card_mixer.h"

#include <cstdlib>

namespace {

struct Freer {
    void operator()(char* text) const { std::free(text); }  // NOLINT: ALSA takes it from malloc
};

}  // namespace

CardName nameOfCard(int card) {
    char* told = nullptr;
    const int error = snd_card_get_name(card, &told);
    const std::unique_ptr<char, Freer> name(error < 0 ? nullptr : told);
    return {error, name != nullptr, name ? name.get() : ""};
}

CardMixer openCardMixer(const std::string& device) {
    CardMixer result;
    const auto succeeds = [&result](int answer, const char* step) {
        if (answer >= 0)
            return true;
        result.failedStep = step;
        result.error = answer;
        return false;
    };
    snd_mixer_t* opened = nullptr;
    if (!succeeds(snd_mixer_open(&opened, 0), "snd_mixer_open"))
        return result;
    result.mixer.reset(opened);
    if (succeeds(snd_mixer_attach(opened, device.c_str()), "snd_mixer_attach") &&
        succeeds(snd_mixer_selem_register(opened, nullptr, nullptr), "snd_mixer_selem_register"))
        succeeds(snd_mixer_load(opened), "snd_mixer_load");
    return result;
}
