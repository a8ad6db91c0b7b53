#include "host/serve/rtsp_talk.h"

#include "host/system/steady_time.h"

// Returns true when the client has the output, or gets it now. The caller holds the mutex.
bool RtspTalk::holds() {
    if (talk_ == nullptr && output_ && !hasEnded_)
        talk_ = hub_->use([this](Hub& hub) { return hub.beginTalk(*output_).talk; });
    return talk_ != nullptr;
}

RtspTalk::Answer RtspTalk::take() {
    const std::lock_guard held(mutex_);
    if (talk_ != nullptr)
        return Answer::HadIt;
    lastPut_ = steadyMilliseconds();
    return holds() ? Answer::Taken : Answer::Refused;
}

void RtspTalk::giveBack() {
    const std::lock_guard held(mutex_);
    talk_.reset();
}

void RtspTalk::giveBackIfIdle() {
    const std::lock_guard held(mutex_);
    if (steadyMilliseconds() > lastPut_ + std::chrono::milliseconds(TalkPatience).count())
        talk_.reset();
}

void RtspTalk::end() {
    const std::lock_guard held(mutex_);
    hasEnded_ = true;
    talk_.reset();
}

void RtspTalk::put(int64_t position, std::span<const uint8_t> codes) {
    const std::lock_guard held(mutex_);
    lastPut_ = steadyMilliseconds();
    if (holds())
        talk_->put(position, codes);
}
