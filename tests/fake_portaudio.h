// A PortAudio that calls nobody back. A test or benchmark gives it devices and errors, and calls
// the callbacks itself.
#pragma once

#include <portaudio.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

struct FakeStream {
    PaStreamCallback* callback;
    void* userData;
    bool isInput;
    PaError active = 1;  // what Pa_IsStreamActive answers; paBadStreamPtr once closed

    int capture(std::span<const int16_t> samples) const {
        return callback(samples.data(), nullptr, samples.size(), nullptr, 0, userData);
    }
    // Fills the sound with what is played.
    int play(std::span<int16_t> sound) const {
        return callback(nullptr, sound.data(), sound.size(), nullptr, 0, userData);
    }
};

// The name of a device of which PortAudio gives no information.
inline constexpr char WithoutInfo[] = "without info";

struct FakePortAudio {
    std::vector<PaHostApiInfo> hostApis;
    PaHostApiIndex defaultHostApi = 0;
    std::vector<PaDeviceInfo> devices;
    int deviceCountError = 0;
    std::map<std::pair<int, bool>, PaError> formatErrors;  // by device and whether it is an input
    PaError initialize = paNoError;
    PaError openResult = paNoError;
    PaError startResult = paNoError;
    PaStreamInfo streamInfo{1, 0.0, 0.0, 8000};
    std::deque<FakeStream> streams;  // every stream ever opened; its address is its handle
    std::vector<FakeStream*> open;   // those not closed, in the order of their opening
    std::string wrongCalls;
    std::function<void(FakeStream&)> whileStarting = [](FakeStream&) {};
    std::function<void(FakeStream&)> whileClosing = [](FakeStream&) {};

    // Adds a device on host API 0, with both directions unless said otherwise.
    void addDevice(const char* name, int inputs = 1, int outputs = 1) {
        devices.push_back({2, name, 0, inputs, outputs, 0.01, 0.02, 0.1, 0.1, 44100});
    }
};
inline FakePortAudio fakePortAudio;
