// Collects restarts and alarms from the module's log and status documents.
#pragma once

#include <cstdint>
#include <mutex>
#include <string_view>
#include <vector>

#include "plugin/tamborin.h"

struct ModuleEvent {
    enum class Kind { Restart, Alarm, AllClear };
    Kind kind;
    int32_t channelId;     // of a restart, else 0
    int64_t milliseconds;  // by steadyMilliseconds
};

// All functions may be called on any thread.
class ModuleEvents {
  public:
    void hearLog(std::string_view text);
    void hearDocument(std::string_view xml, int64_t kind);

    std::vector<ModuleEvent> all() const;
    size_t restarts(int32_t channelId) const;
    bool isAlarmed() const;

  private:
    void add(ModuleEvent::Kind kind, int32_t channelId);

    mutable std::mutex mutex_;  // guards the events
    std::vector<ModuleEvent> events_;
};
