#include "host/serve/upload_decoder.h"

#include <algorithm>

#include "audio/ulaw.h"

namespace {

constexpr size_t FileHeadBytes = 12;
constexpr size_t ChunkHeadBytes = 8;
constexpr size_t FormatBytes = 16;
constexpr size_t MostFormatBytes = 64;
constexpr uint64_t Endless = UINT64_MAX;

constexpr unsigned MuLawTag = 7;
constexpr unsigned LinearTag = 1;

uint32_t number(std::span<const uint8_t> bytes) {
    uint32_t value = 0;
    for (size_t i = bytes.size(); i > 0; --i)
        value = value << 8U | bytes[i - 1];
    return value;
}

bool is(std::span<const uint8_t> bytes, std::string_view tag) {
    return std::ranges::equal(bytes, tag,
                              [](uint8_t a, char b) { return a == static_cast<uint8_t>(b); });
}

}  // namespace

UploadType uploadTypeOf(std::string_view contentType) {
    constexpr std::string_view Raw[] = {"audio/basic", "audio/x-mulaw", "audio/pcmu",
                                        "application/octet-stream"};
    constexpr std::string_view Wav[] = {"audio/wav", "audio/x-wav", "audio/wave", "audio/vnd.wave"};
    if (std::ranges::find(Raw, contentType) != std::end(Raw))
        return UploadType::Raw;
    return std::ranges::find(Wav, contentType) != std::end(Wav) ? UploadType::Wav
                                                                : UploadType::None;
}

void UploadDecoder::take(std::span<const uint8_t> bytes, std::vector<uint8_t>& codes) {
    if (isRaw_) {
        codes.insert(codes.end(), bytes.begin(), bytes.end());
        return;
    }
    while (!bytes.empty() && place_ != Place::AfterSound)
        takeSome(bytes, codes);
}

// Takes the bytes that belong to the current place in the file.
void UploadDecoder::takeSome(std::span<const uint8_t>& bytes, std::vector<uint8_t>& codes) {
    switch (place_) {
        case Place::FileHead:
            if (collect(bytes, FileHeadBytes))
                readFileHead();
            break;
        case Place::ChunkHead:
            if (collect(bytes, ChunkHeadBytes))
                readChunkHead();
            break;
        case Place::Format:
            if (collect(bytes, static_cast<size_t>(left_)))
                readFormat();
            break;
        default: {
            const auto count = static_cast<size_t>(std::min<uint64_t>(left_, bytes.size()));
            if (place_ == Place::Sound)
                takeSound(bytes.first(count), codes);
            bytes = bytes.subspan(count);
            left_ -= left_ == Endless ? 0 : count;
            if (left_ == 0)
                place_ = place_ == Place::Sound ? Place::AfterSound : Place::ChunkHead;
        }
    }
}

void UploadDecoder::end() const {
    if (!isRaw_ && place_ != Place::Sound && place_ != Place::AfterSound)
        throw UploadError("The WAV file ends before its sound.");
}

// Collects bytes. Returns true when it has `count` of them.
bool UploadDecoder::collect(std::span<const uint8_t>& bytes, size_t count) {
    const size_t some = std::min(count - collected_.size(), bytes.size());
    collected_.insert(collected_.end(), bytes.begin(), bytes.begin() + static_cast<long>(some));
    bytes = bytes.subspan(some);
    return collected_.size() == count;
}

void UploadDecoder::readFileHead() {
    if (!is(std::span(collected_).first(4), "RIFF") ||
        !is(std::span(collected_).subspan(8), "WAVE"))
        throw UploadError("The sound is no WAV file.");
    collected_.clear();
    place_ = Place::ChunkHead;
}

void UploadDecoder::readChunkHead() {
    const std::span<const uint8_t> head(collected_);
    const uint32_t size = number(head.subspan(4));
    const bool isFormat = is(head.first(4), "fmt ");
    const bool isSound = is(head.first(4), "data");
    collected_.clear();
    left_ = uint64_t{size} + size % 2;  // chunks begin at even places
    if (isFormat) {
        if (size < FormatBytes || size > MostFormatBytes)
            throw UploadError("The WAV file's format has a wrong size.");
        place_ = Place::Format;
    } else if (isSound) {
        if (!hasFormat_)
            throw UploadError("The WAV file has no format before its sound.");
        // A program that writes to a pipe does not know the length.
        left_ = size == 0 || size == UINT32_MAX ? Endless : size;
        place_ = Place::Sound;
    } else {
        place_ = left_ == 0 ? Place::ChunkHead : Place::Skipped;
    }
}

void UploadDecoder::readFormat() {
    const std::span<const uint8_t> format(collected_);
    const uint32_t tag = number(format.first(2));
    const uint32_t channels = number(format.subspan(2, 2));
    const uint32_t rate = number(format.subspan(4, 4));
    const uint32_t bits = number(format.subspan(14, 2));
    isLinear_ = tag == LinearTag && bits == 16;
    if (!(isLinear_ || (tag == MuLawTag && bits == 8)) || channels != 1 || rate != 8000)
        throw UploadError("The WAV file must be mu-law or 16-bit PCM, mono, 8000 Hz.");
    collected_.clear();
    hasFormat_ = true;
    place_ = Place::ChunkHead;
}

void UploadDecoder::takeSound(std::span<const uint8_t> bytes, std::vector<uint8_t>& codes) {
    if (!isLinear_) {
        codes.insert(codes.end(), bytes.begin(), bytes.end());
        return;
    }
    for (const uint8_t byte : bytes) {
        collected_.push_back(byte);
        if (collected_.size() == 2) {
            codes.push_back(linearToUlaw(static_cast<int16_t>(number(collected_))));
            collected_.clear();
        }
    }
}
