#include <tinyxml.h>

#include "host/commands.h"

int runDescribe(const Options& options, Console& console) {
    Session session(options.session, console);
    const std::string xml = session.descriptionXml();
    session.finish();
    TiXmlDocument document;
    document.Parse(xml.c_str());
    TiXmlPrinter printer;
    printer.SetIndent("  ");
    document.Accept(&printer);
    const std::string& text = printer.Str();
    console.result(text.substr(0, text.find_last_not_of('\n') + 1));
    return Succeeded;
}
