#include <tinyxml.h>

#include <sstream>

#include "host/commands/commands.h"
#include "host/terminal/end_process.h"

namespace {

int run(const CommonOptions& common, Console& console) {
    Session session(common.session(), console, endProcess);
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

}  // namespace

void addDescribe(CommandLine& line) {
    line.add("describe", "print the module's description", {.run = run});
}
