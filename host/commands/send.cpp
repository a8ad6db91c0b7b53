#include <stdexcept>

#include "config/our_devices.h"
#include "host/commands/commands.h"
#include "host/commands/tables.h"
#include "host/session/parse_as_module.h"
#include "host/system/folders.h"
#include "host/terminal/awaited.h"
#include "host/terminal/end_process.h"

namespace {

struct Options {
    std::filesystem::path file;
    std::string document;  // the file's content
};

// Throws when the document is not for this module or has an XML error, and warns about elements
// that the module will leave out. The module itself would report none of that.
void check(std::string text, const std::filesystem::path& path, Console& console) {
    TiXmlDocument document;
    const DocumentFlaws flaws = parseAsModule(document, text);
    for (const std::string& element : flaws.leftOut)
        console.error(path.string() + ": the module leaves out: " + element);
    if (!flaws.unreadable.empty())
        throw std::runtime_error(path.string() + " is no XML document that the module reads (" +
                                 flaws.unreadable + "); nothing was sent");
    if (findOurDevices(document.RootElement()) != nullptr)
        return;
    throw std::runtime_error(path.string() + " holds nothing for this module (a Devices element " +
                             "with ID=\"" + std::to_string(ModuleId) + "\"); nothing was sent");
}

// Reads the document. Throws when it cannot be sent.
void prepare(Options& options, Console& console) {
    options.document = awaited(
        [&] { return contentOf(options.file); },
        [&] { endProcess(console, "stopped while reading the document; nothing was sent"); });
    if (options.document.empty())
        throw std::runtime_error("cannot read " + options.file.string() + ", or it is empty");
    check(options.document, options.file, console);
}

int run(const Options& options, const CommonOptions& common, Console& console) {
    Session session(common.session(), console, endProcess);
    session.send(options.document);
    const auto channels = session.channels();
    const bool accountBalances = showAccount(console, session.finish());
    if (!console.isQuiet())
        showChannels(console, channels);
    return accountBalances ? Succeeded : Failed;
}

}  // namespace

void addSend(CommandLine& line) {
    const auto options = std::make_shared<Options>();
    CLI::App& send =
        line.add("send", "apply a configuration document", commandWith(options, run, prepare));
    line.addFile(send, options->file, "the document (XML)");
}
