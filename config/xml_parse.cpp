#include "config/xml_parse.h"

#include <cstring>

#include "base/utf8.h"
#include "config/xml_bounds.h"

namespace {

constexpr size_t ParserOverrun = 8;  // bytes behind the text that must be there, and zero

}  // namespace

bool parseXml(TiXmlDocument& document, std::string& text) {
    makeUtf8(text);
    const size_t harmless = harmlessLength(text);
    const bool isHarmless = text[harmless] == '\0';
    text.resize(harmless);
    text.append(ParserOverrun, '\0');
    document.Parse(text.c_str(), nullptr, TIXML_ENCODING_UTF8);
    return isHarmless && !document.Error();
}
