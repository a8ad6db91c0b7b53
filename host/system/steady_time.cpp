#include "host/system/steady_time.h"

#include <ctime>

namespace {

int64_t millisecondsOf(clockid_t clock) {
    std::timespec time{};
    clock_gettime(clock, &time);
    return int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1'000'000;
}

}  // namespace

int64_t clockMilliseconds() { return millisecondsOf(CLOCK_REALTIME); }

int64_t steadyMilliseconds() {
    static const int64_t ahead = clockMilliseconds() - millisecondsOf(CLOCK_BOOTTIME);
    return millisecondsOf(CLOCK_BOOTTIME) + ahead;
}
