#include "devices/capture_element.h"

#include <cstdint>

namespace {

int32_t indexOf(snd_mixer_elem_t* element) {
    return static_cast<int32_t>(snd_mixer_selem_get_index(element));
}

}  // namespace

std::string labelOf(snd_mixer_elem_t* element) {
    const char* name = snd_mixer_selem_get_name(element);
    return "mixer " + std::to_string(indexOf(element)) + " [" +
           (name != nullptr ? name : "NONAME") + "]";
}

bool isCaptureElement(snd_mixer_elem_t* element) {
    return snd_mixer_selem_get_name(element) != nullptr && indexOf(element) >= 0 &&
           snd_mixer_selem_has_capture_switch(element) == 1;
}

CaptureElement readCapture(snd_mixer_elem_t* element) {
    CaptureElement read;
    read.rangeError =
        snd_mixer_selem_get_capture_volume_range(element, &read.minimum, &read.maximum);
    read.volumeError =
        snd_mixer_selem_get_capture_volume(element, SND_MIXER_SCHN_FRONT_LEFT, &read.volume);
    read.leftError =
        snd_mixer_selem_get_capture_switch(element, SND_MIXER_SCHN_FRONT_LEFT, &read.left);
    read.rightError =
        snd_mixer_selem_get_capture_switch(element, SND_MIXER_SCHN_FRONT_RIGHT, &read.right);
    return read;
}
