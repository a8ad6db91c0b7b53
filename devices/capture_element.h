// The capture side of a mixer element, as the module reads it before it sets anything. The host's
// doctor reads it the same way. Any thread; keeps nothing.
#pragma once

#include <alsa/asoundlib.h>

#include <string>

struct CaptureElement {
    long minimum = 0;  // the volume's range, in the driver's steps
    long maximum = 0;
    long volume = 0;
    int left = 0;  // switches; 1 is on
    int right = 0;
    // What ALSA answered to the queries; negative when one failed.
    int rangeError = 0;
    int volumeError = 0;
    int leftError = 0;
    int rightError = 0;

    bool isRead() const {
        return rangeError >= 0 && volumeError >= 0 && leftError >= 0 && rightError >= 0;
    }
    bool isOn() const { return left == 1 && right == 1; }
};

// "mixer 0 [Capture]", or "[NONAME]" for an element without a name.
std::string labelOf(snd_mixer_elem_t* element);
// Whether the module reads and sets the element: it has a name and a capture switch.
bool isCaptureElement(snd_mixer_elem_t* element);
// Makes all queries, also after one has failed.
CaptureElement readCapture(snd_mixer_elem_t* element);
