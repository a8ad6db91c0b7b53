#include "plugin/document.h"

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
