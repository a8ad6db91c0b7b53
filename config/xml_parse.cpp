#include "config/xml_parse.h"

#include <cstring>

#include "base/utf8.h"

namespace {

constexpr size_t ParserOverrun = 8;  // zero bytes

}  // namespace

bool parseXml(TiXmlDocument& document, std::string& text, const XmlBounds& bounds) {
    makeUtf8(text);
    const std::vector<Excess> excess = excessIn(text, bounds);
    leaveOut(excess, text);
    text.resize(std::strlen(text.c_str()));  // the parser ends at the first zero byte
    text.append(ParserOverrun, '\0');
    document.Parse(text.c_str(), nullptr, TIXML_ENCODING_UTF8);
    return !document.Error() && (excess.empty() || excess.back().end != Excess::NeverEnds);
}
