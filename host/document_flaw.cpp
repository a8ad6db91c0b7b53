#include "host/document_flaw.h"

#include <cstring>

#include "config/xml_bounds.h"
#include "config/xml_parse.h"

std::string parseAsModule(TiXmlDocument& document, std::string text) {
    constexpr XmlBounds Bounds;
    if (harmlessLength(text, Bounds) < std::strlen(text.c_str()))
        return "an element is nested deeper than " + std::to_string(Bounds.levels) +
               " levels or has more than " + std::to_string(Bounds.attributes) + " attributes";
    if (!parseXml(document, text))
        return "line " + std::to_string(document.ErrorRow()) + ": " + document.ErrorDesc();
    return "";
}
