// Configuration documents from the host: from bytes to elements.
#include <tinyxml.h>

#include "config/xml_parse.h"
#include "core/plugin.h"

namespace {

class TinyOneDoc : public TiXmlDocument {};

}  // namespace

void CPlugin::onIoctlMessage(const ipcam::IoctlMessage& message) {
    TinyOneDoc document;
    if (message.data != nullptr && message.length != 0) {
        textBuffer.assign(static_cast<const char*>(message.data), message.length);
        parseXml(document, textBuffer);  // a text that breaks off is used as far as it goes
    }
    applyConfiguration(document.RootElement(), false);
}
