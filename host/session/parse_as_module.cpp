#include "host/session/parse_as_module.h"

#include <algorithm>

#include "base/utf8.h"
#include "config/xml_bounds.h"
#include "config/xml_parse.h"
#include "host/terminal/text.h"

namespace {

constexpr XmlBounds Bounds;
constexpr size_t MostShown = 10;
constexpr size_t LongestName = 40;  // columns

std::string nameAt(std::string_view text, size_t begin) {
    const std::string_view name =
        text.substr(begin + 1, text.find_first_of(" \t\r\n/>", begin + 1) - begin - 1);
    return fitted(name, std::min(columnsOf(name), LongestName));
}

// Returns lines such as "line 7: element 'a' is nested deeper than 256 levels".
std::vector<std::string> describe(const std::vector<Excess>& excess, std::string_view text) {
    std::vector<std::string> lines;
    for (const Excess& element : excess) {
        if (lines.size() == MostShown) {
            lines.push_back(std::to_string(excess.size() - MostShown) + " more elements");
            break;
        }
        const auto line = 1 + std::ranges::count(text.substr(0, element.begin), '\n');
        lines.push_back(
            "line " + std::to_string(line) + ": element '" + nameAt(text, element.begin) +
            (element.isTooDeep
                 ? "' is nested deeper than " + std::to_string(Bounds.levels) + " levels"
                 : "' has more than " + std::to_string(Bounds.attributes) + " attributes"));
    }
    return lines;
}

}  // namespace

DocumentFlaws parseAsModule(TiXmlDocument& document, std::string& text) {
    makeUtf8(text);
    std::vector<Excess> excess = excessIn(text, Bounds);
    DocumentFlaws flaws;
    if (!excess.empty() && excess.back().end == Excess::NeverEnds) {
        flaws.unreadable =
            describe({excess.back()}, text).front() + " and cannot be read to its end";
        excess.pop_back();
    }
    flaws.leftOut = describe(excess, text);
    if (!parseXml(document, text) && flaws.unreadable.empty())
        flaws.unreadable =
            "line " + std::to_string(document.ErrorRow()) + ": " + document.ErrorDesc();
    return flaws;
}
