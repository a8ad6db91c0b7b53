#include "config/schedule.h"

#include <cstring>

namespace {

// The next node below `top` in document order, and how deep it lies below it.
struct Place {
    const TiXmlNode* node;
    size_t depth;
};

// Returns what follows `place` and all that is in it; its node is null at the end.
Place after(Place place, const TiXmlNode* top) {
    while (place.node != top && place.node->NextSibling() == nullptr)
        place = {place.node->Parent(), place.depth - 1};
    return {place.node == top ? nullptr : place.node->NextSibling(), place.depth};
}

Place next(const Place& place, const TiXmlNode* top) {
    if (place.node->FirstChild() != nullptr)
        return {place.node->FirstChild(), place.depth + 1};
    return after(place, top);
}

// Returns the bytes of a text with its special characters as entities.
size_t escapedSize(const std::string& text) {
    constexpr size_t LongestEntity = 6;  // &quot;
    size_t size = 0;
    for (const char c : text)
        size += std::strchr("&<>\"'", c) != nullptr || static_cast<unsigned char>(c) < ' '
                    ? LongestEntity
                    : 1;
    return size;
}

// Returns at least as many bytes as the node takes in a file, without what is in it.
size_t printedSize(const Place& place) {
    constexpr size_t ScheduleLevel = 5;  // of the elements around it
    constexpr size_t Indentation = 4;    // of a level
    constexpr size_t Punctuation = 16;   // brackets, quotes, line ends
    const size_t line = (ScheduleLevel + place.depth) * Indentation + Punctuation;
    const size_t value = escapedSize(place.node->ValueStr());
    const TiXmlElement* element = place.node->ToElement();
    if (element == nullptr)
        return line + value;
    size_t size = (element->NoChildren() ? 1 : 2) * (line + value);
    for (const TiXmlAttribute* attribute = element->FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next())
        size += std::strlen(attribute->Name()) + escapedSize(attribute->ValueStr()) + 4;
    return size;
}

// Stops counting when the bound is passed: the elements of a small text, deeply indented, can make
// a file of gigabytes.
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
            auto* declaration = const_cast<TiXmlNode*>(at.node);  // of `top`, which is not const
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
