#include "config/schedule.h"

namespace {

// What follows a node and all that is in it, below `top`; null at the end.
TiXmlNode* nodeAfter(TiXmlNode* node, const TiXmlNode* top) {
    while (node != top && node->NextSibling() == nullptr)
        node = node->Parent();
    return node == top ? nullptr : node->NextSibling();
}

// An empty comment takes its place, so that the texts around it stay apart.
void blankDeclarations(TiXmlNode& top) {
    TiXmlNode* next = nullptr;
    for (TiXmlNode* node = top.FirstChild(); node != nullptr; node = next) {
        next = node->FirstChild() != nullptr ? node->FirstChild() : nodeAfter(node, &top);
        if (node->ToDeclaration() != nullptr)
            node->Parent()->ReplaceChild(node, TiXmlComment());
    }
}

}  // namespace

std::unique_ptr<TiXmlElement> keptSchedule(const TiXmlElement& schedule) {
    std::unique_ptr<TiXmlElement> kept(schedule.Clone()->ToElement());
    blankDeclarations(*kept);
    return kept;
}
