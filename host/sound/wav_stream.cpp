#include "host/sound/wav_stream.h"

#include <cstdint>

#include "host/session/sound_format.h"

namespace {

constexpr uint32_t UnknownLength = 0xFFFFFFFF;
constexpr uint16_t MuLaw = 7;

template <typename Number>
void append(std::string& bytes, Number number) {
    for (size_t i = 0; i < sizeof number; ++i)
        bytes += static_cast<char>(number >> 8 * i & 0xFF);
}

}  // namespace

std::string wavStreamHeader() {
    std::string header = "RIFF";
    append<uint32_t>(header, UnknownLength);
    header += "WAVEfmt ";
    append<uint32_t>(header, 18);  // bytes of what follows
    append<uint16_t>(header, MuLaw);
    append<uint16_t>(header, 1);  // channel
    append<uint32_t>(header, SampleRate);
    append<uint32_t>(header, SampleRate);  // bytes a second
    append<uint16_t>(header, 1);           // byte a sample
    append<uint16_t>(header, 8);           // bits a sample
    append<uint16_t>(header, 0);           // bytes that extend this
    header += "data";
    append<uint32_t>(header, UnknownLength);
    return header;
}
