#include "host/session/sound_format.h"

#include <algorithm>
#include <cstdlib>

#include "audio/ulaw.h"

double peakOf(std::span<const uint8_t> codes) {
    constexpr double FullScale = 32768;
    int peak = 0;
    for (const uint8_t code : codes)
        peak = std::max(peak, std::abs(int{ulawToLinear(code)}));
    return peak / FullScale;
}
