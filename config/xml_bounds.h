// Finds the elements of an XML text that could harm the parser, and removes them from the text.
//
// TinyXML recurses for every level of nesting (225 bytes of stack each, so a stack of 256 KiB ends
// after 1,134 levels) and compares every attribute of an element with all others of it. Texts come
// from outside, and what is parsed here is cloned, saved and parsed again at the next start. An
// element that could do harm must therefore not reach the parser at all.
//
// The module saves what it keeps of a document at the same depth. What was within the bounds on
// arrival is therefore within them at the next start.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct XmlBounds {
    size_t levels = 256;       // nested elements; real documents have 7
    size_t attributes = 1000;  // in one element; real documents have at most 6
};

// Where an element beyond the bounds stands in the text, its content included. Offsets are in
// bytes.
struct Excess {
    static constexpr size_t NeverEnds = std::string::npos;
    size_t begin;       // of its "<"
    size_t end;         // behind its last ">"; NeverEnds when the parser would give up within it
    bool isTooDeep;     // true: nested too deeply; false: too many attributes
    bool isBehindText;  // text stands directly before it
};

// Returns the elements of `text` beyond the bounds in document order. Elements inside one of them
// are not listed. Reads the text, which is UTF-8, as TinyXML does: up to the first zero byte or to
// where the parser would give up. Does not recurse. Takes time in proportion to the text's length
// (n log n for the attributes of one element). Any thread; throws std::bad_alloc.
std::vector<Excess> excessIn(const std::string& text, const XmlBounds& bounds = {});

// Removes the elements that excessIn found from `text`, and all that follows one that never ends.
// Keeps line ends, so that lines keep their numbers. An empty comment replaces an element that
// directly follows text, to keep that text apart from text behind. Any thread; throws
// std::bad_alloc.
void leaveOut(const std::vector<Excess>& excess, std::string& text);
