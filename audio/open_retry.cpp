#include "audio/open_retry.h"

#include <algorithm>

OpenRetry::Step OpenRetry::next(SteadyTime now) const {
    if (!isDeviceInDoubt() || isOpenAllowed_)
        return Step::Open;
    return now < nextQuestion_ ? Step::Wait : Step::AskDevice;
}

void OpenRetry::takeAnswer(DeviceAnswer answer, SteadyTime now) {
    nextQuestion_ = now + AskPause;
    if (answer == DeviceAnswer::Away)
        openPause_ = AskPause;
    if (answer != lastAnswer_)
        nextOpen_ = now;
    lastAnswer_ = answer;
    if (answer == DeviceAnswer::CannotTell) {
        isOpenAllowed_ = true;
    } else if (answer != DeviceAnswer::Away && now >= nextOpen_) {
        isOpenAllowed_ = true;
        nextOpen_ = now + openPause_;
        openPause_ = std::min<std::chrono::seconds>(2 * openPause_, LongestOpenPause);
    }
}

bool OpenRetry::takeFailure(int32_t error, SteadyTime now) {
    lastError_ = error;
    isOpenAllowed_ = false;
    if (isDeviceInDoubt())
        return takeDueReport(now);
    ++failures_;
    nextQuestion_ = now + AskPause;
    nextReport_ = now + ReportPause;
    return true;
}

bool OpenRetry::takeDueReport(SteadyTime now) {
    if (now < nextReport_)
        return false;
    nextReport_ = now + ReportPause;
    return true;
}
