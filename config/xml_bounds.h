// How much of an XML text can be parsed without harm.
//
// TinyXML recurses for every level of nesting (225 bytes of stack each, so 1,134 levels are the end
// of a 256 KiB stack) and compares every attribute of an element with all others of it. Texts come
// from outside, and what is parsed here is cloned, saved and parsed again at the next start: a
// document that could do harm must not reach the parser at all.
#pragma once

#include <cstddef>
#include <string>

struct XmlBounds {
    size_t levels = 64;      // of elements; real documents have 7
    size_t attributes = 64;  // of one element; real ones have 6
};

// The length of the longest beginning of `text` in which no element is nested deeper and none has
// more attributes: up to the first "<" of an element that does, else up to the first zero byte or
// the end. Reads the text, which is UTF-8, as TinyXML does, in linear time and without recursion.
// Any thread; throws std::bad_alloc.
size_t harmlessLength(const std::string& text, const XmlBounds& bounds = {});
