// What hinders the module from reading an XML text.
#pragma once

#include <tinyxml.h>

#include <string>

// Fills `document` as the module would. Answers why it would not read all of the text; empty when
// it would.
std::string parseAsModule(TiXmlDocument& document, std::string text);
