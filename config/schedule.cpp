#include "config/schedule.h"

#include "plugin/document.h"

std::unique_ptr<TiXmlElement> defaultSchedule() {
    constexpr int LastHourOfWeek = 167;
    auto schedule = std::make_unique<TiXmlElement>("Schedule");
    TiXmlElement& entry = addElement(*schedule, "Entry");
    entry.SetAttribute("FirstHour", 0);
    entry.SetAttribute("LastHour", LastHourOfWeek);
    entry.SetAttribute("Record", 0);
    return schedule;
}
