// Builds and prints the documents that the module writes.
#pragma once

#include <tinyxml.h>

#include <string>

// Appends an empty element to `parent`, which owns it, and returns it. Documents are built from the
// top down with this, because TinyXML's InsertEndChild copies its argument with all that is in it.
// Throws std::bad_alloc.
TiXmlElement& addElement(TiXmlNode& parent, const char* name);

// Begins an empty document with <?xml ?><Varo> and returns that root element. With `delta` the root
// has Delta="0", which tells the host that the document is complete. Throws std::bad_alloc.
TiXmlElement& beginDocument(TiXmlDocument& document, bool delta);

// Returns the text of a document as it leaves the module: valid UTF-8, compact for the host,
// indented for a file. Any thread; throws std::bad_alloc.
enum class Layout { Compact, Indented };
std::string printDocument(const TiXmlDocument& document, Layout layout);
