// Parsing texts from outside: the only way the module hands text to TinyXML.
#pragma once

#include <tinyxml.h>

#include <string>

#include "config/xml_bounds.h"

// Fills `document` from `text`, as far as it is well-formed, without the elements beyond the
// bounds. True when the text is well-formed to its end. They are taken out of the text, and it is
// padded: TinyXML looks behind a text that ends inside a character. Any thread; throws
// std::bad_alloc.
//
// The text is read as UTF-8 whatever it declares (nothing, mostly), and made UTF-8 before. What is
// read here is written again as UTF-8: a name taken over from an "&#xE9;" or a byte of another
// encoding would make the settings file unreadable.
bool parseXml(TiXmlDocument& document, std::string& text, const XmlBounds& bounds = {});
