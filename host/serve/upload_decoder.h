// Decodes the sound that a client sends, piece by piece, into mu-law codes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// The sound cannot be decoded. The text is a sentence for the client.
struct UploadError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class UploadType {
    None,  // not supported
    Raw,   // mu-law codes, 8000 a second
    Wav,   // a WAV file of mu-law or of 16-bit samples, mono, 8000 Hz, also without a known length
};
UploadType uploadTypeOf(std::string_view contentType);

class UploadDecoder {
  public:
    explicit UploadDecoder(UploadType type) : isRaw_(type == UploadType::Raw) {}

    // Appends the codes of the next bytes. Throws UploadError when they are not of the type.
    void take(std::span<const uint8_t> bytes, std::vector<uint8_t>& codes);
    // Call at the end of the bytes. Throws UploadError when the sound has not begun by then.
    void end() const;

  private:
    enum class Place { FileHead, ChunkHead, Format, Skipped, Sound, AfterSound };
    bool collect(std::span<const uint8_t>& bytes, size_t count);
    void takeSome(std::span<const uint8_t>& bytes, std::vector<uint8_t>& codes);
    void readFileHead();
    void readChunkHead();
    void readFormat();
    void takeSound(std::span<const uint8_t> bytes, std::vector<uint8_t>& codes);

    const bool isRaw_;
    Place place_ = Place::FileHead;
    std::vector<uint8_t> collected_;  // the bytes of a header or a sample that is not complete yet
    uint64_t left_ = 0;               // bytes of this chunk
    bool hasFormat_ = false;
    bool isLinear_ = false;
};
