// Asks ALSA whether a sound device can be opened. PortAudio is not asked, because an open that
// fails there is dangerous (see audio/open_retry.h).
#pragma once

#include <portaudio.h>

#include "audio/open_retry.h"

// Opens the device in one direction with ALSA's non-blocking mode and closes it again. Returns
// CannotTell for a device of another host API, and when the ALSA library lacks a function it needs.
// Writes nothing to stderr. Worker thread, no lock held. May still wait as long as PortAudio's own
// open would, for example for a sound server that hangs.
DeviceAnswer askDevice(PaDeviceIndex device, bool isInput) noexcept;
