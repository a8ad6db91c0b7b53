#include "audio/open_retry.h"

#include <algorithm>

OpenRetry::Step OpenRetry::next(SteadyTime now) const {
    if (!isDeviceInDoubt())
        return Step::Open;
    return now < nextQuestion_ ? Step::Wait : Step::AskDevice;
}

bool OpenRetry::takeAnswer(DeviceAnswer answer, SteadyTime now) {
    nextQuestion_ = now + AskPause;
    if (answer != lastAnswer_) {
        lastAnswer_ = answer;
        openPause_ = AskPause;
        nextOpen_ = now;
    }
    switch (answer) {
        case DeviceAnswer::Away:
            return false;
        case DeviceAnswer::CannotTell:
            return true;
        default:
            return now >= nextOpen_;
    }
}

bool OpenRetry::takeFailure(int32_t error, SteadyTime now) {
    lastError_ = error;
    if (isDeviceInDoubt()) {
        nextOpen_ = now + openPause_;
        openPause_ = std::min<std::chrono::seconds>(2 * openPause_, LongestOpenPause);
        return isReportDue(now);
    }
    ++failures_;
    nextQuestion_ = now + AskPause;
    nextReport_ = now + ReportPause;
    return true;
}

bool OpenRetry::isReportDue(SteadyTime now) {
    if (now < nextReport_)
        return false;
    nextReport_ = now + ReportPause;
    return true;
}
