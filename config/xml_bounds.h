// Which elements of an XML text could harm the parser, and the text without them.
//
// TinyXML recurses for every level of nesting (225 bytes of stack each, so 1,134 levels are the end
// of a 256 KiB stack) and compares every attribute of an element with all others of it. Texts come
// from outside, and what is parsed here is cloned, saved and parsed again at the next start: an
// element that could do harm must not reach the parser at all.
//
// What the module keeps of a document stands at the same level when it is saved, so what was within
// the bounds when it came is within them at the next start.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct XmlBounds {
    size_t levels = 256;       // of elements; real documents have 7
    size_t attributes = 1000;  // of one element; real ones have 6
};

// An element beyond the bounds, with everything in it. Offsets are in bytes.
struct Excess {
    static constexpr size_t NeverEnds = std::string::npos;
    size_t begin;       // of its "<"
    size_t end;         // behind its last ">"; NeverEnds when the parser would give up within it
    bool isTooDeep;     // else it has too many attributes
    bool isBehindText;  // with nothing between
};

// The elements of `text` that are nested deeper or have more attributes, in their order; those
// within another are not listed. Reads the text, which is UTF-8, up to the first zero byte, as
// TinyXML does, and ends where the parser would give up. Does not recurse, and takes time in
// proportion to the text (to n log n of the attributes of one element). Any thread; throws
// std::bad_alloc.
std::vector<Excess> excessIn(const std::string& text, const XmlBounds& bounds = {});

// Takes out of `text` what was found in it; of an element that never ends, the rest of the text.
// The lines keep their numbers. Behind a text an empty comment takes the element's place, so that
// what follows does not become part of that text. Any thread; throws std::bad_alloc.
void leaveOut(const std::vector<Excess>& excess, std::string& text);
