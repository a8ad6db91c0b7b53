// The capture side of a mixer element, as the module reads it before it sets anything. The host's
// doctor reads it the same way. The functions may be called on any thread and keep no state.
#pragma once

#include <alsa/asoundlib.h>

#include <string>

struct CaptureElement {
    long minimum = 0;  // the volume's range, in the driver's steps
    long maximum = 0;
    long volume = 0;
    int left = 0;  // switches; 1 is on
    int right = 0;
    // ALSA's return values of the queries; a negative one is an error.
    int rangeError = 0;
    int volumeError = 0;
    int leftError = 0;
    int rightError = 0;

    bool isRead() const {
        return rangeError >= 0 && volumeError >= 0 && leftError >= 0 && rightError >= 0;
    }
    bool isOn() const { return left == 1 && right == 1; }
};

// Returns a label such as "mixer 0 [Capture]"; an element without a name gets "[NONAME]".
std::string labelOf(snd_mixer_elem_t* element);
// Returns whether the module reads and sets the element: it must have a name and a capture switch.
bool isCaptureElement(snd_mixer_elem_t* element);
// Makes all queries, also after one has failed.
CaptureElement readCapture(snd_mixer_elem_t* element);
