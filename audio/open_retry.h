// Decides when a stream that could not be opened is tried again, and which failures are logged.
//
// An open that fails is dangerous: PortAudio's ALSA code keeps its last error in one variable for
// all threads, a running stream may clear it at the wrong moment, and the process then ends inside
// PortAudio. A device that was unplugged must therefore not be opened over and over. After ten
// failures in a row the device is first asked whether it can be opened, which is harmless.
//
// Uses neither a clock nor an audio library: its owner asks, opens and logs. Worker thread.
#pragma once

#include <chrono>
#include <cstdint>

#include "base/clock.h"

// What a device says about being opened now.
enum class DeviceAnswer {
    Openable,
    Busy,       // in use elsewhere; PortAudio may still be able to open it
    Away,       // cannot be opened
    CannotTell  // the question could not be asked
};

class OpenRetry {
  public:
    static constexpr uint32_t FreeTries = 10;               // failures before the first question
    static constexpr std::chrono::seconds AskPause{1};      // between two questions
    static constexpr std::chrono::minutes ReportPause{10};  // between two log lines
    static constexpr std::chrono::minutes LongestOpenPause{10};

    enum class Step { Open, AskDevice, Wait };

    // Returns what the owner should do now about a closed stream that should be open.
    Step next(SteadyTime now) const;
    // Takes the device's answer to Step::AskDevice. CannotTell always allows an open. While a
    // device stays openable or busy but its opens fail, opens become rarer, down to one in ten
    // minutes. When the answer changes to one of these, an open is allowed at once.
    void takeAnswer(DeviceAnswer answer, SteadyTime now);
    // Takes the error of an open that failed. Returns true when it is to be logged: each of the
    // first ten, then one in ten minutes.
    bool takeFailure(int32_t error, SteadyTime now);
    // Returns true when the last error is to be logged again, and begins the next ten minutes. The
    // owner calls it after each answer that allowed no open.
    bool takeDueReport(SteadyTime now);
    int32_t lastError() const { return lastError_; }
    // Forgets all failures. The owner calls it when a stream was opened, when an output has nothing
    // left to play, and when a document enables the channel.
    void reset() { *this = {}; }

    bool hasFailures() const { return failures_ > 0; }
    // True from the tenth failure in a row to the next reset.
    bool isDeviceInDoubt() const { return failures_ >= FreeTries; }

  private:
    uint32_t failures_ = 0;  // in a row; stays at FreeTries
    int32_t lastError_ = 0;
    DeviceAnswer lastAnswer_ = DeviceAnswer::Away;
    bool isOpenAllowed_ = false;  // set by an answer, cleared by a failure
    SteadyTime nextQuestion_{};
    SteadyTime nextOpen_{};
    SteadyTime nextReport_{};
    std::chrono::seconds openPause_ = AskPause;
};
