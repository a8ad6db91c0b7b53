#include "host/sound/clip_search.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <sndfile.hh>
#include <stdexcept>

#include "audio/ulaw.h"
#include "host/session/sound_format.h"

namespace {

std::vector<float> decode(std::span<const uint8_t> codes) {
    std::vector<float> sound;
    sound.reserve(codes.size());
    for (const uint8_t code : codes)
        sound.push_back(static_cast<float>(ulawToLinear(code)));
    return sound;
}

double dot(std::span<const float> a, std::span<const float> b) {
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0F);
}

}  // namespace

ClipFound findClip(std::span<const uint8_t> clip, std::span<const uint8_t> recording,
                   const OnProgress& onProgress) {
    const size_t length = std::min<size_t>(clip.size(), SampleRate);
    const size_t offset = (clip.size() - length) / 2;
    const std::vector<float> wanted = decode(clip.subspan(offset, length));
    const std::vector<float> heard = decode(recording);
    const double wantedEnergy = dot(wanted, wanted);
    ClipFound best;
    for (size_t at = 0; at + length <= heard.size(); ++at) {
        const std::span<const float> window(heard.data() + at, length);
        if (at % 1024 == 0)
            onProgress(static_cast<double>(at) / static_cast<double>(heard.size()));
        const double energy = dot(window, window);
        const double correlation = energy > 0 && wantedEnergy > 0
                                       ? dot(wanted, window) / std::sqrt(energy * wantedEnergy)
                                       : 0;
        if (correlation > best.correlation)
            best = {correlation,
                    (static_cast<double>(at) - static_cast<double>(offset)) / SampleRate};
    }
    return best;
}

std::vector<uint8_t> readCodes(const std::filesystem::path& file) {
    SndfileHandle handle(file.string());
    if (handle.error() != SF_ERR_NO_ERROR)
        throw std::runtime_error("cannot read " + file.string() + ": " + handle.strError());
    std::vector<uint8_t> codes(static_cast<size_t>(handle.frames()));
    handle.readRaw(codes.data(), static_cast<sf_count_t>(codes.size()));
    return codes;
}
