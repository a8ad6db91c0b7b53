// The capture side of the machine's ALSA mixers.
#pragma once

// Walks all sound cards: switches on each capture switch that is off, sets each capture volume of
// zero to (maximum - minimum) / 2 + 1, and logs what each capture source selector is connected to.
// Returns false when a capture switch or volume could not be read or set; all others are set
// nevertheless. An element that runs out of memory is skipped and does not count as a failure.
// Worker thread.
bool configureCaptureMixers() noexcept;
