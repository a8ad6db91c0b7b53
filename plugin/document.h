// The envelope of every document that the module writes.
#pragma once

#include <tinyxml.h>

#include <string>

// A new element at the end of `parent`, which owns it. Where it belongs from the start: TinyXML's
// InsertEndChild would copy it with all that is in it. Throws std::bad_alloc.
TiXmlElement& addElement(TiXmlNode& parent, const char* name);

// Begins an empty document with <?xml ?><Varo> and answers that root; with `delta`, it says
// Delta="0": the whole, not a difference. Throws std::bad_alloc.
TiXmlElement& beginDocument(TiXmlDocument& document, bool delta);

// The text of a document as it leaves the module, always valid UTF-8: for the host without
// indentation, for a file with it. Any thread; throws std::bad_alloc.
enum class Layout { Compact, Indented };
std::string printDocument(const TiXmlDocument& document, Layout layout);
