// The rules of a stream's callback thread, and the marker of what runs there.
//
// A function marked RT_SAFE may
//   - try a lock, and go on without it when another thread holds it;
//   - read and write atomic values;
//   - copy samples;
//   - allocate one block for a captured buffer, and free that block again when its queue is busy.
// It must never
//   - wait for a lock, another thread, a file or a device;
//   - log, or call the host in any other way;
//   - allocate or free anything else;
//   - throw.
#pragma once

// Stands where noexcept would stand.
#define RT_SAFE noexcept
