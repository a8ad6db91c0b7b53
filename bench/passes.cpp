#include "bench/passes.h"

#include "bench/module.h"
#include "bench/stepped_clock.h"

void runPasses(int inputs, int outputs, const std::function<bool()>& inPause) {
    Module module(inputs, outputs);
    int descriptions = 0;
    Module::onMessage = [&](const HostMessage& message) {
        descriptions += message.kind == KindModuleDocument;
    };
    const std::string document = documentOf(inputs, outputs);
    bool isAsked = false;
    onPause = [&] {
        if (!isAsked)
            isAsked = Module::configure(document);
        else if (descriptions >= 2 && !inPause())  // from the start, then for the document
            Close();
    };
    Module::run();
}
