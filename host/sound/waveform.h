// The envelope of a sound over time, from which it is drawn. Its memory is limited, whatever the
// sound's length.
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

    // Adds the samples that `other` stands for to `bucket`.
    static void include(Bucket& bucket, const Bucket& other);

    // Adds mu-law codes, the first of them `position` samples after the beginning (not negative).
    void add(int64_t position, std::span<const uint8_t> codes);

    const std::vector<Bucket>& buckets() const { return buckets_; }
    // Returns the number of samples that a bucket stands for.
    int64_t bucketWidth() const { return width_; }

  private:
    void halve();

    std::vector<Bucket> buckets_;
    int64_t width_ = 64;
};
