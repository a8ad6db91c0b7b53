// WAV files as clients send them: the same sound, or the same refusal, however they are cut.
#include <cstdlib>

#include "host/serve/upload_decoder.h"

namespace {

struct Outcome {
    std::vector<uint8_t> codes;
    bool isRefused = false;
    bool operator==(const Outcome&) const = default;
};

Outcome decode(std::span<const uint8_t> bytes, size_t step) {
    Outcome outcome;
    UploadDecoder decoder(UploadType::Wav);
    try {
        for (; !bytes.empty(); bytes = bytes.subspan(std::min(step, bytes.size())))
            decoder.take(bytes.first(std::min(step, bytes.size())), outcome.codes);
        decoder.end();
    } catch (const UploadError&) {
        outcome.isRefused = true;
    }
    return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::span<const uint8_t> bytes(data, size);
    if (!(decode(bytes, size) == decode(bytes, 1)) || !(decode(bytes, size) == decode(bytes, 7)))
        std::abort();
    return 0;
}
