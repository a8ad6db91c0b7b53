// Asks a sound device whether it can be opened, without PortAudio, whose failed opens are
// dangerous.
#pragma once

#include <portaudio.h>

#include "audio/open_retry.h"

// Opens the device in one direction without blocking, and closes it again. Only ALSA can be asked;
// devices of other host APIs, and an ALSA library without the PCM functions, answer CannotTell.
// Writes nothing to stderr. Worker thread, no lock held; may wait as long as PortAudio's own open
// would, for example for a sound server that hangs.
DeviceAnswer askDevice(PaDeviceIndex device, bool isInput) noexcept;
