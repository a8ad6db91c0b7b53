// The outline of a sound over time, in memory that does not grow with its length: what one needs to
// draw it.
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

    static void include(Bucket& bucket, const Bucket& other);

    // Mu-law codes, the first of them so many samples after the beginning; never before it.
    void add(int64_t position, std::span<const uint8_t> codes);

    const std::vector<Bucket>& buckets() const { return buckets_; }
    // Samples that a bucket stands for.
    int64_t bucketWidth() const { return width_; }

  private:
    void halve();

    std::vector<Bucket> buckets_;
    int64_t width_ = 64;
};
