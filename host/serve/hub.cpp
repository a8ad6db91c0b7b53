#include "host/serve/hub.h"

#include "host/serve/hub_impl.h"

Hub::Hub(const HubOptions& options, Console& console)
    : impl_(std::make_shared<HubImpl>(options, console)) {}

Hub::~Hub() {
    try {
        impl_->finish();
    } catch (const std::exception&) {  // the session's destructor tries again and reports it
    }
}

BufferAccount Hub::finish() { return impl_->finish(); }
HubState Hub::state() const { return impl_->state(); }
std::string Hub::description() const { return impl_->description(); }

std::optional<ChannelDescription> Hub::find(std::string_view numberOrName, bool isOutput) const {
    return impl_->find(numberOrName, isOutput);
}

bool Hub::mayListen(int number) const { return impl_->mayListen(number); }

std::unique_ptr<Listening> Hub::listen(int number, OnServedFrame onFrame) {
    return impl_->listen(number, std::move(onFrame));
}

std::unique_ptr<Observing> Hub::observe(OnHubEvent onEvent) {
    return impl_->observe(std::move(onEvent));
}

TalkAnswer Hub::beginTalk(int number) { return impl_->beginTalk(number); }

ChangeAnswer Hub::change(int number, const ChannelChange& change, OnApplied onApplied) {
    return impl_->change(number, change, std::move(onApplied));
}

Listening::~Listening() { hub_->endListening(key_); }
void Listening::setClients(int clients) { hub_->setClients(key_, clients); }
Observing::~Observing() { hub_->endObserving(key_); }
Talk::~Talk() { hub_->endTalk(number_); }

bool Talk::put(int64_t position, std::span<const uint8_t> codes) {
    return hub_->line(number_).put(position, codes);
}
bool Talk::append(std::span<const uint8_t> codes) { return hub_->line(number_).append(codes); }
size_t Talk::room() const { return hub_->line(number_).room(); }
