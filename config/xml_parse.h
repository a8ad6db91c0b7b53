// Parses XML texts from outside. The module hands text to TinyXML in no other place.
#pragma once

#include <tinyxml.h>

#include <string>

#include "config/xml_bounds.h"

// Fills `document` from `text`, up to its first error. Returns true when the text is well-formed to
// its end. Before it parses, it removes the elements beyond the bounds from `text`, and pads it
// as a second guard: TinyXML would read behind a text that ends inside a character. Any thread;
// throws std::bad_alloc.
//
// The text is converted to UTF-8 first and read as UTF-8, whatever encoding it declares. Documents
// are saved as UTF-8: a byte of another encoding in a name, even one made from "&#xE9;", would make
// the settings file unreadable.
bool parseXml(TiXmlDocument& document, std::string& text, const XmlBounds& bounds = {});
