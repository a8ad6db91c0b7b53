#include "plugin/document.h"

#include <memory>

#include "base/utf8.h"

TiXmlElement& addElement(TiXmlNode& parent, const char* name) {
    auto element = std::make_unique<TiXmlElement>(name);
    return *parent.LinkEndChild(element.release())->ToElement();
}

TiXmlElement& beginDocument(TiXmlDocument& document, bool isComplete) {
    document.LinkEndChild(std::make_unique<TiXmlDeclaration>().release());
    TiXmlElement& root = addElement(document, "Varo");
    if (isComplete)
        root.SetAttribute("Delta", 0);
    return root;
}

std::string printDocument(const TiXmlDocument& document, Layout layout) {
    TiXmlPrinter printer;
    if (layout == Layout::Compact)
        printer.SetStreamPrinting();
    document.Accept(&printer);
    std::string text = printer.Str();
    makeUtf8(text);  // TinyXML expands entities such as "&#xD800;" to bytes that are not UTF-8
    return text;
}
