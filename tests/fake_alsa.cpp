#include "fake_alsa.h"

#include <alsa/asoundlib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "trace.h"

struct _snd_mixer {
    FakeCard* card = nullptr;
};

namespace {
FakeCard* current;  // the card whose name was asked for last; mixers are opened for it
snd_local_error_handler_t localErrorHandler;
int failsAt(const char* step) { return current->failingStep == step ? -19 : 0; }
}  // namespace

int snd_pcm_open(snd_pcm_t** /*pcm*/, const char* name, snd_pcm_stream_t stream, int mode) {
    EXPECT_EQ(mode, SND_PCM_NONBLOCK);
    EXPECT_NE(localErrorHandler, nullptr) << "ALSA would write to the host's stderr";
    note(std::string("ask ") + (stream == SND_PCM_STREAM_CAPTURE ? "input" : "output") + " of " +
         name);
    whileAsked();
    fakePcmsOpen += fakePcmError == 0 ? 1 : 0;
    return fakePcmError;
}
int snd_pcm_close(snd_pcm_t* /*pcm*/) {
    --fakePcmsOpen;
    return 0;
}
extern "C" snd_local_error_handler_t setErrorHandlerOfThread(
    snd_local_error_handler_t handler) __asm__("snd_lib_error_set_local");
snd_local_error_handler_t setErrorHandlerOfThread(snd_local_error_handler_t handler) {
    return std::exchange(localErrorHandler, handler);
}
int snd_card_next(int* card) {
    *card = *card + 1 < static_cast<int>(fakeCards.size()) ? *card + 1 : -1;
    return 0;
}
int snd_card_get_name(int card, char** name) {
    current = &fakeCards[static_cast<size_t>(card)];
    *name = current->name != nullptr && current->nameError == 0 ? strdup(current->name) : nullptr;
    return current->nameError;
}
const char* snd_strerror(int /*error*/) { return "No such device"; }
int snd_mixer_open(snd_mixer_t** mixer, int mode) {
    EXPECT_EQ(mode, 0);
    if (failsAt("open") != 0)
        return failsAt("open");
    *mixer = new _snd_mixer{current};
    ++fakeMixersOpen;
    return 0;
}
int snd_mixer_close(snd_mixer_t* mixer) {
    delete mixer;
    --fakeMixersOpen;
    return 0;
}
int snd_mixer_attach(snd_mixer_t* /*mixer*/, const char* name) {
    EXPECT_EQ(name, "hw:" + std::to_string(current - fakeCards.data()));
    return failsAt("attach");
}
int snd_mixer_selem_register(snd_mixer_t* /*mixer*/, snd_mixer_selem_regopt* options,
                             snd_mixer_class_t** classp) {
    EXPECT_TRUE(options == nullptr && classp == nullptr);
    return failsAt("register");
}
int snd_mixer_load(snd_mixer_t* /*mixer*/) { return failsAt("load"); }
snd_mixer_elem_t* snd_mixer_first_elem(snd_mixer_t* mixer) {
    return mixer->card->elements.empty() ? nullptr : mixer->card->elements.data();
}
snd_mixer_elem_t* snd_mixer_elem_next(snd_mixer_elem_t* element) {
    return element == &current->elements.back() ? nullptr : element + 1;
}
unsigned snd_mixer_selem_get_index(snd_mixer_elem_t* element) {
    return static_cast<unsigned>((*element)["index"]);
}
const char* snd_mixer_selem_get_name(snd_mixer_elem_t* element) { return element->name; }
int snd_mixer_selem_has_capture_switch(snd_mixer_elem_t* element) { return (*element)["switch"]; }
int snd_mixer_selem_has_capture_switch_exclusive(snd_mixer_elem_t* e) { return (*e)["group"] != 0; }
int snd_mixer_selem_get_capture_group(snd_mixer_elem_t* element) { return (*element)["group"]; }
int snd_mixer_selem_is_enumerated(snd_mixer_elem_t* element) { return (*element)["selector"]; }
int snd_mixer_selem_is_enum_capture(snd_mixer_elem_t* element) { return (*element)["selector"]; }
int snd_mixer_selem_get_capture_volume_range(snd_mixer_elem_t* element, long* min, long* max) {
    *min = element->values["min"];
    *max = element->values["max"];
    return (*element)["range_error"];
}
int snd_mixer_selem_get_capture_volume(snd_mixer_elem_t* element,
                                       snd_mixer_selem_channel_id_t channel, long* volume) {
    EXPECT_EQ(channel, SND_MIXER_SCHN_FRONT_LEFT);
    *volume = element->values["vol"];
    return (*element)["volume_error"];
}
int snd_mixer_selem_get_capture_switch(snd_mixer_elem_t* element,
                                       snd_mixer_selem_channel_id_t channel, int* value) {
    const bool isLeft = channel == SND_MIXER_SCHN_FRONT_LEFT;
    *value = (*element)[isLeft ? "left" : "right"];
    return (*element)[isLeft ? "left_error" : "right_error"];
}
int snd_mixer_selem_set_capture_switch_all(snd_mixer_elem_t* element, int value) {
    note("set switch " + std::to_string(value));
    return (*element)["enable_error"];
}
int snd_mixer_selem_set_capture_volume_all(snd_mixer_elem_t* element, long value) {
    note("set volume " + std::to_string(value));
    return (*element)["set_error"];
}
int snd_mixer_selem_get_enum_item(snd_mixer_elem_t* element, snd_mixer_selem_channel_id_t /*ch*/,
                                  unsigned* item) {
    *item = static_cast<unsigned>((*element)["selected"]);
    return std::min((*element)["selected"], 0);
}
int snd_mixer_selem_get_enum_items(snd_mixer_elem_t* element) {
    return static_cast<int>(element->items.size());
}
int snd_mixer_selem_get_enum_item_name(snd_mixer_elem_t* element, unsigned item, size_t size,
                                       char* name) {
    if (element->items[item] == nullptr)
        return -22;
    std::strncpy(name, element->items[item], size);
    return 0;
}
