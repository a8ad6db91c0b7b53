// Parses XML texts from outside. The module hands text to TinyXML in no other place.
#pragma once

#include <tinyxml.h>

#include <string>

#include "config/xml_bounds.h"

// Fills `document` from `text`, up to its first error. Returns true when there was none. Changes
// `text` before: elements beyond the bounds are removed from it, and it is padded, because TinyXML
// reads behind a text that ends inside a character. Any thread; throws std::bad_alloc.
//
// The text is converted to UTF-8 first and read as UTF-8, whatever encoding it declares. Documents
// are saved as UTF-8, so one byte of another encoding in a name would make the settings file
// unreadable.
bool parseXml(TiXmlDocument& document, std::string& text, const XmlBounds& bounds = {});
