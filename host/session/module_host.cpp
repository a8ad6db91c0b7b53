#include "host/session/module_host.h"

#include <dlfcn.h>

#include <algorithm>
#include <utility>

namespace {

// The object that the module's callback is for.
std::atomic<ModuleHost*> current{nullptr};

}  // namespace

void ModuleHost::LibraryCloser::operator()(void* handle) const { dlclose(handle); }

template <typename Function>
Function* ModuleHost::resolve(const std::filesystem::path& library, const char* name) const {
    void* symbol = dlsym(library_.get(), name);
    if (symbol == nullptr)
        throw ModuleLoadError((library.string() + " has no function ") + name);
    return reinterpret_cast<Function*>(symbol);
}

ModuleHost::ModuleHost(const std::filesystem::path& library, ModuleListener listener,
                       int32_t logThreshold)
    : library_(dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL)),
      listener_(std::move(listener)),
      logThreshold_(logThreshold) {
    if (!library_)
        throw ModuleLoadError(dlerror());
    const auto load = resolve<decltype(::Load)>(library, "Load");
    open_ = resolve<decltype(::Open)>(library, "Open");
    ioctl_ = resolve<decltype(::IOCTL)>(library, "IOCTL");
    write_ = resolve<decltype(::Write)>(library, "Write");
    close_ = resolve<decltype(::Close)>(library, "Close");
    unload_ = resolve<decltype(::Unload)>(library, "Unload");

    current = this;
    HostTable table{};
    table.hostCallback = receive;
    ModuleInfo info{};
    load(&table, &info);
    if (info.moduleId != ModuleId) {
        unload_();
        current = nullptr;
        throw ModuleLoadError(library.string() + " is another module");
    }
    loaded_ = true;
    open_();
}

ModuleHost::~ModuleHost() {
    stop();
    current = nullptr;
}

void ModuleHost::start() {
    worker_ = std::thread([this] {
        IoctlRequest request{};
        request.code = IoctlRun;
        IoctlResult result{};
        ioctl_(&request, &result);
    });
}

void ModuleHost::stop() {
    if (!std::exchange(loaded_, false))
        return;
    close_();
    if (worker_.joinable())
        worker_.join();
    unload_();
}

bool ModuleHost::configure(std::string_view xml) {
    IoctlRequest request{};
    request.code = IoctlConfiguration;
    request.length = static_cast<uint32_t>(xml.size());
    request.data = lend(xml, 0);
    IoctlResult result{};
    ioctl_(&request, &result);
    return concludeLoan(request.data, 0, result.accepted == 1);
}

bool ModuleHost::play(int32_t channelId, std::span<const uint8_t> codes) {
    WriteRecord record{};
    record.length = static_cast<uint32_t>(codes.size());
    record.data = lend({reinterpret_cast<const char*>(codes.data()), codes.size()}, channelId);
    record.targetId = channelId;
    record.type = TypeAudio;
    WriteResult result{};
    write_(&record, &result);
    return concludeLoan(record.data, channelId, result.accepted == 1);
}

BufferAccount ModuleHost::buffers() const {
    const std::lock_guard held(mutex_);
    BufferAccount all;
    for (const auto& [channelId, account] : accounts_) {
        all.lent += account.lent;
        all.returned += account.returned;
    }
    all.faults = faults_;
    return all;
}

BufferAccount ModuleHost::buffers(int32_t channelId) const {
    const std::lock_guard held(mutex_);
    const auto found = accounts_.find(channelId);
    return found == accounts_.end() ? BufferAccount{} : found->second;
}

size_t ModuleHost::lentSamples(int32_t channelId) const {
    const std::lock_guard held(mutex_);
    size_t samples = 0;
    for (const auto& [address, loan] : loans_)
        if (loan.channelId == channelId)
            samples += loan.length;
    return samples;
}

// Records the loan before the module sees the buffer, which it may hand back at once.
const void* ModuleHost::lend(std::string_view bytes, int32_t channelId) {
    auto buffer = std::make_unique<uint8_t[]>(bytes.size());
    std::ranges::copy(bytes, buffer.get());
    const void* address = buffer.get();
    const std::lock_guard held(mutex_);
    BufferAccount& account = accounts_[channelId];
    loans_.emplace(address, Loan{std::move(buffer), channelId, bytes.size()});
    ++account.lent;
    return address;
}

// Undoes the loan of a buffer that the module has not accepted.
bool ModuleHost::concludeLoan(const void* buffer, int32_t channelId, bool accepted) {
    if (accepted)
        return true;
    const std::lock_guard held(mutex_);
    --accounts_[channelId].lent;
    if (loans_.erase(buffer) == 0)
        ++faults_;
    return false;
}

void ModuleHost::takeBack(const void* buffer) {
    const std::lock_guard held(mutex_);
    const auto loan = loans_.find(buffer);
    if (loan == loans_.end()) {
        ++faults_;
        return;
    }
    ++accounts_[loan->second.channelId].returned;
    loans_.erase(loan);
}

// No exception may pass into the module.
int32_t ModuleHost::receive(const HostMessage* message, int32_t /*reserved*/) noexcept {
    ModuleHost* host = current;
    if (host == nullptr)
        return 0;
    const int32_t answer = message->type == TypeLogLevelQuery ? host->logThreshold_ : 0;
    // This comes first, because the listener may throw and every returned buffer must be counted.
    if (message->kind == KindBufferRelease)
        host->takeBack(message->data);
    try {
        host->listener_.onRecord(*message, answer);
        host->passOn(*message);
    } catch (const std::exception&) {  // out of memory: the listener misses this record
    }
    return answer;
}

void ModuleHost::passOn(const HostMessage& message) {
    const auto text = [&message] {
        return std::string_view(static_cast<const char*>(message.data), message.length);
    };
    switch (message.kind) {
        case KindLog:
            if (message.type == TypeLogText)
                listener_.onLog(static_cast<int32_t>(message.level), text());
            break;
        case KindAudio:
            listener_.onFrame(
                {static_cast<int32_t>(message.sourceId),
                 {static_cast<const uint8_t*>(message.data), message.length},
                 static_cast<int64_t>(message.seconds) * 1000 + message.milliseconds});
            break;
        case KindModuleDocument:
        case KindStatusDocument:
            listener_.onDocument(text(), message.kind);
            break;
        default:
            break;
    }
}
