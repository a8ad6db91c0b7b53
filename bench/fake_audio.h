// A PortAudio that calls nobody back: the benchmark plays the callback's thread. It has as many
// devices as the benchmark says, all named "default", and no sound cards.
#pragma once

#include <portaudio.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <vector>

struct FakeStream {
    PaStreamCallback* callback;
    void* channel;  // the callback's userData
    bool isInput;

    void capture(const int16_t* samples, unsigned long count) const {
        callback(samples, nullptr, count, nullptr, 0, channel);
    }
    void play(int16_t* samples, unsigned long count) const {
        callback(nullptr, samples, count, nullptr, 0, channel);
    }
};

// Set before the module runs; the worker's thread writes the streams.
struct FakeAudio {
    int inputs = 0;                        // devices with an input only; they come first
    int outputs = 0;                       // devices with an output only
    std::chrono::milliseconds opening{0};  // how long a stream takes to open
    std::vector<FakeStream*> streams;      // those that are open, in the order of their opening
    std::atomic<int> opened = 0;           // how often; any thread
    std::atomic<int> closed = 0;
};
inline FakeAudio fakeAudio;
