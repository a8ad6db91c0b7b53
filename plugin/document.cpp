#include "plugin/document.h"

#include "plugin/utf8.h"

TiXmlDocument makeDocument(const TiXmlElement& content, bool delta) {
    TiXmlElement root("Varo");
    if (delta)
        root.SetAttribute("Delta", 0);
    root.InsertEndChild(content);
    TiXmlDocument document;
    document.InsertEndChild(TiXmlDeclaration());
    document.InsertEndChild(root);
    return document;
}

std::string printDocument(const TiXmlDocument& document, Layout layout) {
    TiXmlPrinter printer;
    if (layout == Layout::Compact)
        printer.SetStreamPrinting();
    document.Accept(&printer);
    std::string text = printer.Str();
    makeUtf8(text);  // TinyXML makes characters that there are not of entities such as "&#xD800;"
    return text;
}
