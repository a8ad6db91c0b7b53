#include "devices/capture_mixers.h"

#include <alsa/asoundlib.h>

#include <array>
#include <string>

#include "base/contain.h"
#include "devices/capture_element.h"
#include "devices/card_mixer.h"
#include "plugin/host_link.h"

namespace {

// Returns a label such as "hw:0 [PCH]". Returns an empty one, and logs why, when the card does not
// tell its name.
std::string cardLabel(int card, const std::string& device) {
    const CardName name = nameOfCard(card);
    if (name.error < 0) {
        logLine(LogError, "ALSA: %s snd_card_get_name error %d.", device.c_str(), name.error);
        return {};
    }
    if (!name.isTold) {
        logLine(LogError, "ALSA: %s snd_card_get_name error no name returned.", device.c_str());
        return {};
    }
    return device + " [" + name.text + "]";
}

// Switches a capture element on and gives it a volume. Returns false when that fails.
bool enableCapture(snd_mixer_elem_t* element, const char* label) {
    const CaptureElement read = readCapture(element);
    if (!read.isRead()) {
        logLine(LogError, "ALSA: %s failed to query settings (errors %d/%d/%d/%d", label,
                read.rangeError, read.volumeError, read.leftError, read.rightError);
        return false;
    }

    logLine(LogInfo, "ALSA: %s curr settings = %s vmin %ld vmax %ld vol %ld", label,
            read.isOn() ? "enabled" : "disabled", read.minimum, read.maximum, read.volume);
    if (!read.isOn()) {
        const int error = snd_mixer_selem_set_capture_switch_all(element, 1);
        if (error < 0) {
            logLine(LogError, "ALSA: %s failed to enable (error %d)", label, error);
            return false;
        }
        logLine(LogNotice, "ALSA: %s now enabled.", label);
    }
    if (read.volume == 0) {
        // Subtracted as unsigned, because a driver's range may span all values of long.
        const auto range = static_cast<long>(static_cast<unsigned long>(read.maximum) -
                                             static_cast<unsigned long>(read.minimum));
        const long raised = range / 2 + 1;
        const int error = snd_mixer_selem_set_capture_volume_all(element, raised);
        if (error < 0) {
            logLine(LogError, "ALSA: %s failed to set volume %ld (error %d)", label, raised, error);
            return false;
        }
        logLine(LogNotice, "ALSA: %s now set volume %ld", label, raised);
    }
    return true;
}

void reportSource(snd_mixer_elem_t* element, const char* label) {
    unsigned int selected = 0;
    const int error = snd_mixer_selem_get_enum_item(element, SND_MIXER_SCHN_FRONT_LEFT, &selected);
    if (error < 0) {
        logLine(LogError, "ALSA: %s failed to query connector (error %d)", label, error);
        return;
    }
    std::string current;
    std::string list;
    for (int i = 0; i < snd_mixer_selem_get_enum_items(element); ++i) {
        std::array<char, 64> name{};
        const auto item = static_cast<unsigned int>(i);
        if (snd_mixer_selem_get_enum_item_name(element, item, name.size(), name.data()) != 0)
            continue;
        name.back() = '\0';
        if (item == selected)
            current = name.data();
        if (!list.empty())
            list += ", ";
        list += name.data();
    }
    logLine(LogInfo, "ALSA: %s connected to [%s] of [%s]", label, current.c_str(), list.c_str());
}

bool configureElement(snd_mixer_elem_t* element, const std::string& card) {
    const std::string label = card + " " + labelOf(element);
    if (isCaptureElement(element))
        return enableCapture(element, label.c_str());
    if (snd_mixer_selem_is_enumerated(element) == 1 &&
        snd_mixer_selem_is_enum_capture(element) == 1)
        reportSource(element, label.c_str());
    else
        logLine(LogDetail, "ALSA: %s ignored", label.c_str());
    return true;
}

bool configureCard(int card) {
    const std::string device = "hw:" + std::to_string(card);
    const std::string label = cardLabel(card, device);
    if (label.empty())
        return true;
    const CardMixer opened = openCardMixer(device);
    if (opened.failedStep != nullptr) {
        logLine(LogError, "ALSA: %s %s error %s", label.c_str(), opened.failedStep,
                snd_strerror(opened.error));
        return true;
    }
    logLine(LogInfo, "ALSA: detected %s", label.c_str());
    logLine(LogDetail, "ALSA: %s query mixers.", label.c_str());
    bool succeeded = true;
    for (snd_mixer_elem_t* element = snd_mixer_first_elem(opened.mixer.get()); element != nullptr;
         element = snd_mixer_elem_next(element))
        contain([&] { succeeded = configureElement(element, label) && succeeded; });
    return succeeded;
}

}  // namespace

bool configureCaptureMixers() noexcept {
    bool succeeded = true;
    int card = -1;
    while (snd_card_next(&card) == 0 && card >= 0)
        contain([&] { succeeded = configureCard(card) && succeeded; });
    return succeeded;
}
