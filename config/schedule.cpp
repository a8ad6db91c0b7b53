#include "config/schedule.h"

#include <cstring>

#include "base/utf8.h"

namespace {

// A node of a schedule and its depth below the schedule's top element.
struct Place {
    const TiXmlNode* node;
    size_t depth;
};

// Returns the place behind the whole subtree of `place`, in document order. Its node is null at the
// end of `top`.
Place afterSubtree(Place place, const TiXmlNode* top) {
    while (place.node != top && place.node->NextSibling() == nullptr)
        place = {place.node->Parent(), place.depth - 1};
    return {place.node == top ? nullptr : place.node->NextSibling(), place.depth};
}

// Returns the next place in document order. Its node is null at the end of `top`.
Place next(const Place& place, const TiXmlNode* top) {
    if (place.node->FirstChild() != nullptr)
        return {place.node->FirstChild(), place.depth + 1};
    return afterSubtree(place, top);
}

// Returns an upper bound of the bytes that printDocument makes of the text.
size_t escapedSize(std::string text) {
    constexpr size_t LongestEntity = 6;  // &quot;
    makeUtf8(text);
    size_t size = 0;
    for (const char c : text)
        size += std::strchr("&<>\"'", c) != nullptr || static_cast<unsigned char>(c) < ' '
                    ? LongestEntity
                    : 1;
    return size;
}

// Returns an upper bound of the node's bytes in a file, without its children.
size_t printedSize(const Place& place) {
    constexpr size_t ScheduleLevel = 5;  // elements around a schedule in the settings file
    constexpr size_t Indentation = 4;    // spaces for each level
    constexpr size_t Punctuation = 16;   // brackets, quotes, line ends
    const size_t line = (ScheduleLevel + place.depth) * Indentation + Punctuation;
    const size_t value = escapedSize(place.node->ValueStr());
    const TiXmlElement* element = place.node->ToElement();
    if (element == nullptr)
        return line + value;
    size_t size = (element->NoChildren() ? 1 : 2) * (line + value);
    for (const TiXmlAttribute* attribute = element->FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next())
        size += escapedSize(attribute->NameTStr()) + escapedSize(attribute->ValueStr()) + 4;
    return size;
}

// Stops counting beyond the bound. A small text with many deeply nested elements can print as
// gigabytes, because each line is indented.
bool isTooLarge(const TiXmlElement& schedule) {
    size_t size = 0;
    for (Place at{&schedule, 0}; at.node != nullptr && size <= LargestSchedule;
         at = next(at, &schedule))
        size += printedSize(at);
    return size > LargestSchedule;
}

// Replaces every declaration below `top` by an empty comment. Removing it would merge the texts
// before and after it.
void blankDeclarations(TiXmlElement& top) {
    for (Place at = next({&top, 0}, &top); at.node != nullptr;) {
        const Place following = next(at, &top);
        if (at.node->ToDeclaration() != nullptr) {
            auto* declaration =
                const_cast<TiXmlNode*>(at.node);  // part of `top`, which is not const
            declaration->Parent()->ReplaceChild(declaration, TiXmlComment());
        }
        at = following;
    }
}

}  // namespace

std::unique_ptr<TiXmlElement> storableCopy(const TiXmlElement& schedule) {
    if (isTooLarge(schedule))
        return nullptr;
    std::unique_ptr<TiXmlElement> copy(schedule.Clone()->ToElement());
    blankDeclarations(*copy);
    return copy;
}
