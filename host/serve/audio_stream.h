// Endless streams of captured sound for HTTP clients. All clients of an input share its frames.
//
// All functions run on the main loop's thread.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "host/serve/client_stream.h"
#include "host/serve/hub.h"

// A WAV file without an end, or frames with their times: for each the Unix time of its first
// sample's capture (ms, 8 bytes), the number of codes (4 bytes), both little-endian, and the codes.
enum class AudioFraming { Wav, Timed };

class AudioStreams {
  public:
    // Bytes that may wait for a client (ClientStream): four seconds of sound, and headers.
    static constexpr size_t MostWaiting = size_t{4} * 8000 + 256;
    static constexpr size_t MostClients = 200;

    explicit AudioStreams(Hub& hub);
    ~AudioStreams();
    AudioStreams(const AudioStreams&) = delete;
    AudioStreams& operator=(const AudioStreams&) = delete;

    size_t clients() const;
    // Sends the input's frames to the client from now on, until it leaves.
    void add(int number, AudioFraming framing, const std::shared_ptr<ClientStream>& client);

  private:
    struct Impl;
    const std::shared_ptr<Impl> impl_;
};
