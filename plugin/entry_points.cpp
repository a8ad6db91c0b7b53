// The six exported functions. plugin/tamborin.h documents each of them.
#include <memory>
#include <utility>

#include "base/contain.h"
#include "core/plugin.h"
#include "plugin/document.h"
#include "plugin/host_link.h"
#include "plugin/tamborin.h"

namespace {

void announce() {
    TiXmlDocument document;
    TiXmlElement& module =
        addElement(addElement(beginDocument(document, true), "Modules"), "Module");
    module.SetAttribute("Name", TAMBORIN_NAME);
    module.SetAttribute("ID", ModuleId);
    module.SetAttribute("Version", TAMBORIN_VERSION);
    sendDocument(document, KindModuleDocument);
}

template <typename Message>
void enqueue(const IoctlRequest& request, IoctlResult& result) {
    if (request.length == 0)
        return;
    if (contain([&] { g_plugin->enqueue<Message>(request.data, request.length); }))
        result.accepted = 1;
}

bool isAudioForUs(const WriteRecord& record) {
    return (record.type & TypeAudio) == TypeAudio && (record.targetId & ModuleIdMask) == ModuleId &&
           record.data != nullptr;
}

}  // namespace

int64_t Load(const HostTable* hostTable, ModuleInfo* moduleInfo) {
    contain([&] {
        auto plugin = std::make_unique<CPlugin>();
        const HostCallback hostCallback = hostTable->hostCallback;
        moduleInfo->moduleId = ModuleId;
        moduleInfo->audioTypes = AudioTypes;
        moduleInfo->documentTypes = DocumentTypes;
        moduleInfo->capability0 = 1;
        moduleInfo->capability1 = 1;
        g_plugin = plugin.release();
        g_hostCallback = hostCallback;
    });
    return 0;
}

int64_t Open() {
    if (g_plugin != nullptr)
        contain([] { announce(); });
    return 0;
}

int64_t IOCTL(const IoctlRequest* request, IoctlResult* result) {
    if (g_plugin == nullptr || g_plugin->isStopRequested())
        return 0;
    switch (request->code) {
        case IoctlRun:
            contain([] { g_plugin->runWorker(); });
            break;
        case IoctlConfiguration:
            enqueue<ipcam::IoctlMessage>(*request, *result);
            break;
        case IoctlHostDocument:
            enqueue<ipcam::WriteMessage>(*request, *result);
            break;
        case IoctlReply:  // the module asks nothing that is answered by IOCTL
        default:
            break;
    }
    return 0;
}

int64_t Write(const WriteRecord* record, WriteResult* result) {
    if (g_plugin == nullptr || !isAudioForUs(*record))
        return 0;
    contain([&] {
        Channel* channel = g_plugin->findChannel(static_cast<int32_t>(record->targetId));
        if (channel != nullptr && !channel->isInput &&
            channel->pushPlayback(static_cast<const uint8_t*>(record->data), record->length))
            result->accepted = 1;
    });
    return 0;
}

int64_t Close() {
    if (g_plugin != nullptr)
        g_plugin->requestStop();
    return 0;
}

int64_t Unload() {
    // g_plugin is cleared first: a host that calls an entry point from within a release then finds
    // no module.
    const std::unique_ptr<CPlugin> plugin(std::exchange(g_plugin, nullptr));
    if (plugin)
        plugin->teardown();
    return 0;
}
