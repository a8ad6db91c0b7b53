// Configuration documents from the host: from bytes to elements.
#include <tinyxml.h>

#include "core/plugin.h"

namespace {

class TinyOneDoc : public TiXmlDocument {};

// TinyXML looks up to this far behind a text that ends inside a character.
constexpr size_t ParserOverrun = 8;

}  // namespace

void CPlugin::onIoctlMessage(const ipcam::IoctlMessage& message) {
    TinyOneDoc document;
    if (message.data != nullptr && message.length != 0) {
        textBuffer.assign(static_cast<const char*>(message.data), message.length);
        textBuffer.append(ParserOverrun, '\0');
        // A text that breaks off is used as far as it goes.
        document.Parse(textBuffer.c_str(), nullptr, TIXML_ENCODING_UNKNOWN);
    }
    applyConfiguration(document.RootElement(), false);
}
