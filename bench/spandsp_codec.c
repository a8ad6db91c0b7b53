#include "bench/spandsp_codec.h"

#include <spandsp/telephony.h>
/* The next headers need it. */
#include <spandsp/bit_operations.h>
#include <spandsp/g711.h>

void spandspEncode(uint8_t* codes, const int16_t* samples, size_t count) {
    for (size_t i = 0; i < count; ++i)
        codes[i] = linear_to_ulaw(samples[i]);
}

void spandspDecode(int16_t* samples, const uint8_t* codes, size_t count) {
    for (size_t i = 0; i < count; ++i)
        samples[i] = ulaw_to_linear(codes[i]);
}
