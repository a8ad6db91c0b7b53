#include "host/serve/hub_impl.h"

#include "host/serve/channel_names.h"
#include "host/session/log_lines.h"
#include "host/terminal/end_process.h"

namespace {

using namespace std::chrono_literals;

constexpr auto AnswerPatience = 5s;  // for the module to apply the last changes, at the end

}  // namespace

HubImpl::HubImpl(const HubOptions& options, Console& console)
    : options_(options),
      session_(options.session, console, endProcess, moduleListener(), LogFactLevel) {}

// Its functions run on the module's threads, also during the construction of this object.
ModuleListener HubImpl::moduleListener() {
    return {.onLog =
                [this](int32_t level, std::string_view text) {
                    if (ledger_.hearLog(level, text))
                        tell(HubEvent::Log);
                },
            .onDocument =
                [this](std::string_view xml, int64_t kind) {
                    const auto event = ledger_.hearDocument(xml, kind);
                    if (event == HubEvent::Channels)
                        answerAsked();
                    if (event)
                        tell(*event);
                },
            .onFrame =
                [this](const CapturedFrame& frame) {
                    const auto served = std::make_shared<ServedFrame>();
                    served->codes.assign(frame.codes.begin(), frame.codes.end());
                    served->milliseconds = frame.milliseconds;
                    ledger_.hearFrame(frame, *served);
                    const std::lock_guard held(listenersMutex_);
                    for (const auto& [key, listener] : listeners_)
                        if (listener.channelId == frame.channelId)
                            listener.onFrame(served);
                }};
}

void HubImpl::tell(HubEvent event) {
    const std::lock_guard held(observersMutex_);
    for (const auto& [key, onEvent] : observers_)
        onEvent(event);
}

std::unique_ptr<Observing> HubImpl::observe(OnHubEvent onEvent) {
    const std::lock_guard held(observersMutex_);
    observers_.emplace(++lastObserver_, std::move(onEvent));
    return std::make_unique<Observing>(shared_from_this(), lastObserver_);
}

void HubImpl::endObserving(uint64_t key) {
    const std::lock_guard held(observersMutex_);
    observers_.erase(key);
}

HubState HubImpl::state() const {
    HubState state = ledger_.state(session_.channels());
    state.buffers = session_.module().buffers();
    for (ChannelState& channel : state.channels)
        channel.clients = clientsOf(channel.channel.number);
    const std::lock_guard held(mutex_);
    for (ChannelState& channel : state.channels)
        channel.isKeptOff = keptOff_.contains(channel.channel.number);
    return state;
}

std::optional<ChannelDescription> HubImpl::find(std::string_view numberOrName,
                                                bool isOutput) const {
    return findNamed(session_.channels(), numberOrName, isOutput);
}

std::optional<ChannelDescription> HubImpl::described(int number) const {
    for (const ChannelDescription& channel : session_.channels())
        if (channel.number == number)
            return channel;
    return std::nullopt;
}

bool HubImpl::mayListen(int number) const {
    const auto channel = described(number);
    const std::lock_guard held(mutex_);
    return channel && !channel->isOutput && channel->hasDevice && !keptOff_.contains(number);
}

std::unique_ptr<Listening> HubImpl::listen(int number, OnServedFrame onFrame) {
    const auto channel = described(number);
    if (!channel || channel->isOutput || !channel->hasDevice)
        return nullptr;
    uint64_t key = 0;
    {
        const std::lock_guard held(listenersMutex_);
        key = ++lastKey_;
        listeners_[key] = {number, channel->id, std::move(onFrame), 1};
    }
    adaptToClients(number);
    return std::make_unique<Listening>(shared_from_this(), key);
}

void HubImpl::setClients(uint64_t key, int clients) {
    int number = 0;
    {
        const std::lock_guard held(listenersMutex_);
        Listener& listener = listeners_.at(key);
        if (listener.clients == clients)
            return;
        listener.clients = clients;
        number = listener.number;
    }
    adaptToClients(number);
}

void HubImpl::endListening(uint64_t key) {
    int number = 0;
    {
        const std::lock_guard held(listenersMutex_);
        number = listeners_.at(key).number;
        listeners_.erase(key);
    }
    adaptToClients(number);
}

int HubImpl::clientsOf(int number) const {
    int clients = 0;
    {
        const std::lock_guard held(listenersMutex_);
        for (const auto& [key, listener] : listeners_)
            clients += listener.number == number ? listener.clients : 0;
    }
    const std::lock_guard held(mutex_);
    const auto line = lines_.find(number);
    return clients + (line != lines_.end() && line->second->isTaken() ? 1 : 0);
}

TalkAnswer HubImpl::beginTalk(int number) {
    const auto channel = described(number);
    if (!channel || !channel->isOutput)
        return {nullptr, TalkRefusal::NoSuchOutput};
    if (!channel->hasDevice)
        return {nullptr, TalkRefusal::NoDevice};
    {
        const std::lock_guard held(mutex_);
        if (keptOff_.contains(number))
            return {nullptr, TalkRefusal::KeptOff};
        if (hasEnded_)
            return {nullptr, TalkRefusal::Busy};
        auto& line = lines_[number];
        if (line == nullptr)
            line = std::make_unique<TalkLine>(session_.module(), channel->id, Hub::MostTalkAhead);
        if (!line->begin())
            return {nullptr, TalkRefusal::Busy};
    }
    auto talk = std::make_unique<Talk>(shared_from_this(), number);
    adaptToClients(number);
    return {std::move(talk), TalkRefusal::None};
}

void HubImpl::endTalk(int number) {
    line(number).end();
    tell(HubEvent::Clients);
}

TalkLine& HubImpl::line(int number) {
    const std::lock_guard held(mutex_);
    return *lines_.at(number);
}

BufferAccount HubImpl::finish() {
    std::vector<int> enabled;
    std::deque<OnApplied> unanswered;
    {
        const std::lock_guard held(mutex_);
        if (!hasEnded_)
            enabled.assign(enabledForClients_.begin(), enabledForClients_.end());
        hasEnded_ = true;
    }
    // Needs no lock: no line is made once hasEnded_ is set.
    for (const auto& [number, line] : lines_)
        line->stop();
    {
        std::unique_lock held(mutex_);
        answered_.wait_for(held, AnswerPatience, [this] { return asked_.empty(); });
        unanswered.swap(asked_);
    }
    for (const OnApplied& onApplied : unanswered)
        onApplied(false);
    if (!enabled.empty())
        session_.send(enablingDocument(enabled, false, 0));
    return session_.finish();
}
