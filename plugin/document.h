// The envelope of every document that the module writes.
#pragma once

#include <tinyxml.h>

#include <string>

// <?xml ?><Varo>`content`</Varo>; with `delta`, the root says Delta="0": the whole, not a
// difference.
TiXmlDocument makeDocument(const TiXmlElement& content, bool delta);

// The text of a document as it leaves the module, always valid UTF-8: for the host without
// indentation, for a file with it. Any thread; throws std::bad_alloc.
enum class Layout { Compact, Indented };
std::string printDocument(const TiXmlDocument& document, Layout layout);
