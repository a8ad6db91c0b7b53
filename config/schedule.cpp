#include "config/schedule.h"

std::unique_ptr<TiXmlElement> defaultSchedule() {
    constexpr int LastHourOfWeek = 167;
    TiXmlElement entry("Entry");
    entry.SetAttribute("FirstHour", 0);
    entry.SetAttribute("LastHour", LastHourOfWeek);
    entry.SetAttribute("Record", 0);
    auto schedule = std::make_unique<TiXmlElement>("Schedule");
    schedule->InsertEndChild(entry);
    return schedule;
}
