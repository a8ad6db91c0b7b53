#include "host/session/module_events.h"

#include <algorithm>

#include "host/session/documents.h"
#include "host/session/log_lines.h"
#include "host/system/steady_time.h"

void ModuleEvents::hearLog(std::string_view text) {
    const std::optional<LogFact> fact = understandLogLine(text);
    if (fact && fact->kind == LogFact::Kind::StreamRestarted)
        add(ModuleEvent::Kind::Restart, fact->channelId);
}

void ModuleEvents::hearDocument(std::string_view xml, int64_t kind) {
    if (kind != KindStatusDocument)
        return;
    if (const auto alarm = reportedAlarm(xml))
        add(*alarm ? ModuleEvent::Kind::Alarm : ModuleEvent::Kind::AllClear, 0);
}

std::vector<ModuleEvent> ModuleEvents::all() const {
    const std::lock_guard held(mutex_);
    return events_;
}

size_t ModuleEvents::restarts(int32_t channelId) const {
    const std::lock_guard held(mutex_);
    return static_cast<size_t>(std::ranges::count_if(events_, [&](const ModuleEvent& event) {
        return event.kind == ModuleEvent::Kind::Restart && event.channelId == channelId;
    }));
}

bool ModuleEvents::isAlarmed() const {
    const std::lock_guard held(mutex_);
    const auto last = std::find_if(events_.rbegin(), events_.rend(), [](const ModuleEvent& event) {
        return event.kind != ModuleEvent::Kind::Restart;
    });
    return last != events_.rend() && last->kind == ModuleEvent::Kind::Alarm;
}

void ModuleEvents::add(ModuleEvent::Kind kind, int32_t channelId) {
    const int64_t now = steadyMilliseconds();
    const std::lock_guard held(mutex_);
    events_.push_back({kind, channelId, now});
}
