// Parses XML texts from outside. The module hands text to TinyXML in no other place.
#pragma once

#include <tinyxml.h>

#include <string>

#include "config/xml_bounds.h"

// Fills `document` from `text`, up to its first error. Returns true when the text is well-formed to
// its end. Before it parses, it converts `text` to UTF-8, removes the elements beyond the bounds
// and pads it with zeros, because TinyXML would read behind a text that ends inside a character.
// The text is read as UTF-8, whatever encoding it declares, because documents are saved as UTF-8.
// Any thread; throws std::bad_alloc.
bool parseXml(TiXmlDocument& document, std::string& text, const XmlBounds& bounds = {});
