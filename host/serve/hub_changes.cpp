// What the hub asks of the module because of its clients or at their request.
#include "host/serve/channel_names.h"
#include "host/serve/hub_impl.h"

// Enables a channel that has clients. Disables an input that has none any more, if the options say
// so. A disabled output would play, too, but the module closes its stream with each document, also
// with one for another channel, and drops what the device still holds. An output stays enabled
// after a talk, because its last sound is still to be played.
void HubImpl::adaptToClients(int number) {
    const std::lock_guard asking(askMutex_);
    const int clients = clientsOf(number);
    const auto channel = described(number);
    ChannelChange change;
    {
        const std::lock_guard held(mutex_);
        const auto asked = askedFor_.find(number);
        const bool isEnabled = asked != askedFor_.end() ? asked->second
                               : channel                ? channel->enabled
                                                        : true;
        if (!hasEnded_ && clients > 0 && !isEnabled && !keptOff_.contains(number)) {
            change.enabled = true;
        } else if (!hasEnded_ && clients == 0 && options_.stopIdleInputs &&
                   enabledForClients_.contains(number)) {
            change.enabled = false;
        }
    }
    if (change.enabled && ask(number, change, [](bool) {})) {
        const std::lock_guard held(mutex_);
        if (*change.enabled)
            enabledForClients_.insert(number);
        else
            enabledForClients_.erase(number);
    }
    tell(HubEvent::Clients);
}

// Sends the change to the module. The caller holds `askMutex_`.
bool HubImpl::ask(int number, const ChannelChange& change, OnApplied onApplied) {
    std::map<int, bool> askedBefore;
    {
        const std::lock_guard held(mutex_);
        askedBefore = askedFor_;
        asked_.push_back(std::move(onApplied));
        if (change.enabled)
            askedFor_[number] = *change.enabled;
    }
    if (session_.module().configure(changingDocument(number, change.name, change.enabled)))
        return true;
    const std::lock_guard held(mutex_);
    asked_.pop_back();
    askedFor_ = std::move(askedBefore);
    if (asked_.empty())
        askedFor_.clear();
    return false;
}

void HubImpl::answerAsked() {
    OnApplied onApplied;
    {
        const std::lock_guard held(mutex_);
        if (asked_.empty())
            return;
        onApplied = std::move(asked_.front());
        asked_.pop_front();
        if (asked_.empty())
            askedFor_.clear();
    }
    answered_.notify_all();
    onApplied(true);
}

ChangeAnswer HubImpl::change(int number, const ChannelChange& change, OnApplied onApplied) {
    if (!described(number))
        return ChangeAnswer::NoSuchChannel;
    if (change.name && !isGoodName(*change.name))
        return ChangeAnswer::BadName;
    const std::lock_guard asking(askMutex_);
    {
        const std::lock_guard held(mutex_);
        if (hasEnded_)
            return ChangeAnswer::Refused;
    }
    if (!ask(number, change, std::move(onApplied)))
        return ChangeAnswer::Refused;
    if (change.enabled) {
        const std::lock_guard held(mutex_);
        enabledForClients_.erase(number);
        if (*change.enabled)
            keptOff_.erase(number);
        else
            keptOff_.insert(number);
        const auto line = lines_.find(number);
        if (line != lines_.end())
            line->second->keepOff(!*change.enabled);
    }
    return ChangeAnswer::Asked;
}
