// Builds and prints the documents that the module writes.
#pragma once

#include <tinyxml.h>

#include <string>

// Appends an empty element to `parent`, which owns it, and returns it. Build documents from the top
// down with this function: TinyXML's InsertEndChild makes a deep copy of its argument.
// Throws std::bad_alloc.
TiXmlElement& addElement(TiXmlNode& parent, const char* name);

// Writes <?xml ?><Varo> into the empty document and returns that root element. `isComplete` adds
// Delta="0": true for all documents but the status. Throws std::bad_alloc.
TiXmlElement& beginDocument(TiXmlDocument& document, bool isComplete);

// Compact has no white space between elements and is for the host, Indented is for files.
enum class Layout { Compact, Indented };

// Returns the document's text as valid UTF-8. Any thread; throws std::bad_alloc.
std::string printDocument(const TiXmlDocument& document, Layout layout);
