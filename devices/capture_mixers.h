// The capture side of the machine's ALSA mixers.
#pragma once

// On every sound card switches on each capture switch that is off, raises each capture volume that
// stands at zero to half of its range, and logs what each capture source selector is connected to.
// False when a capture element could not be read or set; the walk goes on nevertheless. Worker
// thread; keeps nothing between calls. What memory is too short for has not failed.
bool configureCaptureMixers() noexcept;
