// When a stream that could not be opened is tried again, and which of its failures are logged.
//
// An open that fails is expensive: PortAudio's ALSA code keeps its last error in one variable for
// all threads, a running stream may clear it at the wrong moment, and the process then ends inside
// PortAudio. A device that was unplugged must therefore not be opened over and over. After ten
// failures in a row the device is asked first whether it can be opened, which is harmless.
//
// Knows neither clock nor audio library: its owner asks, opens and logs. Worker thread.
#pragma once

#include <chrono>
#include <cstdint>

#include "base/clock.h"

// What a device says about being opened now.
enum class DeviceAnswer {
    Openable,
    Busy,       // in use by somebody else: PortAudio may be luckier
    Away,       // it cannot be opened
    CannotTell  // there is nobody to ask
};

class OpenRetry {
  public:
    static constexpr uint32_t FreeTries = 10;               // failures in a row, each logged
    static constexpr std::chrono::seconds AskPause{1};      // between two questions
    static constexpr std::chrono::minutes ReportPause{10};  // between two log lines
    static constexpr std::chrono::minutes LongestOpenPause{10};

    enum class Step { Open, AskDevice, Wait };

    // What to do about a stream that is wanted and closed.
    Step next(SteadyTime now) const;
    // Takes the device's answer to Step::AskDevice, which may make Step::Open the next one. While a
    // device stays openable or busy and its opens fail, they become rarer, down to one in ten
    // minutes. A change of the answer allows one at once.
    void takeAnswer(DeviceAnswer answer, SteadyTime now);
    // Takes the error of an open that failed. Returns true when it is to be logged: each of the
    // first ten, then one in ten minutes.
    bool takeFailure(int32_t error, SteadyTime now);
    // Returns true when the last error is to be logged again: ten minutes after the last line.
    // Called after each answer that allowed no open.
    bool isReportDue(SteadyTime now);
    int32_t lastError() const { return lastError_; }
    // Forgets all failures: a stream was opened, nothing is left to play, or the host wants the
    // channel anew.
    void reset() { *this = {}; }

    bool hasFailures() const { return failures_ > 0; }
    // True from the tenth failure in a row to the next reset.
    bool isDeviceInDoubt() const { return failures_ >= FreeTries; }

  private:
    uint32_t failures_ = 0;  // in a row; stays at FreeTries
    int32_t lastError_ = 0;
    DeviceAnswer lastAnswer_ = DeviceAnswer::Away;
    bool isOpenAllowed_ = false;  // by the last answer, until the next failure
    SteadyTime nextQuestion_{};
    SteadyTime nextOpen_{};
    SteadyTime nextReport_{};
    std::chrono::seconds openPause_ = AskPause;
};
