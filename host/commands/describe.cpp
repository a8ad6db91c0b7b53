#include <tinyxml.h>

#include <sstream>

#include "host/commands/commands.h"

int runDescribe(const Options& options, Console& console) {
    Session session(options.session, console);
    const std::string xml = session.descriptionXml();
    session.finish();
    TiXmlDocument document;
    document.Parse(xml.c_str());
    TiXmlPrinter printer;
    printer.SetIndent("  ");
    document.Accept(&printer);
    std::istringstream text(printer.Str());
    for (std::string line; std::getline(text, line);)
        console.result(line);
    return Succeeded;
}
