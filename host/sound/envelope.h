// The envelope of a sound over time, from which the sound is drawn. Its memory is limited, whatever
// the sound's length.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

class Envelope {
  public:
    struct Bucket {
        int16_t low = 0;
        int16_t high = 0;
        uint32_t samples = 0;
        double squares = 0;  // sum of the samples' squares
    };

    // Adds to `bucket` the samples that `other` stands for.
    static void include(Bucket& bucket, const Bucket& other);

    // Adds mu-law codes. The first lies `position` (at least 0) samples after the beginning.
    void add(int64_t position, std::span<const uint8_t> codes);

    const std::vector<Bucket>& buckets() const { return buckets_; }
    // Returns the number of samples that a bucket stands for.
    int64_t bucketWidth() const { return width_; }

  private:
    void halve();

    std::vector<Bucket> buckets_;
    int64_t width_ = 64;
};
