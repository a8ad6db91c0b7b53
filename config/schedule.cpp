#include "config/schedule.h"

#include "plugin/document.h"

namespace {

void removeDeclarations(TiXmlNode& parent) {
    TiXmlNode* next = nullptr;
    for (TiXmlNode* child = parent.FirstChild(); child != nullptr; child = next) {
        next = child->NextSibling();
        if (child->ToDeclaration() != nullptr)
            parent.RemoveChild(child);
        else
            removeDeclarations(*child);
    }
}

}  // namespace

std::unique_ptr<TiXmlElement> defaultSchedule() {
    constexpr int LastHourOfWeek = 167;
    auto schedule = std::make_unique<TiXmlElement>("Schedule");
    TiXmlElement& entry = addElement(*schedule, "Entry");
    entry.SetAttribute("FirstHour", 0);
    entry.SetAttribute("LastHour", LastHourOfWeek);
    entry.SetAttribute("Record", 0);
    return schedule;
}

std::unique_ptr<TiXmlElement> keptSchedule(const TiXmlElement& schedule) {
    std::unique_ptr<TiXmlElement> kept(schedule.Clone()->ToElement());
    removeDeclarations(*kept);
    return kept;
}
