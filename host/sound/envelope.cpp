#include "host/sound/envelope.h"

#include <algorithm>
#include <utility>

#include "audio/ulaw.h"

namespace {

constexpr size_t MostBuckets = 16384;  // far more than a picture has columns

}  // namespace

void Envelope::include(Bucket& bucket, const Bucket& other) {
    if (other.samples == 0)
        return;
    bucket.low = std::min(bucket.low, other.low);
    bucket.high = std::max(bucket.high, other.high);
    bucket.squares += other.squares;
    bucket.samples += other.samples;
}

void Envelope::add(int64_t position, std::span<const uint8_t> codes) {
    const int64_t end = position + static_cast<int64_t>(codes.size());
    while (end / width_ >= static_cast<int64_t>(MostBuckets))
        halve();
    buckets_.resize(std::max(buckets_.size(), static_cast<size_t>(end / width_ + 1)));
    for (const uint8_t code : codes) {
        const int16_t sample = ulawToLinear(code);
        include(buckets_[static_cast<size_t>(position++ / width_)],
                {sample, sample, 1, static_cast<double>(sample) * sample});
    }
}

// Joins buckets in pairs.
void Envelope::halve() {
    for (size_t i = 0; i < buckets_.size(); ++i) {
        const Bucket bucket = std::exchange(buckets_[i], {});
        include(buckets_[i / 2], bucket);
    }
    buckets_.resize((buckets_.size() + 1) / 2);
    width_ *= 2;
}
