// Compares TinyXML's own tree of a whole text with what the module's parser makes of the text.
#pragma once

#include <gtest/gtest.h>

#include "base/utf8.h"
#include "config/xml_parse.h"
#include "plugin/document.h"

// Removes elements beyond the bounds and empty comments. Returns the number of elements removed.
inline size_t prune(TiXmlNode& parent, const XmlBounds& bounds, size_t level = 0) {
    size_t pruned = 0;
    TiXmlNode* next = nullptr;
    for (TiXmlNode* node = parent.FirstChild(); node != nullptr; node = next) {
        next = node->NextSibling();
        const TiXmlElement* element = node->ToElement();
        size_t attributes = 0;
        if (element != nullptr)
            for (const auto* a = element->FirstAttribute(); a != nullptr; a = a->Next())
                ++attributes;
        const bool isBeyond =
            element != nullptr && (level == bounds.levels || attributes > bounds.attributes);
        pruned += isBeyond ? 1 : prune(*node, bounds, level + 1);
        if (isBeyond || (node->ToComment() != nullptr && node->ValueStr().empty()))
            parent.RemoveChild(node);
    }
    return pruned;
}

// Returns how many elements were left out; 0 when the text is not well-formed.
inline size_t expectPrunedTree(std::string text, const XmlBounds& bounds) {
    makeUtf8(text);
    TiXmlDocument used;
    std::string copy = text;
    const bool isWellFormed = parseXml(used, copy, bounds);
    TiXmlDocument whole;
    whole.Parse(text.append(8, '\0').c_str(), nullptr, TIXML_ENCODING_UTF8);
    EXPECT_EQ(isWellFormed, !whole.Error() && !used.NoChildren()) << text;
    const size_t pruned = prune(whole, bounds);
    prune(used, {SIZE_MAX, SIZE_MAX});
    // Printed with one node in each line, so that texts that were merged show.
    EXPECT_EQ(printDocument(used, Layout::Indented), printDocument(whole, Layout::Indented))
        << text;
    return isWellFormed ? pruned : 0;
}
