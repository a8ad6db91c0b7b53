// TinyXML's own tree of a whole text against what the module makes of the text.
#pragma once

#include <gtest/gtest.h>

#include "base/utf8.h"
#include "config/xml_parse.h"
#include "plugin/document.h"

// Takes out the elements beyond the bounds, and empty comments; answers how many elements it took.
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

// Answers how many elements were left out of a text that is well-formed.
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
    // With one node a line: texts that have grown together show.
    EXPECT_EQ(printDocument(used, Layout::Indented), printDocument(whole, Layout::Indented))
        << text;
    return isWellFormed ? pruned : 0;
}
