#include "base/utf8.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace {

uint8_t byteAt(std::string_view text, size_t at) {
    return at < text.size() ? static_cast<uint8_t>(text[at]) : uint8_t{0};
}

// Returns the length in bytes of the UTF-8 character that begins at `at`, or 0 when the bytes are
// not UTF-8. Overlong forms, surrogates and values beyond U+10FFFF count as not UTF-8.
size_t characterLength(std::string_view text, size_t at) {
    const uint8_t lead = byteAt(text, at);
    if (lead < 0x80)
        return 1;
    if (lead < 0xC2 || lead > 0xF4)
        return 0;
    const size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    for (size_t i = 1; i < length; ++i)
        if ((byteAt(text, at + i) & 0xC0) != 0x80)
            return 0;
    const uint8_t second = byteAt(text, at + 1);
    const bool isForbidden = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                             (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
    return isForbidden ? 0 : length;
}

}  // namespace

void makeUtf8(std::string& text) {
    std::string made;
    size_t copied = 0;
    for (size_t at = 0; at < text.size();) {
        const size_t length = characterLength(text, at);
        if (length == 0) {
            const uint8_t latin1 = byteAt(text, at);
            made.append(text, copied, at - copied);
            made += static_cast<char>(0xC0 | latin1 >> 6);
            made += static_cast<char>(0x80 | (latin1 & 0x3F));
            copied = at + 1;
        }
        at += length == 0 ? 1 : length;
    }
    if (copied != 0)
        text = made.append(text, copied);
}
